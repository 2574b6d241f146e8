// Native leaves and entries to OpenConfig: configuration, operating values, interface entries, statistics.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>

#include "scenario.hpp"

namespace ymap_test {
namespace {

// ---- Values ----

struct Leaf {
  std::string function;
  bool ingress;
  const char *native;    ///< a value the device sends
  const char *expected;  ///< the adds in a read of configuration and state, `%` for the value
  const char *high;      ///< the value that OpenConfig gets
};

const char *const kGainCfg = "config/target-gain % 0 0\nstate/target-gain % 0 0\n";
const char *const kTiltCfg = "state/target-gain-tilt % 0 0\nconfig/target-gain-tilt % 0 0\n";
const char *const kRange = "config/gain-range % 0 0\nstate/gain-range % 0 0\n";
const char *const kEnabled = "config/enabled % 0 0\nstate/enabled % 0 0\n";
const char *const kGainOper =
    "config/target-gain % 0 0\nstate/target-gain % 0 0\nstate/actual-gain/instant % 0 0\n";
const char *const kTiltOper =
    "config/target-gain-tilt % 0 0\nstate/target-gain-tilt % 0 0\nstate/actual-gain-tilt/instant % 0 0\n";

std::vector<Leaf> value_leaves() {
  const std::string cfg = kOtsCfg + "leaf_lvla_ots_ots";
  const std::string oper = kOtsOper + "leaf_lvla_otsoper_otsinfo_";
  return {
      {"cfg_target_gain_ingress_to_high", true, "150", kGainCfg, "15.00"},
      {"cfg_target_gain_egress_to_high", false, "-5", kGainCfg, "-0.50"},
      {"cfg_target_gain_tilt_ingress_to_high", true, "-15", kTiltCfg, "-1.50"},
      {"cfg_target_gain_tilt_egress_to_high", false, "junk", kTiltCfg, "0.00"},
      {cfg + "ingressosri", true, "true", kEnabled, "false"},
      {cfg + "egressosri", false, "false", kEnabled, "true"},
      {cfg + "ingressamplifiergainrange", true, "normal", kRange, "MID_GAIN_RANGE"},
      {cfg + "egressamplifiergainrange", false, "extended", kRange, "HIGH_GAIN_RANGE"},
      {"oper_target_gain_ingress_to_high", true, "123", kGainOper, "12.30"},
      {"oper_target_gain_egress_to_high", false, "207.4", kGainOper, "20.74"},
      {"oper_target_gain_tilt_ingress_to_high", true, "0", kTiltOper, "0.00"},
      {"oper_target_gain_tilt_egress_to_high", false, "-7", kTiltOper, "-0.70"},
      {oper + "ingressampliosri", true, "maybe", kEnabled, "true"},
      {oper + "egressampliosri", false, "true", kEnabled, "false"},
      {oper + "ingressampligainrange", true, "extended", kRange, "HIGH_GAIN_RANGE"},
      {oper + "egressampligainrange", false, "fixed", kRange, nullptr},
  };
}

// The expected adds; `keep` decides by path.
template <typename Keep>
std::string adds(const Leaf &leaf, const std::string &value, Keep keep) {
  const std::string all = leaf.expected;
  std::string text;
  for (size_t at = 0; at < all.size(); at = all.find('\n', at) + 1) {
    std::string line = all.substr(at, all.find('\n', at) - at + 1);
    if (!keep(line)) continue;
    line.replace(line.find(" %"), 2, value);
    text += "add out oc:{amp}/" + line;
  }
  return text + "= OK\n";
}

TEST(ValuesToHigh, SideTypeAndContentSelection) {
  struct Case {
    const char *pre;
    const char *bst;
    uint32_t type;
    int selection;  ///< 0 none, 1 selector without presence, 2 by the request's bit, 3 by the record's own
    bool ingress;
    bool egress;
  };
  const Case cases[] = {
      {"0/0-AMP-PRE0", "bst", YMAP_REQ_GET, 0, true, false},
      {"pre", "0/0-AMP-BST0", YMAP_REQ_GET, 1, false, true},
      {"", "", YMAP_REQ_GET, 2, true, true},
      {"", "", YMAP_REQ_GET, 3, true, true},
      {"", "", YMAP_REQ_GET_CONFIG, 0, true, true},
      {"", "", YMAP_REQ_GET_CONFIG, 2, true, true},
      {nullptr, nullptr, YMAP_REQ_GET, 0, false, false},
      {"BST", "PRE", YMAP_REQ_GET, 0, false, false},
  };
  for (const Leaf &leaf : value_leaves()) {
    for (const Case &one : cases) {
      Scenario scenario(one.type);
      scenario.slots(one.pre, one.bst);
      if (one.selection != 0) scenario.state_only(one.selection == 2, one.selection == 3);
      const bool selected = leaf.ingress ? one.ingress : one.egress;
      // The operating gain and tilt are reached in reads of state only and do not ask for the type.
      const bool typed = leaf.expected != kGainOper && leaf.expected != kTiltOper;
      const std::string value = leaf.high == nullptr ? "" : "=\"" + std::string(leaf.high) + "\"";
      const std::string expected = adds(leaf, value, [&](const std::string &line) {
        if (!selected) return false;
        return line.starts_with("config") ? one.selection < 2 : !typed || one.type == YMAP_REQ_GET;
      });
      EXPECT_EQ(scenario.call(leaf.function, std::string("leaf=") + leaf.native), expected)
          << leaf.function << " pre " << (one.pre ? one.pre : "NULL") << " selection " << one.selection;
    }
  }
}

// The short ways for usual numbers give what the C library gives for all of them.
TEST(ValuesToHigh, NumbersOfAnyForm) {
  for (const char *text :
       {"7", "-7", "999", "1000", "-0", "-", ".", "5.", ".5", "-.5", "+5", "0x10", "1e2", "12,5", "1-2",
        "00000000000000012", "123456789012.345", "123456789012345678", "0.1234567890123456789"}) {
    std::array<char, 64> expected{};
    std::snprintf(expected.data(), expected.size(), "=\"%.2f\"", std::strtod(text, nullptr) / 10);
    Scenario scenario(YMAP_REQ_GET);
    scenario.slots("", "");
    const std::string outcome = scenario.call("cfg_target_gain_egress_to_high", std::string("leaf=") + text);
    EXPECT_NE(outcome.find(expected.data()), std::string::npos) << text << " " << outcome;
  }
}

TEST(ValuesToHigh, ALeafWithoutValue) {
  for (const Leaf &leaf : value_leaves()) {
    Scenario scenario(YMAP_REQ_GET);
    scenario.slots("", "");
    const bool dropped = leaf.expected == kGainCfg;
    const bool text = leaf.expected == kRange || leaf.expected == kEnabled;
    EXPECT_EQ(scenario.call(leaf.function, "leaf"),
              adds(leaf, text ? "" : "=\"\"", [&](const std::string &) { return !dropped; }))
        << leaf.function;
  }
}

TEST(ValuesToHigh, StatusIsThatOfTheLastAdd) {
  for (const Leaf &leaf : value_leaves()) {
    const std::string all = leaf.expected;
    const auto count = static_cast<int>(std::count(all.begin(), all.end(), '\n'));
    for (int failing = 1; failing <= count; ++failing) {
      Scenario scenario(YMAP_REQ_GET);
      scenario.slots("", "");
      scenario.recorder.fail("add", failing, 77);
      EXPECT_TRUE(scenario.call(leaf.function, "leaf=1").ends_with(failing == count ? "= 77\n" : "= OK\n"))
          << leaf.function << " add " << failing;
    }
  }
}

// ---- Statistics ----

// Every member by its handler, which names the transform in the trace.
TEST(StatisticsToHigh, EveryMember) {
  struct Statistic {
    const char *native;  ///< leaf of a group
    const char *word;    ///< in the transform's name
    const char *high;
    char value;  ///< c copy, a as is, i interval
  };
  const Statistic statistics[] = {
      {"valid", "interval", "interval", 'i'},   {"minimum", "min", "min", 'c'},
      {"average", "avg", "avg", 'c'},           {"maximum", "max", "max", 'c'},
      {"mintime", "min_time", "min-time", 'a'}, {"maxtime", "max_time", "max-time", 'a'},
  };
  struct Group {
    const char *name;
    const char *tilt;
    const char *suffix;
    bool ingress;
  };
  const Group groups[] = {{"eagn", "", "", false},
                          {"eatl", "tilt_", "", false},
                          {"iagn", "", "_iagn", true},
                          {"iatl", "tilt_", "_iatl", true}};
  struct Case {
    const char *pre;
    const char *bst;
    const char *node;
    const char *value;  ///< as copied, and as it is
  };
  const Case cases[] = {{"", "bst", "leaf=12.34", "=\"12.34\""},
                        {"PRE0", "bst", "leaf", ""},
                        {"pre", "BST0", "leaf", ""},
                        {"pre", "", "leaf=", "=\"\""},
                        {nullptr, nullptr, "leaf=1", ""}};
  for (const Group &group : groups) {
    for (const Statistic &one : statistics) {
      const std::string transform =
          std::string("state_actual_gain_") + group.tilt + one.word + group.suffix + "_to_high";
      const std::string handler =
          kPm + "leaf_lvla_performancemanagementhistory_" + group.name + "_" + one.native;
      const bool startless = transform == "state_actual_gain_tilt_interval_iatl_to_high";
      for (const Case &c : cases) {
        Scenario scenario(YMAP_REQ_GET);
        scenario.slots(c.pre, c.bst);
        scenario.recorder.view = View::walk;
        const char *slot = group.ingress ? c.pre : c.bst;
        const bool passes = slot != nullptr && (*slot == '\0' || std::isupper(*slot) != 0);
        std::string value = c.value;
        if (one.value == 'i') value = "=\"30000000000\"";
        if (one.value == 'c' && value.empty()) value = "=\"\"";
        const std::string add = std::string("add out oc:{amp}/state/actual-gain") +
                                (group.tilt[0] != '\0' ? "-tilt/" : "/") + one.high + value +
                                (one.value == 'c' ? " 0 0\n" : " 0 1\n");
        EXPECT_EQ(scenario.call(handler, c.node), "> " + fold_function(handler) + "\n" +
                                                      (startless ? "" : "> " + transform + "\n") +
                                                      (passes ? add : "") + "= OK\n");
      }
    }
  }
}

TEST(StatisticsToHigh, CopiesAreBoundedAndNameTheirCaller) {
  Scenario scenario(YMAP_REQ_GET);
  scenario.slots("", "");
  scenario.recorder.queries = true;
  const std::string value(10000, '1');
  EXPECT_EQ(scenario.call("state_actual_gain_min_to_high", "minimum=" + value),
            "copy state_actual_gain_min_to_high 200 \"" + value +
                "\"\nadd out oc:{amp}/state/actual-gain/min=\"" + std::string(199, '1') + "\" 0 0\n= OK\n");
}

TEST(StatisticsToHigh, EgressTiltMaxTimeTurnsTheSlots) {
  struct Row {
    const char *pre;
    const char *bst;
    int failing;
    const char *after;
    const char *result;
  };
  const Row rows[] = {
      {"", "", 0, "pre|", "= OK\n"},          {"0/0-AMP-PRE0", "bst", 0, "pre|", "= OK\n"},
      {"", "", 1, "pre|", "= 77\n"},          {nullptr, nullptr, 0, "NULL|NULL", "= OK\n"},
      {nullptr, "BST", 0, "NULL|", "= OK\n"},
  };
  for (const Row &row : rows) {
    Scenario scenario(YMAP_REQ_GET);
    scenario.slots(row.pre, row.bst);
    scenario.recorder.fail("add", row.failing, 77);
    EXPECT_TRUE(scenario.call(kPm + "leaf_lvla_performancemanagementhistory_eatl_maxtime", "max-time=5")
                    .ends_with(row.result));
    EXPECT_EQ(Scenario::slot_texts(), row.after);
  }
}

// ---- Presence ----

TEST(ValuesToHigh, PresenceBitOrPointer) {
  struct Row {
    const char *function;
    bool by_bit;  ///< else by the pointer alone
  };
  const Row rows[] = {
      {"cfg_target_gain_ingress_to_high", false},    {"cfg_target_gain_tilt_egress_to_high", false},
      {"oper_target_gain_egress_to_high", true},     {"state_actual_gain_min_to_high", true},
      {"state_actual_gain_max_time_to_high", false},
  };
  for (const Row &row : rows) {
    Scenario scenario(YMAP_REQ_GET);
    scenario.slots("", "");
    const std::string outcome = scenario.call(row.function, "leaf=120!unset");
    EXPECT_EQ(outcome.find("=\"12") == std::string::npos, row.by_bit) << outcome;
    EXPECT_TRUE(scenario.call(row.function, "leaf!null").ends_with("= OK\n"));
  }
}

}  // namespace
}  // namespace ymap_test
