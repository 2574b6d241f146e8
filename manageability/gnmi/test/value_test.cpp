// Values as clients send them, and as they get them.
#include "value.hpp"

#include <google/protobuf/text_format.h>

#include "pattern.hpp"
#include "rpc_error.hpp"
#include "support.hpp"

namespace ymap::telemetry::test {
namespace {

::gnmi::TypedValue value(const std::string &text) {
  ::gnmi::TypedValue made;
  EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(text, &made)) << text;
  return made;
}

class ValueTest : public WithDevice {
 protected:
  std::vector<Pattern::Node> nodes(const std::string &below) const {
    return Pattern(schema(), path("/optical-amplifier/amplifiers/amplifier[name=x]"), path(below)).node();
  }
  std::string taken(const std::string &leaf, const std::string &text) const {
    try {
      return leaf_value(schema(), *nodes("/config/" + leaf).back().schema, value(text), "/p");
    } catch (const RpcError &error) {
      EXPECT_EQ(error.fault().path, "/p");
      return error.fault().tag + ": " + error.fault().message;
    }
  }
};

TEST_F(ValueTest, FitsToTheLeaf) {
  const struct {
    const char *leaf, *value, *taken;
  } rows[] = {
      // A binary fraction of 32 bits, which cut would be 15.69.
      {"target-gain", "float_val: 15.7", "15.70"},
      {"target-gain", "double_val: 15.699999", "15.70"},
      {"target-gain", "double_val: -0.001", "0.00"},
      {"target-gain", "int_val: 15", "15.00"},
      {"target-gain", "uint_val: 15", "15.00"},
      {"target-gain", "decimal_val { digits: 157 precision: 1 }", "15.70"},
      {"target-gain", "decimal_val { digits: 15695 precision: 3 }", "15.70"},
      {"target-gain", "decimal_val { digits: -5 precision: 2 }", "-0.05"},
      {"target-gain", "decimal_val { digits: 7 precision: 18 }", "0.00"},
      {"target-gain", "string_val: '15.7'", "15.70"},
      {"target-gain", "ascii_val: '15.7'", "15.70"},
      {"target-gain", "json_ietf_val: '\"15.7\"'", "15.70"},
      {"target-gain", "json_val: '15.69999981'", "15.70"},
      {"enabled", "bool_val: true", "true"},
      {"enabled", "json_val: 'false'", "false"},
      {"enabled", "string_val: 'true'", "true"},
      {"gain-range", "string_val: 'MID_GAIN_RANGE'", "MID_GAIN_RANGE"},
      {"gain-range", "json_ietf_val: '\"openconfig-optical-amplifier:MID_GAIN_RANGE\"'", "MID_GAIN_RANGE"},
      {"target-gain", "double_val: inf", "takes finite numbers only"},
      {"target-gain", "double_val: 1e300", "invalid-value"},
      {"target-gain", "decimal_val { digits: 1 precision: 19 }", "18 digits"},
      {"target-gain", "bool_val: true", "does not take a boolean"},
      {"target-gain", "string_val: 'loud'", "invalid-value"},
      {"target-gain", "json_val: '{}'", "no object"},
      {"target-gain", "json_val: 'nu'", "the value is no JSON"},
      {"target-gain", "bytes_val: 'x'", "takes JSON or a scalar"},
      {"target-gain", "leaflist_val {}", "takes JSON or a scalar"},
      {"target-gain", "", "the value is missing"},
      {"enabled", "int_val: 1", "does not take the number 1"},
      {"enabled", "double_val: 0.5", "does not take the number 0.5"},
      {"gain-range", "string_val: 'WIDE'", "invalid-value"},
  };
  for (const auto &[leaf, value, expected] : rows) {
    const auto got = taken(leaf, value);
    const bool is_refused = got.find(": ") != std::string::npos;
    EXPECT_TRUE(is_refused ? got.find(expected) != std::string::npos : got == expected)
        << leaf << " " << value << " is " << got;
  }
}

TEST_F(ValueTest, IsWrittenInEachEncoding) {
  const struct {
    const char *leaf, *value, *json, *ietf, *proto;
  } rows[] = {
      {"/config/target-gain", "15.70", "15.7", "\"15.7\"", "double_val: 15.7"},
      {"/config/enabled", "true", "true", "true", "bool_val: true"},
      {"/config/gain-range", "MID_GAIN_RANGE", "\"MID_GAIN_RANGE\"",
       "\"openconfig-optical-amplifier:MID_GAIN_RANGE\"",
       "string_val: \"openconfig-optical-amplifier:MID_GAIN_RANGE\""},
      {"/state/actual-gain/interval", "30000000000", "30000000000", "\"30000000000\"",
       "uint_val: 30000000000"},
      {"/name", "a\"b", "\"a\\\"b\"", "\"a\\\"b\"", "string_val: \"a\\\"b\""},
  };
  for (const auto &row : rows) {
    const DataNode leaf = {nodes(row.leaf).back().schema, row.value};
    ::gnmi::TypedValue json, ietf, proto;
    EXPECT_TRUE(write_value(schema(), leaf, Part::all, Encoding::json, json));
    EXPECT_TRUE(write_value(schema(), leaf, Part::all, Encoding::json_ietf, ietf));
    EXPECT_TRUE(write_value(schema(), leaf, Part::all, Encoding::proto, proto));
    EXPECT_EQ(json.json_val(), row.json);
    EXPECT_EQ(ietf.json_ietf_val(), row.ietf);
    EXPECT_EQ(proto.SerializeAsString(), value(row.proto).SerializeAsString()) << row.leaf;
  }
}

}  // namespace
}  // namespace ymap::telemetry::test
