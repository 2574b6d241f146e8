// Whole requests through the built plug-in, over a native datastore in memory.
#include <gtest/gtest.h>

#include <algorithm>

#include "mapper.hpp"
#include "notation.hpp"
#include "record_filter.hpp"

namespace yfw::test {
namespace {

/// Answers from a fixed tree, and keeps what it was asked.
struct MemoryDatastore : NativeDatastore {
  void read(const Datatree &request, Datatree &answer) override {
    reads.push_back(print(request));
    if (unasked) {
      for (const vidl_yfw_datatree &top : children(*data.root())) answer.add_copy(answer.root(), &top);
      return;
    }
    const RecordAdapter adapter;
    std::vector<const vidl_yfw_datatree *> filters;
    for (const vidl_yfw_datatree &top : children(*request.root())) filters.push_back(&top);
    for (const auto &selected : SubtreeFilter(adapter).select(filters, adapter.data_children(data.root()))) {
      give_out(selected, answer.root(), answer);
    }
  }

  void edit(const Datatree &request) override {
    edits.push_back(print(request));
    if (refused.empty()) return;
    NativeRefusal refusal("the device says no");
    refusal.error_tag = "invalid-value";
    refusal.node = find(*request.root());
    throw refusal;
  }

  const vidl_yfw_datatree *find(const vidl_yfw_datatree &from) const {
    for (const vidl_yfw_datatree &node : children(from)) {
      if (node.tag == refused) return &node;
      if (const vidl_yfw_datatree *below = find(node)) return below;
    }
    return nullptr;
  }

  static void give_out(const Selected<const vidl_yfw_datatree *> &selected, vidl_yfw_datatree *parent,
                       Datatree &to) {
    if (selected.whole) {
      to.add_copy(parent, selected.node);
      return;
    }
    vidl_yfw_datatree *copy = to.add(parent, selected.node->tag, selected.node->namespace_);
    for (const auto &below : selected.children) give_out(below, copy, to);
  }

  Datatree data;
  std::vector<std::string> reads, edits;
  bool unasked = false;  ///< gives all it has, whatever is asked
  std::string refused;   ///< tag of the native node that an edit is refused at
};

const char *const kInterfaces =
    "interface-configurations{"
    "interface-configuration{active=act interface-name=Mgmt0 ots{ots-egress-amplifier-gain=999}} "
    "interface-configuration{active=act interface-name=Ots0/0/0/0 ots{ots-ingress-amplifier-gain=150 "
    "ots-ingress-osri=false ots-egress-amplifier-gain=200 ots-egress-osri=true}} "
    "interface-configuration{active=act interface-name=Ots0/0/0/1 ots{ots-egress-amplifier-gain=111}} "
    "interface-configuration{active=act interface-name=Ots0/0/0/2 ots{ots-egress-amplifier-gain=80 "
    "ots-egress-amplifier-gain-range=fixed ots-egress-osri=false}}} ";
const char *const kPorts =
    "ots-oper{ots-ports{ots-port{name=Ots0/0/0/0 ots-info{ingress-ampli-gain=151 egress-ampli-gain=201}} "
    "ots-port{name=Ots0/0/0/2 ots-info{egress-ampli-gain=81}}}} ";

/// One bucket of a port's 30-second history.
std::string history(const std::string &port, const std::string &statistics) {
  return "performance-management-history{global{periodic{optics-history{optics-port-histories{optics-port-"
         "history{name=" +
         port +
         " optics-second30-history{optics-second30-optics-histories{optics-second30-optics-history{number=1 "
         "optics-second30-optics-time-line-instances{optics-second30-optics-time-line-instance{number=1 " +
         statistics + "}}}}}}}}}}} ";
}

std::string amplifiers(const std::string &entries) {
  return "optical-amplifier{amplifiers{" + entries + "}}";
}

struct Requests : testing::Test {
  Requests() {
    datastore.data = parse(kInterfaces + std::string(kPorts) +
                           history("Ots0/0/0/0", "eagn{minimum=19.90} iagn{minimum=14.90}"));
  }

  std::string get(const std::string &filter, uint32_t type = YMAP_REQ_GET, uint32_t selector = 0) {
    datastore.reads.clear();
    const Datatree tree = parse(filter);
    return print(mapper.read({&tree, type, selector}));
  }

  /// "error path: message", or what the datastore was sent.
  std::string edit(const std::string &request) { return edit(parse(request)); }
  std::string edit(const Datatree &request) {
    datastore.edits.clear();
    try {
      mapper.edit(request);
    } catch (const Refusal &refusal) {
      EXPECT_TRUE(datastore.edits.empty() || !datastore.refused.empty()) << print(request);
      return describe(refusal);
    }
    return datastore.edits.empty() ? "nothing" : datastore.edits.front();
  }

  static std::string describe(const Refusal &refusal) {
    const std::string top = "/openconfig-optical-amplifier:optical-amplifier";
    EXPECT_EQ(refusal.path.substr(0, top.size()), top);
    return refusal.path.substr(top.size()) + ": " + refusal.what();
  }

  MemoryDatastore datastore;
  Plugin plugin{optical_amplifier(), PLUGIN_FILE};
  Mapper mapper{plugin, datastore};
};

TEST(Plugins, ABrokenOneIsNamed) {
  EXPECT_THROW(Plugin(optical_amplifier(), "missing.so"), std::runtime_error);
  Registration other = optical_amplifier();
  other.native_modules.push_back({"Velm-other", "urn:other", {"some-top"}});
  try {
    Plugin(other, PLUGIN_FILE);
    FAIL() << "loaded";
  } catch (const std::runtime_error &error) {
    EXPECT_NE(std::string(error.what()).find("ymap_no_oc_amplifier_kva220_velmother_lvla_sometop"),
              std::string::npos);
  }
}

// ---- Reads ----------------------------------------------------------------------------------------

TEST(Answers, OutliveTheirPluginAndTheNativeTrees) {
  Datatree answer, native;
  {
    MemoryDatastore datastore;
    datastore.data = parse(kInterfaces);
    const Plugin plugin(optical_amplifier(), PLUGIN_FILE);
    Mapper mapper(plugin, datastore);
    const Datatree filter = parse(amplifiers("amplifier{name=0/0-AMP-BST2 config{target-gain}}"));
    answer = mapper.read({&filter, YMAP_REQ_GET_CONFIG, 0});
    native = std::move(mapper.translate_read({&filter, YMAP_REQ_GET_CONFIG, 0}).front());
  }
  EXPECT_EQ(print(answer), amplifiers("amplifier{name=0/0-AMP-BST2 config{target-gain=8.00}}"));
  EXPECT_EQ(print(native),
            "interface-configurations{interface-configuration{interface-name=Ots0/0/0/2 active=act "
            "ots{ots-egress-amplifier-gain}}}");
}

TEST_F(Requests, EachAmplifierAnswersItsOwnSide) {
  const std::string pre =
      "amplifier{name=0/0-AMP-PRE0 config{name=0/0-AMP-PRE0 target-gain=15.00 enabled=true}}";
  const std::string bst0 =
      "amplifier{name=0/0-AMP-BST0 config{name=0/0-AMP-BST0 target-gain=20.00 enabled=false}}";
  const std::string bst2 =
      "amplifier{name=0/0-AMP-BST2 config{name=0/0-AMP-BST2 target-gain=8.00 enabled=true}}";
  const std::string all = amplifiers(pre + " " + bst0 + " " + bst2);
  struct Row {
    std::string filter, answer;
  };
  const Row rows[] = {
      {"", all},
      {"optical-amplifier", all},
      {"optical-amplifier{amplifiers}", all},
      {amplifiers("amplifier"), all},
      {amplifiers("amplifier{name=}"), amplifiers("amplifier{name=0/0-AMP-PRE0} amplifier{name=0/0-AMP-BST0} "
                                                  "amplifier{name=0/0-AMP-BST2}")},
      {amplifiers("amplifier{name=0/0-AMP-BST2} amplifier{name=0/0-AMP-PRE0}"), amplifiers(pre + " " + bst2)},
      {amplifiers("amplifier{name=0/0-AMP-BST2}"), amplifiers(bst2)},
      {amplifiers("amplifier{name=0/0-AMP-BST2} amplifier{name=0/0-AMP-BST2 config{enabled}}"),
       amplifiers(bst2)},
      {amplifiers("amplifier{name=0/0-AMP-BST2{x}}"), ""},
      {amplifiers("amplifier{name=0/0-AMP-BST0 config}"), amplifiers(bst0)},
      // a content match that no data fulfils, beside what would select
      {"optical-amplifier=x", ""},
      {"optical-amplifier{amplifiers=x}", ""},
      {amplifiers("x=1 amplifier{name=0/0-AMP-BST2}"), ""},
      {amplifiers("amplifier{config{target-gain}}"),
       amplifiers("amplifier{name=0/0-AMP-PRE0 config{target-gain=15.00}} amplifier{name=0/0-AMP-BST0 "
                  "config{target-gain=20.00}} amplifier{name=0/0-AMP-BST2 config{target-gain=8.00}}")},
      // content matches select on the OpenConfig side, and do not narrow other parts of the filter
      {amplifiers("amplifier{config{enabled=false}}"), amplifiers(bst0)},
      {amplifiers("amplifier{config{enabled=false}} amplifier{name=0/0-AMP-PRE0 config{target-gain}}"),
       amplifiers("amplifier{name=0/0-AMP-PRE0 config{target-gain=15.00}} " + bst0)},
      {amplifiers("amplifier{config{target-gain=99}}"), ""},
      {amplifiers("amplifier{config{target-gain=20 enabled}}"),
       amplifiers("amplifier{name=0/0-AMP-BST0 config{target-gain=20.00 enabled=false}}")},
      {"foreign", ""},
      {"optical-amplifier{supervisory-channels}", ""},
      {"optical-amplifier{supervisory-channels{supervisory-channel{interface=x config}} "
       "amplifiers{amplifier{name=0/0-AMP-PRE0}}}",
       amplifiers(pre)},
  };
  for (const Row &row : rows) EXPECT_EQ(get(row.filter, YMAP_REQ_GET_CONFIG), row.answer) << row.filter;
}

TEST_F(Requests, StateComesFromAllThreeModules) {
  EXPECT_EQ(get(amplifiers("amplifier{name=0/0-AMP-BST0 state}")),
            amplifiers("amplifier{name=0/0-AMP-BST0 state{name=0/0-AMP-BST0 target-gain=20.10 "
                       "actual-gain{instant=20.10 min=19.90}}}"));
  EXPECT_EQ(get(amplifiers("amplifier{name=0/0-AMP-PRE0}"), YMAP_REQ_GET, YMAP_CONTENT_STATE_ONLY),
            amplifiers("amplifier{name=0/0-AMP-PRE0 state{target-gain=15.00 enabled=true name=0/0-AMP-PRE0 "
                       "actual-gain{instant=15.10 min=14.90}}}"));
}

TEST_F(Requests, ALeafIsReadAlone) {
  struct Row {
    const char *entry;
    const char *native;
    const char *answer;
  };
  const Row rows[] = {
      {"config{target-gain}",
       "interface-configurations{interface-configuration{interface-name=Ots0/0/0/2 active=act "
       "ots{ots-egress-amplifier-gain}}}",
       "config{target-gain=8.00}"},
      {"state{actual-gain{instant}}",
       "ots-oper{ots-ports{ots-port{name=Ots0/0/0/2 ots-info{egress-ampli-gain}}}}",
       "state{actual-gain{instant=8.10}}"},
      {"config{min-gain target-gain type}",
       "interface-configurations{interface-configuration{interface-name=Ots0/0/0/2 active=act "
       "ots{ots-egress-amplifier-gain}}}",
       "config{target-gain=8.00}"},
      {"config{name}",
       "interface-configurations{interface-configuration{interface-name=Ots0/0/0/2 active=act interface-name "
       "active}} "
       "ots-oper{ots-ports{ots-port{name=Ots0/0/0/2 name}}} "
       "performance-management-history{global{periodic{optics-history{optics-port-histories{optics-port-"
       "history{name="
       "Ots0/0/0/2 name}}}}}}",
       "config{name=0/0-AMP-BST2}"},
  };
  for (const Row &row : rows) {
    const std::string named = "amplifier{name=0/0-AMP-BST2 ";
    EXPECT_EQ(get(amplifiers(named + row.entry + "}")), amplifiers(named + row.answer + "}")) << row.entry;
    EXPECT_EQ(datastore.reads, std::vector<std::string>{row.native}) << row.entry;
  }
}

TEST_F(Requests, UnmappedLeavesReadNothingMore) {
  for (const char *entry : {"config{min-gain}", "state{input-power-total{instant interval} ingress-port}",
                            "config{type} state{component}"}) {
    EXPECT_EQ(get(amplifiers("amplifier{name=0/0-AMP-BST2 " + std::string(entry) + "}")),
              amplifiers("amplifier{name=0/0-AMP-BST2}"))
        << entry;
    EXPECT_EQ(datastore.reads,
              std::vector<std::string>{"interface-configurations{interface-configuration{"
                                       "interface-name=Ots0/0/0/2 active=act interface-name active}}"});
  }
}

TEST_F(Requests, OddNativeDataIsLeftOut) {
  const std::string port =
      "interface-configuration{interface-name=Ots0/0/0/2 active=act ots{ots-egress-amplifier-gain=";
  datastore.data =
      parse("interface-configurations{" + port + "}} " + port + "85}} " + port + "90}} mtus{foreign}} " +
            "ots-oper{ots-ports{ots-port{ots-info{egress-ampli-gain=1}} ots-port}}");
  EXPECT_EQ(get(amplifiers("amplifier{name=0/0-AMP-BST2 config{target-gain}}")),
            amplifiers("amplifier{name=0/0-AMP-BST2 config{target-gain=8.50}}"));
  EXPECT_EQ(get(amplifiers("amplifier{name=0/0-AMP-PRE0}")), "");
}

TEST_F(Requests, OfMoreThanWasAskedForTheRestIsLeftOut) {
  datastore.unasked = true;
  datastore.data = parse(kInterfaces + std::string(kPorts) + history("Ots0/0/0/2", "iagn{average=9.99}"));
  EXPECT_EQ(get(amplifiers("amplifier{name=0/0-AMP-PRE0 state}")),
            amplifiers("amplifier{name=0/0-AMP-PRE0 state{target-gain=15.00 enabled=true name=0/0-AMP-PRE0 "
                       "actual-gain{instant=15.10}}}"));
}

TEST_F(Requests, ReadsAreRefused) {
  struct Row {
    uint32_t type;
    const char *entry;
    const char *refusal;
  };
  const Row rows[] = {
      {YMAP_REQ_GET_CONFIG, "name=0/0-AMP-PRE1",
       "/amplifiers/amplifier[name='0/0-AMP-PRE1']/name: there is no amplifier '0/0-AMP-PRE1'; the device "
       "has "
       "0/0-AMP-PRE0, 0/0-AMP-BST0, 0/0-AMP-BST2"},
      {YMAP_REQ_GET, "name=0/0-AMP-XYZ config",
       "/amplifiers/amplifier[name='0/0-AMP-XYZ']/name: Invalid key input:accept only 0/0-AMP-PRE0, "
       "0/0-AMP-BST0 or "
       "0/0-AMP-BST2"},
      {YMAP_REQ_GET, "name=0/0-AMP-BST2 name=0/0-AMP-PRE0",
       "/amplifiers/amplifier[name='0/0-AMP-BST2']/name: List key node error."},
      {YMAP_REQ_GET, "name name", "/amplifiers/amplifier/name: List key node error."},
  };
  for (const Row &row : rows) {
    try {
      get(amplifiers("amplifier{name=0/0-AMP-PRE0} amplifier{" + std::string(row.entry) + "}"), row.type);
      ADD_FAILURE() << row.entry;
    } catch (const Refusal &refusal) {
      EXPECT_EQ(describe(refusal), row.refusal);
      EXPECT_TRUE(datastore.reads.empty());
    }
  }
}

// ---- Edits ----------------------------------------------------------------------------------------

/// The native entry of an amplifier's side with the given leaves of `ots`.
std::string native(const std::string &port, const std::string &leaves) {
  return "interface-configuration{interface-name=Ots0/0/0/" + port + " active=act ots{" + leaves + "}}";
}
std::string cleared(const std::string &port, const std::string &side) {
  const std::string amplifier = "ots-" + side + "-amplifier-";
  return native(port, amplifier + "gain!remove " + amplifier + "tilt!remove " + amplifier +
                          "gain-range!remove ots-" + side + "-osri!remove");
}

TEST_F(Requests, OperationsConcernTheAmplifiersNamedOnly) {
  const std::string pre = cleared("0", "ingress"), bst0 = cleared("0", "egress"),
                    bst2 = cleared("2", "egress");
  const std::string all = pre + " " + bst0 + " " + bst2;
  const std::string replaced = native("0",
                                      "ots-ingress-amplifier-gain=100 ots-ingress-amplifier-tilt!remove "
                                      "ots-ingress-amplifier-gain-range!remove "
                                      "ots-ingress-osri!remove");
  struct Row {
    std::string request, native;
  };
  const Row rows[] = {
      {amplifiers("amplifier{name=0/0-AMP-BST2 config{target-gain=15.57 enabled=false}}"),
       native("2", "ots-egress-amplifier-gain=155 ots-egress-osri=true")},
      {amplifiers("amplifier{name=0/0-AMP-PRE0 config{enabled=true}}") + " " +
           amplifiers("amplifier{name=0/0-AMP-BST2 config{enabled=true}}"),
       native("0", "ots-ingress-osri=false") + " " + native("2", "ots-egress-osri=false")},
      {"optical-amplifier{amplifiers{amplifier{name=0/0-AMP-PRE0 config{target-gain=9}}} "
       "amplifiers{amplifier{name=0/0-AMP-PRE0 config{enabled=true}}}}",
       native("0", "ots-ingress-amplifier-gain=90") + " " + native("0", "ots-ingress-osri=false")},
      {amplifiers("amplifier{name=0/0-AMP-PRE0 config{enabled=true}} "
                  "amplifier{name=0/0-AMP-BST2 config{enabled!remove}}"),
       native("0", "ots-ingress-osri=false") + " " + native("2", "ots-egress-osri!remove")},
      {amplifiers("amplifier{name=0/0-AMP-BST0 config!delete{target-gain=15}}"), bst0},
      {amplifiers("amplifier!delete{name=0/0-AMP-BST0}"), bst0},
      {amplifiers("amplifier!remove{name=0/0-AMP-PRE0 config{target-gain=1}}"), pre},
      {amplifiers("amplifier!replace{name=0/0-AMP-PRE0}"), pre},
      {amplifiers("amplifier{name=0/0-AMP-PRE0 config!replace{target-gain=10}}"), replaced},
      {amplifiers("amplifier!replace{name=0/0-AMP-PRE0 config{target-gain=10}}"), replaced},
      {amplifiers("amplifier!replace{name=0/0-AMP-PRE0 config!merge{target-gain!create=10}}"), replaced},
      {"optical-amplifier{amplifiers!replace{amplifier{name=0/0-AMP-PRE0 config{target-gain=10}}}}",
       replaced + " " + bst0 + " " + bst2},
      {"optical-amplifier!replace{amplifiers{amplifier!delete{name=0/0-AMP-PRE0}}}", all},
      {"optical-amplifier!replace", all},
      {"optical-amplifier{amplifiers!remove{amplifier{name=0/0-AMP-PRE0}}}", all},
      {"optical-amplifier!delete{amplifiers}", all},
      {amplifiers("amplifier{name=0/0-AMP-PRE0 config!create{target-gain=9 enabled!merge=true}}"),
       native("0", "ots-ingress-amplifier-gain!create=90 ots-ingress-osri!merge=false")},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(edit(row.request), "interface-configurations{" + row.native + "}") << row.request;
  }
  EXPECT_EQ(edit("optical-amplifier"), "nothing");
  EXPECT_EQ(edit(""), "nothing");
}

bool is_untouched(const vidl_yfw_datatree &parent) {
  const Children all = children(parent);
  return std::all_of(all.begin(), all.end(), [](const vidl_yfw_datatree &node) {
    return node.walk_info.presence == 0 && node.is_key == 0 && node.presence2 == 0 && is_untouched(node);
  });
}

TEST_F(Requests, AnEditLeavesItsRequestAsItWas) {
  for (const char *operation : {"", "!replace"}) {
    const std::string text = amplifiers("amplifier{name=0/0-AMP-BST2 config" + std::string(operation) +
                                        "{target-gain=15.5 gain-range=MID_GAIN_RANGE}}");
    const Datatree request = parse(text);
    for (int time = 0; time < 2; ++time) mapper.edit(request);
    EXPECT_EQ(print(request), text);
    EXPECT_TRUE(is_untouched(*request.root())) << text;
    EXPECT_EQ(datastore.edits[0], datastore.edits[1]);
    datastore.edits.clear();
  }
}

TEST_F(Requests, EditsAreRefusedWithPathAndReason) {
  const std::string entry = "/amplifiers/amplifier[name='0/0-AMP-PRE0']";
  const auto no_such_amplifier = [](const std::string &name) {
    return "/amplifiers/amplifier[name='" + name + "']/name: there is no amplifier '" + name +
           "'; the device has 0/0-AMP-PRE0, 0/0-AMP-BST0, 0/0-AMP-BST2";
  };
  struct Row {
    const char *entry;
    std::string refusal;
  };
  const Row rows[] = {
      {"name=0/0-AMP-PRE0 config{target-gain=7.99}",
       entry + "/config/target-gain: Invalid argument:NALTO support range from 80 to 380"},
      {"name=0/0-AMP-PRE0 config{enabled=true min-gain=1}",
       entry + "/config/min-gain: The device has no counterpart for this node"},
      {"name=0/0-AMP-PRE0 state{target-gain=9}",
       entry + "/state: Unsupported tag is specified in the request."},
      {"name=0/0-AMP-PRE0 config{name=0/0-AMP-BST0}",
       entry + "/config/name: config/name '0/0-AMP-BST0' differs from the key name '0/0-AMP-PRE0'; both must "
               "be the same"},
      {"name!delete=0/0-AMP-PRE0 config", entry + ": The key node should not have delete operation."},
      {"name=0/0-AMP-PRE0 name=0/0-AMP-PRE0 config", entry + "/name: List key node error."},
      {"name= config{enabled=true}", "/amplifiers/amplifier/name: List key node error."},
      {"config{enabled=true}", "/amplifiers/amplifier/name: List key node error."},
      {"", "/amplifiers: No keys specified with a list node."},
      {"name=0/0-AMP-PRE0 config{name!remove}",
       entry + "/config/name: the name of an amplifier cannot be removed"},
      {"name=0/0-AMP-PRE0 config{enabled=true gain-range=LOW_GAIN_RANGE}",
       entry + "/config/gain-range: the device has no counterpart for the value 'LOW_GAIN_RANGE'"},
      {"name=0/0-AMP-PRE0 config{foreign!create=1}",
       entry + "/config/foreign: A node of a foreign namespace cannot be created here"},
      {"name=x0/0-AMP-PRE0 config{enabled=true}", no_such_amplifier("x0/0-AMP-PRE0")},
      {"name=0/0-AMP-XXX0 config{enabled=true}", no_such_amplifier("0/0-AMP-XXX0")},
  };
  for (const Row &row : rows) {
    const std::string before = "amplifier{name=0/0-AMP-BST2 config{enabled=true}} ";
    EXPECT_EQ(edit(amplifiers(before + "amplifier{" + row.entry + "}")), row.refusal);
  }
  EXPECT_EQ(edit("optical-amplifier{amplifiers!create{amplifier{name=0/0-AMP-PRE0}}}"),
            entry + ": amplifier 0/0-AMP-PRE0 exists; only its config can be created");
  const std::string unknown = "amplifiers{amplifier{name=x0/0-AMP-PRE0 config{enabled=true}}}";
  EXPECT_EQ(edit("optical-amplifier{amplifiers{amplifier{name=0/0-AMP-BST2}} " + unknown + "}"),
            no_such_amplifier("x0/0-AMP-PRE0"));
  Datatree other;
  other.add(other.add(other.root(), "amplifiers", YMAP_NS_OPENCONFIG), "amplifier", YMAP_NS_OPENCONFIG);
  EXPECT_EQ(edit(other),
            ": 'amplifiers' is not a top container of openconfig-optical-amplifier; an edit begins with "
            "optical-amplifier");
  EXPECT_EQ(edit("foreign"),
            ": 'foreign' is not a top container of openconfig-optical-amplifier; an edit begins with "
            "optical-amplifier");
}

TEST_F(Requests, ANativeRefusalIsToldOfTheOpenConfigNode) {
  const std::string request =
      amplifiers("amplifier{name=0/0-AMP-BST2 config{enabled=true gain-range=HIGH_GAIN_RANGE}}");
  struct Row {
    const char *native;
    const char *path;
  };
  const std::string entry = "/amplifiers/amplifier[name='0/0-AMP-BST2']";
  for (const Row &row : {Row{"ots-egress-amplifier-gain-range", "/config/gain-range"},
                         {"ots-egress-osri", "/config/enabled"},
                         {"interface-name", "/name"},
                         {"interface-configuration", "/name"}}) {
    datastore.refused = row.native;
    EXPECT_EQ(edit(request), entry + row.path + ": the device says no") << row.native;
  }
  datastore.refused = "no such node";
  EXPECT_EQ(edit(request), ": the device says no");
}

}  // namespace
}  // namespace yfw::test
