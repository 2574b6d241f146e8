// Which nodes a path stands for.
#include "pattern.hpp"

#include "leaves.hpp"
#include "rpc_error.hpp"
#include "support.hpp"

namespace ymap::telemetry::test {
namespace {

const std::string kPre = "/optical-amplifier/amplifiers/amplifier[name=0/0-AMP-PRE0]";

class PatternTest : public WithDevice {
 protected:
  Pattern pattern(const std::string &text, const std::string &origin = {}) {
    auto made = path(text);
    made.set_origin(origin);
    return {schema(), {}, made};
  }
  /// The nodes without what all have in front.
  std::string selected(const Pattern &pattern) {
    std::string nodes;
    pattern.select(data_, [&](const Trail &trail) {
      nodes += nodes.empty() ? "" : " ";
      for (const auto *node : trail) {
        if (node->schema->name == "optical-amplifier" || node->schema->name == "amplifiers") {
          nodes += node->schema->name.front();
          continue;
        }
        nodes += "/" + (node->schema->is_list() ? key_of(*node).substr(8) : std::string(node->schema->name));
      }
    });
    return nodes;
  }
  std::string refusal(const std::string &text, const std::string &origin = {}) {
    try {
      const auto made = pattern(text, origin);
      return "taken: " + made.text();
    } catch (const RpcError &error) {
      return error.fault().tag + " " + error.fault().path + ": " + error.fault().message;
    }
  }

  Data data_ = session_->run(who_, read_request(schema(), Request::Kind::get, false, {})).data;
};

TEST_F(PatternTest, SelectsWhatThePathStandsFor) {
  const struct {
    std::string path, nodes;
  } rows[] = {
      {"", "o"},
      {"/optical-amplifier/amplifiers", "oa"},
      {kPre, "oa/PRE0"},
      {"/openconfig-optical-amplifier:optical-amplifier/oc-opt-amp:amplifiers/amplifier[name=0/0-AMP-BST2]",
       "oa/BST2"},
      {"/optical-amplifier/amplifiers/amplifier[name=0\\/0-AMP-PRE0]", "oa/PRE0"},
      {"/optical-amplifier/amplifiers/amplifier[name=x]", ""},
      {"/optical-amplifier/amplifiers/amplifier", "oa/PRE0 oa/BST0 oa/BST2"},
      {"/optical-amplifier/amplifiers/amplifier[name=*]/config/enabled",
       "oa/PRE0/config/enabled oa/BST0/config/enabled oa/BST2/config/enabled"},
      {"/*/*/*[name=0/0-AMP-BST0]/*/target-gain", "oa/BST0/config/target-gain oa/BST0/state/target-gain"},
      {"/.../instant",
       "oa/PRE0/state/actual-gain/instant oa/PRE0/state/actual-gain-tilt/instant "
       "oa/BST0/state/actual-gain/instant oa/BST0/state/actual-gain-tilt/instant "
       "oa/BST2/state/actual-gain/instant oa/BST2/state/actual-gain-tilt/instant"},
      {kPre + "/.../target-gain", "oa/PRE0/config/target-gain oa/PRE0/state/target-gain"},
      {"/.../amplifier[name=0/0-AMP-PRE0]/.../.../max",
       "oa/PRE0/state/actual-gain/max oa/PRE0/state/actual-gain-tilt/max"},
      {"/...", "o"},
      {"/optical-amplifier/supervisory-channels", ""},
  };
  for (const auto &[path, nodes] : rows) EXPECT_EQ(selected(pattern(path)), nodes) << path;
}

TEST_F(PatternTest, TakesWhatClientsPutInAPath) {
  for (const auto *origin : {"", "openconfig", "openconfig-optical-amplifier"})
    EXPECT_EQ(selected(pattern(kPre, origin)), "oa/PRE0") << origin;
  auto deprecated = path("/optical-amplifier/amplifiers");
  deprecated.add_element("nonsense");
  EXPECT_EQ(selected({schema(), {}, deprecated}), "oa");
  EXPECT_EQ(selected({schema(), path("/optical-amplifier/*"), path("/amplifier[name=0/0-AMP-PRE0]")}),
            "oa/PRE0");
}

TEST_F(PatternTest, TellsWhereAPathIsWrong) {
  const std::string module = "/openconfig-optical-amplifier:optical-amplifier";
  const struct {
    std::string path, refusal;
  } rows[] = {
      {"/optical-amplifier/amplifier",
       "unknown-element " + module + "/amplifier: the model has no element amplifier there"},
      {kPre + "/config/gain", "unknown-element " + module +
                                  "/amplifiers/amplifier/config/gain: the model has no element gain there"},
      {"/.../gain", "unknown-element /.../gain: the model has no element gain there"},
      {"/other:optical-amplifier", "unknown-namespace : element other:optical-amplifier is of a module"},
      {"/optical-amplifier[name=x]",
       "unknown-element " + module + ": the model has no list optical-amplifier there with the key name"},
      {"/optical-amplifier/amplifiers/amplifier[id=1]", "the key id"},
      {"/optical-amplifier/amplifiers/amplifier[name=]", "invalid-value"},
      {"/optical-amplifier/amplifiers/amplifier[name=a][id=1]", "bad-element"},
      {"/...[name=x]", "bad-element"},
      {kPre + "/config/enabled/...", "taken"},
      {kPre + "/config/enabled/*", "unknown-element"},
      {"/", "invalid-value : an element of the path has no name"},
  };
  for (const auto &[path, expected] : rows)
    EXPECT_NE(refusal(path).find(expected), std::string::npos) << path << " is " << refusal(path);
  EXPECT_EQ(refusal("", "cli"), "invalid-value : origin \"cli\" is not known; there is \"openconfig\"");
  std::string deep;
  for (int level = 0; level < 61; ++level) deep += "/...";
  EXPECT_TRUE(refusal(deep).starts_with("too-big"));
  ::gnmi::Path old;
  old.add_element("optical-amplifier");
  EXPECT_THROW(Pattern(schema(), {}, old), RpcError);
}

TEST_F(PatternTest, TellsWhichEntryAndWhetherThatIsAll) {
  const struct {
    std::string path;
    std::optional<std::string> entry;
    bool is_one, reaches_live;
  } rows[] = {
      {kPre, "0/0-AMP-PRE0", true, true},
      {kPre + "/config", "0/0-AMP-PRE0", true, false},
      {kPre + "/state/target-gain", "0/0-AMP-PRE0", true, false},
      {kPre + "/*/enabled", "0/0-AMP-PRE0", false, false},
      {"/optical-amplifier/amplifiers/amplifier/state", std::nullopt, false, true},
      {"/.../amplifier[name=0/0-AMP-PRE0]", std::nullopt, false, true},
      {"", std::nullopt, true, true},
  };
  for (const auto &row : rows) {
    const auto made = pattern(row.path);
    EXPECT_EQ(made.only_entry(), row.entry) << row.path;
    EXPECT_EQ(made.is_one_node(), row.is_one) << row.path;
    EXPECT_EQ(made.reaches([](const SchemaNode &node) { return node.is_leaf() && is_live(node); }),
              row.reaches_live)
        << row.path;
  }
}

}  // namespace
}  // namespace ymap::telemetry::test
