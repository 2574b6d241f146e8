// The trace convention, the node accessors, the debug dump, amplifier names and the request searches.

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

#include "scenario.hpp"

namespace ymap_test {
namespace {

using NameFunction = int(yfw_map_ctx *, const char *, char *);
using SearchFunction = int(yfw_map_ctx *, vidl_yfw_datatree *, const char *, char *, char *);
using PathSearchFunction = int(yfw_map_ctx *, vidl_yfw_datatree *, const char *, char *);
using RequestSearchFunction = int(yfw_map_ctx *, vidl_yfw_datatree *, const char *);

// ---- Trace points ----

TEST(Trace, OutputsAreIndependent) {
  struct Row {
    bool log;
    bool light;
    int outputs;
    const char *lines;
  };
  const Row rows[] = {
      {true, true, 4, "> cfg_enabled_to_low\ncfg_enabled_to_low| ERR Invalid arguments passed!\n"},
      {true, false, 2, ">\nERR Invalid arguments passed!\n"},
      {false, true, 2, "> cfg_enabled_to_low\ncfg_enabled_to_low| ERR Invalid arguments passed!\n"},
      {false, false, 0, ""},
  };
  for (const Row &row : rows) {
    Scenario scenario;
    scenario.recorder.view = View::full;
    scenario.recorder.log_errors = scenario.recorder.log_traces = row.log;
    scenario.ctx.ltrace_on = row.light ? 1 : 0;
    EXPECT_EQ(scenario.call_text("cfg_enabled_to_low", nullptr),
              std::string(row.lines) + "error-path\n= NULL\n");
    EXPECT_EQ(scenario.recorder.formatted(), row.outputs);
    // Two trace points, each asks once.
    EXPECT_EQ(scenario.recorder.asked(), 2);
  }
}

TEST(Trace, LightTraceIsCutAt249Characters) {
  Scenario scenario;
  scenario.slots("", "");
  scenario.recorder.view = View::full;
  const std::string value(10000, '7');
  scenario.call("cfg_gain_range_to_high", scenario.recorder.forest().plant("x"));
  scenario.recorder.drop_lines();
  scenario.call_text("cfg_gain_range_to_high", scenario.recorder.forest().plant("ots-gain-range=" + value));
  const std::string &light = scenario.recorder.light_lines().back();
  EXPECT_EQ(light.size(), 249U);
  EXPECT_TRUE(light.ends_with("77")) << light;
  EXPECT_EQ(scenario.outcome(),
            "> cfg_gain_range_to_high\ncfg_gain_range_to_high| TRC gain_range = " + value + "\n= NULL\n");
}

// ---- Data tree node ----

TEST(Node, PresenceDecidesNotTheField) {
  vidl_yfw_datatree child{};
  vidl_yfw_datatree node{};
  node.subtree_count = 1;
  node.subtrees = &child;
  EXPECT_FALSE(vidl_yfw_datatree_has_subtrees(&node));
  EXPECT_EQ(vidl_yfw_datatree_get_subtrees(&node, nullptr), 1U);
  vidl_yfw_datatree_set_subtrees(&node, &child, 1);
  EXPECT_EQ(node.presence1, 0x40);
  vidl_yfw_datatree_clear_subtrees(&node);
  EXPECT_EQ(node.presence1, 0);
  EXPECT_EQ(node.subtrees, nullptr);
  EXPECT_EQ(node.subtree_count, 0U);
}

TEST(Node, IsSetByAnyFieldOfItsOwnOrOfASubRecord) {
  struct Row {
    size_t offset;
    int bits;
  };
  // Byte of the record, and the bits of it that count.
  const Row rows[] = {{193, 0xff}, {194, 0x3f}, {64 + 28, 0x0f}, {168, 0xff}};
  for (size_t offset = 0; offset < sizeof(vidl_yfw_datatree); ++offset) {
    int counted = 0;
    for (const Row &row : rows) counted |= row.offset == offset ? row.bits : 0;
    for (int bit = 0; bit < 8; ++bit) {
      std::array<unsigned char, sizeof(vidl_yfw_datatree)> bytes{};
      bytes[offset] = static_cast<unsigned char>(1 << bit);
      vidl_yfw_datatree node;
      std::memcpy(&node, bytes.data(), sizeof node);
      EXPECT_EQ(vidl_yfw_datatree_is_set(&node), ((counted >> bit) & 1) != 0) << offset << " bit " << bit;
    }
  }
}

// ---- print_data ----

TEST(PrintData, DumpsTheWalkPathAndTheFixedNodes) {
  Scenario scenario;
  Forest &forest = scenario.recorder.forest();
  scenario.recorder.view = View::full;
  scenario.state.root_node = forest.plant("root");
  scenario.state.parent_node = forest.plant("parent");
  scenario.state.current_node = forest.plant("here");
  scenario.state.plist = forest.plant("list");
  scenario.request_copy("optical-amplifier");
  const std::string fixed = block(R"(print_data| TRC HERE IS MYTRACE
      print /root root_node
      print /parent parent_node
      print /here current_node
      print copy: reg_dup_datatree
      print /list plist)");
  function<void(yfw_map_ctx *)>("print_data")(&scenario.ctx);
  EXPECT_EQ(scenario.outcome(), fixed);
  EXPECT_EQ(scenario.ctx.print_mark, 1U);

  scenario.on_path({forest.plant("a"), nullptr});
  function<void(yfw_map_ctx *)>("print_data")(&scenario.ctx);
  EXPECT_EQ(scenario.outcome(), block(R"(print_data| TRC iteration 0
      print /a node_data
      print_data| TRC iteration 1
      print - node_data)") + fixed);
}

// ---- Names ----

TEST(Names, ControllerToAmplifier) {
  struct Row {
    const char *pre;
    const char *bst;
    const char *controller;
    const char *amplifier;  ///< "-" where the output must stay untouched
    int good;
    int port;
  };
  const Row rows[] = {
      {"", "", "Ots0/0/0/2", "0/0-AMP-BST2", 1, 2},
      {"pre", "bst", "Ots0/0/0/2", "0/0-AMP-BST2", 1, 2},
      {"", "", "Ots0/0/0/0", "0/0-AMP-PRE0", 1, 0},
      {"pre", "", "Ots0/0/0/0", "0/0-AMP-BST0", 1, 0},
      {"0/0-AMP-PRE0", "bst", "Ots0/0/0/0", "0/0-AMP-PRE0", 1, 0},
      {"pre", "0/0-AMP-BST0", "Ots0/0/0/0", "0/0-AMP-BST0", 1, 0},
      {"0/0-AMP-PRE0", "0/0-AMP-BST0", "Ots0/0/0/0", "0/0-AMP-BST0", 1, 0},
      {"0/0-AMP-PRE0", "", "Ots0/0/0/0", "0/0-AMP-PRE0", 1, 0},
      {"pre", "bst", "Ots0/0/0/0", "-", 1, 0},
      {nullptr, nullptr, "Ots0/0/0/0", "-", 1, 0},
      {nullptr, "", "Ots0/0/0/0", "0/0-AMP-BST0", 1, 0},
      {"", nullptr, "Ots0/0/0/0", "0/0-AMP-PRE0", 1, 0},
      {"", "", "Ots0/0/0/1", "-", 0, 1},
      {"", "", "Ots0/0/0/3", "-", 0, 3},
      {"", "", "Ots1/0/0/0", "-", 0, -1},
      {"", "", "Ots0/0/0/", "-", 0, -1},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(std::string(row.controller));
    Scenario scenario;
    scenario.slots(row.pre, row.bst);
    std::array<char, 200> out{"-"};
    function<void(const char *, char *)>("ots_ctrl_key_to_ampli_key")(row.controller, out.data());
    EXPECT_STREQ(out.data(), row.amplifier);
    for (const char *check : {"check_controller_name_ots_is_good", "check_controller_name_ots_is_valid"}) {
      scenario.recorder.drop_lines();
      scenario.recorder.view = View::full;
      out = {"-"};
      EXPECT_EQ(function<NameFunction>(check)(&scenario.ctx, row.controller, out.data()), row.good);
      EXPECT_STREQ(out.data(), row.amplifier);
      const std::string own = std::string(check) + "| ";
      EXPECT_EQ(scenario.outcome(),
                own + "TRC controller_name = " + row.controller + "\n" + own +
                    (row.good != 0 ? std::string("TRC amplifier_name = ") + row.amplifier
                                   : std::string("ERR Invalid controller_name [") + row.controller +
                                         "] and port id [" + std::to_string(row.port) + "], discard it!") +
                    "\n");
    }
  }
}

TEST(Names, AmplifierToController) {
  struct Row {
    const char *amplifier;
    const char *controller;
  };
  const Row rows[] = {
      {"0/0-AMP-PRE0", "Ots0/0/0/0"},
      {"0/0-AMP-BST0", "Ots0/0/0/0"},
      {"0/0-AMP-BST2", "Ots0/0/0/2"},
      {"0/0-AMP-XYZ", "Ots0/0/0/-1"},
      {"0/0-AMP-BST12 tail", "Ots0/0/0/12"},
      {"1/0-AMP-BST2", "Ots0/0/0/-1"},
      {"", "Ots0/0/0/-1"},
  };
  for (const Row &row : rows) {
    Scenario scenario;
    std::array<char, 200> out{};
    const int length =
        function<int(const char *, char *)>("ampli_key_to_ots_ctrl_key")(row.amplifier, out.data());
    EXPECT_STREQ(out.data(), row.controller);
    EXPECT_EQ(length, static_cast<int>(std::strlen(row.controller)));
  }
  // A suffix longer than its field, and a result longer than the output: cut, never past the end.
  std::array<char, 201> out{};
  out[200] = '#';
  const auto to_key = function<int(const char *, const char *, char *)>("ampli_key_to_key");
  to_key(("0/0-AMP-BST2" + std::string(5000, 'x')).c_str(), "%d", out.data());
  const std::string format = std::string(250, 'f').append("%d");
  EXPECT_EQ(to_key("0/0-AMP-PRE7", format.c_str(), out.data()), 251);
  EXPECT_EQ(std::string(out.data()), std::string(199, 'f'));
  EXPECT_EQ(out[200], '#');
}

// ---- Searches ----

TEST(Search, ComparePath) {
  struct Row {
    const char *tree;
    const char *path;
    int found;
    const char *key;
    const char *buffer;  ///< what the caller's path buffer ends with
  };
  const char *name = "optical-amplifier/amplifiers/amplifier/name";
  const Row rows[] = {
      {"optical-amplifier{amplifiers{amplifier{name} amplifier{name=0/0-AMP-BST2}}}", name, 1, "0/0-AMP-BST2",
       "optical-amplifier/"},
      {"optical-amplifier{amplifiers{amplifier{name=first} amplifier{name=second}}}", name, 1, "first",
       "optical-amplifier/"},
      {"optical-amplifier{amplifiers{amplifier{config{name=0/0-AMP-BST2}}}}", name, 0, "",
       "optical-amplifier/"},
      {"optical-amplifier{amplifiers!hidden{amplifier{name=x}}}", name, 1, "x", "optical-amplifier/"},
      {"optical-amplifier{amplifiers{amplifier!untagged{name=x}}}", name, 0, "", "optical-amplifier/"},
      {"optical-amplifier{amplifiers{amplifier{name=x!unset}}}", name, 0, "", "optical-amplifier/"},
      {"optical-amplifier{amplifiers!broken}", name, 0, "", "optical-amplifier/"},
      {"optical-amplifier", name, 0, "", "optical-amplifier/"},
      {"<none>", name, 0, "", ""},
      {"name=0123456789012345678901234567890", "name", 1, "0123456789012345678", "name"},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.tree);
    Scenario scenario;
    std::array<char, 200> path{};
    std::array<char, 20> key{};
    EXPECT_EQ(
        function<SearchFunction>("compare_path")(&scenario.ctx, scenario.recorder.forest().plant(row.tree),
                                                 row.path, path.data(), key.data()),
        row.found);
    EXPECT_STREQ(key.data(), row.key);
    EXPECT_STREQ(path.data(), row.buffer);
  }
}

TEST(Search, ComparePathTracesEachNode) {
  Scenario scenario;
  scenario.recorder.view = View::full;
  scenario.recorder.self = "compare_path";
  scenario.recorder.queries = true;
  std::array<char, 200> path{};
  std::array<char, 20> key{};
  const auto search = function<SearchFunction>("compare_path");
  EXPECT_EQ(
      search(&scenario.ctx, scenario.recorder.forest().plant("a{b=1 c=2}"), "a/c", path.data(), key.data()),
      1);
  EXPECT_EQ(search(&scenario.ctx, nullptr, "a/c", path.data(), key.data()), 0);
  // The label of the bounded copies is free, and so is the way to a child's path buffer.
  std::string text;
  for (const std::string &line : scenario.recorder.lines()) {
    const size_t label =
        line.starts_with("copy ") || line.starts_with("append ") ? line.find(' ') : std::string::npos;
    const std::string kept =
        label == std::string::npos ? line : line.substr(0, label) + line.substr(line.find(' ', label + 1));
    if (!kept.starts_with("copy 200 ")) text += kept + "\n";
  }
  const std::string ns = ", NS <" YMAP_NS_OPENCONFIG ">\n";
  EXPECT_EQ(text, "TRC TAG <a>" + ns + block(R"(append 200 "a"
      append 200 "/"
      TRC subtree_count 2)") +
                      "TRC TAG <b>" + ns + block(R"(append 200 "b"
      TRC data 1
      TRC path        : <a/b>
      TRC path_to_find: <a/c>
      append 200 "/"
      TRC subtree_count 0)") +
                      "TRC TAG <c>" + ns + block(R"(append 200 "c"
      TRC data 2
      TRC path        : <a/c>
      TRC path_to_find: <a/c>
      TRC found return !
      copy 20 "2"
      TRC key 2,
      TRC req->_data 2,
      ERR return, req is NULL)"));
}

TEST(Search, CheckRequestType) {
  struct Row {
    const char *request;
    const char *path;
    int found;
  };
  const Row rows[] = {
      {"optical-amplifier", "/optical-amplifier", 1},
      {"optical-amplifier", "/optical-amplifier/amplifiers", 0},
      {"optical-amplifier{supervisory-channels amplifiers}", "/optical-amplifier/amplifiers", 1},
      {"optical-amplifier{a{b{c}} amplifiers=value}", "/optical-amplifier/amplifiers", 1},
      {"optical-amplifier!hidden{amplifiers}", "/optical-amplifier/amplifiers", 1},
      {"optical-amplifier!untagged{amplifiers}", "/optical-amplifier/amplifiers", 0},
      {"optical-amplifier-x", "/optical-amplifier", 0},
  };
  for (const Row &row : rows) {
    Scenario scenario;
    scenario.request_copy(row.request);
    EXPECT_EQ(function<RequestSearchFunction>("check_request_type")(
                  &scenario.ctx, scenario.state.reg_dup_datatree, row.path),
              row.found)
        << row.request << " " << row.path;
  }
  Scenario scenario;
  scenario.recorder.view = View::full;
  EXPECT_EQ(function<RequestSearchFunction>("check_request_type")(&scenario.ctx, nullptr, "/x"), 0);
  EXPECT_EQ(scenario.outcome(), "check_request_type_3| ERR return, req is NULL\n");
}

TEST(Search, LongTagsAreCutAtTheBuffer) {
  Scenario scenario;
  const std::string tag(10000, 't');
  scenario.request_copy(tag + "{" + tag + "=" + tag + "}");
  std::array<char, 201> path{};
  path[200] = '#';
  std::array<char, 21> key{};
  key[20] = '#';
  EXPECT_EQ(function<SearchFunction>("compare_path")(&scenario.ctx, scenario.state.reg_dup_datatree, "/x",
                                                     path.data(), key.data()),
            0);
  path.fill(0);
  path[200] = '#';
  EXPECT_EQ(function<PathSearchFunction>("check_request_type_3")(
                &scenario.ctx, scenario.state.reg_dup_datatree, "/x", path.data()),
            0);
  EXPECT_EQ(path[200], '#');
  EXPECT_EQ(key[20], '#');
}

TEST(Search, DepthIsBounded) {
  std::vector<vidl_yfw_datatree> chain(300000);
  for (size_t i = 0; i < chain.size(); ++i) {
    chain[i].tag = "d";
    chain[i].presence1 = YMAP_HAS_TAG;
    if (i + 1 < chain.size()) vidl_yfw_datatree_set_subtrees(&chain[i], &chain[i + 1], 1);
  }
  Scenario scenario;
  std::array<char, 200> path{};
  std::array<char, 20> key{};
  EXPECT_EQ(
      function<SearchFunction>("compare_path")(&scenario.ctx, chain.data(), "d/e", path.data(), key.data()),
      0);
  EXPECT_EQ(function<RequestSearchFunction>("check_request_type")(&scenario.ctx, chain.data(), "d/e"), 0);
}

TEST(Context, IsAsserted) {
  vidl_yfw_datatree node{};
  for (const std::string &name : {kOn + "lvla_opticalamplifier", kOn + "duck_map_leaf", kPm + "duck_map_list",
                                  std::string("cfg_target_gain_to_low"), std::string("name_to_high")}) {
    EXPECT_DEATH(function<NodeFunction>(name)(nullptr, &node, &node), "NULL != ctx") << name;
  }
}

}  // namespace
}  // namespace ymap_test
