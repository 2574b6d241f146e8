// Leaves whose values are words, in both directions: constants by text, NULL for what has no counterpart.

#include <gtest/gtest.h>

#include "scenario.hpp"

namespace ymap_test {
namespace {

TEST(Words, ByTextInBothDirections) {
  struct Row {
    const char *node;
    const char *result;
    const char *trace = "";
  };
  struct Family {
    std::vector<const char *> functions;
    std::vector<Row> rows;
  };
  const Family families[] = {
      {{"cfg_gain_range_to_low", "oper_gain_range_to_low"},
       {{"x=MID_GAIN_RANGE", "\"normal\"", "TRC gain_range = MID_GAIN_RANGE\n"},
        {"x=HIGH_GAIN_RANGE", "\"extended\"", "TRC gain_range = HIGH_GAIN_RANGE\n"},
        {"x=MID_GAIN_RANGES", "NULL", "TRC gain_range = MID_GAIN_RANGES\n"},
        {"x", "NULL", "TRC gain_range = (null)\n"},
        {"x=MID_GAIN_RANGE!unset", "NULL", "TRC gain_range = MID_GAIN_RANGE\n"}}},
      {{"cfg_gain_range_to_high", "oper_gain_range_to_high"},
       {{"x=normal", "\"MID_GAIN_RANGE\"", "TRC gain_range = normal\n"},
        {"x=abnormal-extended", "\"MID_GAIN_RANGE\"", "TRC gain_range = abnormal-extended\n"},
        {"x=xextendedx", "\"HIGH_GAIN_RANGE\"", "TRC gain_range = xextendedx\n"},
        {"x=fixed", "NULL", "TRC gain_range = fixed\n"},
        {"x", "NULL"},
        {"x=normal!unset", "NULL"}}},
      {{"cfg_enabled_to_low"},
       {{"x=true", "\"false\""},
        {"x=false", "\"true\""},
        {"x=True", "NULL"},
        {"x", "NULL"},
        {"x=true!unset", "NULL"}}},
      {{"oper_enabled_to_low", "cfg_enabled_to_high", "oper_enabled_to_high"},
       {{"x=true", "\"false\""},
        {"x=TRUE", "\"true\""},
        {"x=false", "\"true\""},
        {"x", "NULL"},
        {"x=true!unset", "NULL"}}},
  };
  for (const Family &family : families) {
    for (const char *function : family.functions) {
      for (const Row &row : family.rows) {
        Scenario scenario;
        scenario.recorder.view = View::full;
        scenario.recorder.self = function;
        EXPECT_EQ(scenario.call_text(function, scenario.recorder.forest().plant(row.node)),
                  ">\n" + std::string(row.trace) + "= " + row.result + "\n")
            << function << " " << row.node;
      }
    }
  }
}

}  // namespace
}  // namespace ymap_test
