// OpenConfig leaves and keys to native paths: amplifier entry and name, config leaves, state and statistics.

#include <gtest/gtest.h>

#include "scenario.hpp"

namespace ymap_test {
namespace {

// Texts of the slots, `pre|bst`.
constexpr const char *kPre = "0/0-AMP-PRE0|bst";
constexpr const char *kBst = "pre|0/0-AMP-BST2";
constexpr const char *kBoth = "PRE|BST";
constexpr const char *kEmpty = "|";
constexpr const char *kUnset = "NULL|NULL";

constexpr uint32_t kEdit = 2;  // an edit that is no keyed request type

void set_slots(Scenario &scenario, const std::string &both) {
  const size_t bar = both.find('|');
  const std::string pre = both.substr(0, bar);
  const std::string bst = both.substr(bar + 1);
  scenario.slots(pre == "NULL" ? nullptr : pre.c_str(), bst == "NULL" ? nullptr : bst.c_str());
}

// ---- Configuration ----

TEST(ConfigToLow, ValuesAndBounds) {
  struct Value {
    const char *function;
    const char *text;
    const char *native;  ///< NULL: refused
  };
  const Value values[] = {
      {"cfg_target_gain_to_low", "8", "80"},         {"cfg_target_gain_to_low", "7.99", nullptr},
      {"cfg_target_gain_to_low", "38", "380"},       {"cfg_target_gain_to_low", "38.01", nullptr},
      {"cfg_target_gain_to_low", "37.99", "379"},    {"cfg_target_gain_to_low", "1.5e1", "150"},
      {"cfg_target_gain_to_low", "abc", nullptr},    {"cfg_target_gain_to_low", "nan", nullptr},
      {"cfg_target_gain_to_low", "inf", nullptr},    {"cfg_target_gain_to_low", "\"\"", nullptr},
      {"cfg_target_gain_to_low", "15dB", "150"},     {"cfg_target_gain_to_low", "-15", nullptr},
      {"cfg_target_gain_tilt_to_low", "5", "50"},    {"cfg_target_gain_tilt_to_low", "5.01", nullptr},
      {"cfg_target_gain_tilt_to_low", "-5", "-50"},  {"cfg_target_gain_tilt_to_low", "-5.01", nullptr},
      {"cfg_target_gain_tilt_to_low", "-0.09", "0"}, {"cfg_target_gain_tilt_to_low", "abc", "0"},
      {"cfg_target_gain_tilt_to_low", "\"\"", "0"},  {"cfg_target_gain_tilt_to_low", "nan", nullptr},
  };
  for (const Value &value : values) {
    Scenario scenario(kEdit);
    scenario.slots("", "BST");
    const std::string outcome = scenario.call(value.function, std::string("leaf=") + value.text);
    const std::string native =
        value.native == nullptr ? "= INVALID_VALUE" : "=\"" + std::string(value.native) + "\"";
    EXPECT_NE(outcome.find(native), std::string::npos) << value.function << " " << value.text << "\n"
                                                       << outcome;
  }
  // A text longer than the buffer is cut, not refused and not written past the end.
  Scenario scenario(kEdit);
  scenario.slots("", "BST");
  const std::string zeros = "15." + std::string(10000, '0') + "9";
  EXPECT_NE(scenario.call("cfg_target_gain_to_low", "leaf=" + zeros).find("=\"150\""), std::string::npos);
}

TEST(ConfigToLow, EveryTenthIsKept) {
  const auto expect_kept = [](const char *name, int tenths) {
    Scenario scenario(kEdit);
    scenario.slots("PRE", "bst");
    const std::string sign = tenths < 0 ? "-" : "";
    const int whole = std::abs(tenths);
    const std::string text = sign + std::to_string(whole / 10) + "." + std::to_string(whole % 10) + "0";
    EXPECT_NE(scenario.call(name, "leaf=" + text).find("=\"" + std::to_string(tenths) + "\""),
              std::string::npos)
        << text;
  };
  for (int tenths = 80; tenths <= 380; ++tenths) expect_kept("cfg_target_gain_to_low", tenths);
  for (int tenths = -50; tenths <= 50; ++tenths) expect_kept("cfg_target_gain_tilt_to_low", tenths);
}

TEST(ConfigToLow, OldErrorCopiesAreFreed) {
  for (const char *function : {"cfg_target_gain_to_low", "cfg_target_gain_tilt_to_low", "name_to_low"}) {
    Scenario scenario(YMAP_REQ_GET);
    scenario.state.err_tag = scenario.recorder.own("old");
    scenario.state.err_message = scenario.recorder.own("older");
    scenario.call(function, "name=-99");
    EXPECT_STREQ(scenario.state.err_tag, "name") << function;
  }
}

TEST(ConfigToLow, StatusIsThatOfTheLastAdd) {
  const std::string on_config = kOn + "leaf_lvla_opticalamplifier_config_";
  for (const std::string &function :
       {std::string("cfg_target_gain_to_low"), std::string("cfg_target_gain_tilt_to_low"),
        on_config + "gainrange", on_config + "enabled", std::string("state_actual_gain_avg_to_low"),
        std::string("oper_target_gain_to_low")}) {
    for (const int failing : {1, 2}) {
      Scenario scenario(YMAP_REQ_GET);
      scenario.slots("PRE", "BST");
      scenario.recorder.fail("add", failing, 77);
      EXPECT_TRUE(scenario.call(function, "leaf").ends_with(failing == 1 ? "= OK\n" : "= 77\n")) << function;
    }
  }
}

// ---- State and statistics ----

TEST(StateToLow, EveryLeafOfTheTable) {
  struct Leaf {
    const char *function;
    const char *ingress;
    const char *egress;
    bool port_first;
    const char *value = "";
  };
  const std::string range = kOn + "leaf_lvla_opticalamplifier_state_gainrange";
  const std::string enabled = kOn + "leaf_lvla_opticalamplifier_state_enabled";
  const Leaf leaves[] = {
      {"oper_target_gain_to_low", "ingress-ampli-gain", "egress-ampli-gain", false},
      {"oper_target_gain_tilt_to_low", "ingress-ampli-tilt", "egress-ampli-tilt", false},
      {range.c_str(), "ingress-ampli-gain-range", "egress-ampli-gain-range", false, "=\"extended\""},
      {enabled.c_str(), "ingress-ampli-osri", "egress-ampli-osri", false, "=\"true\""},
      {"oper_actual_gain_instant_to_low", "ingress-ampli-gain", "egress-ampli-gain", true},
      {"oper_actual_gain_tilt_instant_to_low", "ingress-ampli-tilt", "egress-ampli-tilt", true},
      {"state_actual_gain_avg_to_low", "iagn/average", "eagn/average", false},
      {"state_actual_gain_min_to_low", "iagn/minimum", "eagn/minimum", false},
      {"state_actual_gain_max_to_low", "iagn/maximum", "eagn/maximum", false},
      {"state_actual_gain_interval_to_low", "iagn/valid", "eagn/valid", false},
      {"state_actual_gain_min_time_to_low", "iagn/min-time", "eagn/min-time", false},
      {"state_actual_gain_max_time_to_low", "iagn/max-time", "eagn/max-time", false},
      {"state_actual_gain_tilt_avg_to_low", "iatl/average", "eatl/average", false},
      {"state_actual_gain_tilt_min_to_low", "iatl/minimum", "eatl/minimum", false},
      {"state_actual_gain_tilt_max_to_low", "iatl/maximum", "eatl/maximum", false},
      {"state_actual_gain_tilt_interval_to_low", "iatl/valid", "eatl/valid", false},
      {"state_actual_gain_tilt_min_time_to_low", "iatl/min-time", "eatl/min-time", false},
      {"state_actual_gain_tilt_max_time_to_low", "iatl/max-time", "eatl/max-time", false},
  };
  struct Case {
    const char *slots;
    uint32_t type;
    bool ingress;
    bool egress;
  };
  const Case cases[] = {{kBoth, YMAP_REQ_GET, true, true},    {kPre, YMAP_REQ_GET_CONFIG, true, false},
                        {kBst, YMAP_REQ_GET, false, true},    {"|bst", YMAP_REQ_GET, false, false},
                        {kUnset, YMAP_REQ_GET, false, false}, {kBoth, kEdit, false, false}};
  for (const Leaf &leaf : leaves) {
    const bool pm = std::string(leaf.ingress).find('/') != std::string::npos;
    const std::string prefix = pm ? "add out pm:{bucket}/" : "add out ots-oper:{port}/ots-info/";
    const bool mapped = leaf.value[0] != '\0';
    const std::string node = std::string(leaf.value) == "=\"true\"" ? "x=false"
                             : mapped                               ? "x=HIGH_GAIN_RANGE"
                                                                    : "x=9";
    for (const Case &one : cases) {
      SCOPED_TRACE(std::string(leaf.function) + " " + one.slots);
      Scenario scenario(one.type);
      set_slots(scenario, one.slots);
      std::string expected = leaf.port_first ? "add out ots-oper:{port} 0 0\n" : "";
      if (one.ingress) expected += prefix + leaf.ingress + leaf.value + " 0 0\n";
      if (one.egress) expected += prefix + leaf.egress + leaf.value + " 0 0\n";
      EXPECT_EQ(scenario.call(leaf.function, node), expected + "= OK\n");
    }
  }
}

// ---- The entry ----

TEST(EntryToLow, PathWithoutANodeNamesNoAmplifier) {
  Scenario scenario(YMAP_REQ_GET_CONFIG);
  scenario.on_path({nullptr});
  scenario.recorder.view = View::walk;
  const std::string outcome = scenario.call("amplifier_list_to_low", "amplifier");
  EXPECT_NE(outcome.find("compare_path| ERR return, req is NULL\n"), std::string::npos);
  EXPECT_NE(outcome.find("=\"Ots0/0/0/2\" from /amplifier 0 1\n"), std::string::npos);
  EXPECT_EQ(Scenario::slot_texts(), kEmpty);
}

std::string ots_selection(const std::string &controller, const std::string &side) {
  std::string text = "add out ots-oper:{port} 1 0\nadd out ots-oper:{port}/name=\"" + controller +
                     "\" from /amplifier 0 1\n";
  for (const char *leaf : {"gain", "tilt", "gain-range", "osri"}) {
    text += "add out ots-oper:{port}/ots-info/" + side + "-ampli-" + leaf + " 0 1\n";
  }
  return text;
}

TEST(EntryToLow, SelectionFollowsTheSlots) {
  for (const char *slots : {"PRE|bst", "|bst", "pre|BST", "pre|", "|", "pre|bst", "NULL|NULL"}) {
    Scenario scenario(YMAP_REQ_GET);
    set_slots(scenario, slots);
    vidl_yfw_datatree *source = scenario.recorder.forest().plant("amplifier");
    function<void(yfw_map_ctx *, vidl_yfw_datatree *, vidl_yfw_datatree *, const char *)>(
        "add_ots_select_field")(&scenario.ctx, source, &scenario.out, "C");
    const std::string text = slots;
    const bool ingress = text.starts_with("PRE") || text.starts_with("|");
    const bool egress = text.ends_with("BST") || text.ends_with("|");
    EXPECT_EQ(scenario.outcome(),
              (ingress ? ots_selection("C", "ingress") : "") + (egress ? ots_selection("C", "egress") : ""))
        << slots;
  }
}

}  // namespace
}  // namespace ymap_test
