// TypedValue from leaves and to them.
#include "value.hpp"

#include <google/protobuf/util/json_util.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <span>
#include <string_view>

#include "data_parser.hpp"
#include "data_writer.hpp"
#include "json.hpp"
#include "printable.hpp"
#include "refusal.hpp"

namespace ymap::telemetry {
namespace {

using Type = SchemaNode::Type;

std::string qualified(const Schema &schema, std::string_view name) {
  return std::string(schema.module_name()).append(":").append(name);
}

/// Identities have their module in front, but in plain JSON.
std::string text_of(const Schema &schema, const DataNode &leaf, Encoding encoding) {
  const bool is_qualified = leaf.schema->type == Type::identity && encoding != Encoding::json;
  const auto value = canonical_value(leaf);
  return is_qualified ? qualified(schema, value) : std::string(value);
}

class JsonWriter {
 public:
  JsonWriter(const Schema &schema, Part part, Encoding encoding)
      : schema_(schema), part_(part), encoding_(encoding) {}

  /// RFC 7951 has numbers of 64 bits and decimals as strings (section 6.1).
  void leaf(const DataNode &leaf) {
    const auto type = leaf.schema->type;
    const bool is_number = type == Type::decimal || type == Type::unsigned_integer;
    if (type == Type::boolean || (is_number && encoding_ == Encoding::json))
      json_ += canonical_value(leaf);
    else if (type == Type::identity)
      append_quoted(json_, text_of(schema_, leaf, encoding_));
    else
      append_quoted(json_, canonical_value(leaf));
  }

  /// False, and nothing written, if the part takes none of the siblings; keys alone are none.
  bool object(const Data &siblings, bool is_top) {
    const auto start = json_.size();
    bool holds = false;
    json_ += '{';
    for (auto node = siblings.begin(); node != siblings.end();) {
      const auto &kind = *node->schema;
      // Entries of a list stand side by side in the data, and in JSON in one array.
      const auto end = kind.is_list()
                           ? std::find_if(node, siblings.end(),
                                          [&](const DataNode &other) { return other.schema != &kind; })
                           : node + 1;
      if (member({node, end}, is_top)) holds = holds || !kind.is_key;
      node = end;
    }
    json_ += '}';
    if (!holds) json_.resize(start);
    return holds;
  }

  std::string take() { return std::move(json_); }

 private:
  bool member(std::span<const DataNode> nodes, bool is_top) {
    const auto &kind = *nodes.front().schema;
    if (kind.is_leaf() && !kind.is_key && !takes(part_, kind)) return false;
    const auto start = json_.size();
    separate();
    json_ += '"';
    if (is_top && encoding_ == Encoding::json_ietf) json_.append(schema_.module_name()).append(1, ':');
    json_.append(kind.name).append("\":");
    bool holds = true;
    if (kind.is_leaf())
      leaf(nodes.front());
    else
      holds = kind.is_list() ? array(nodes) : object(nodes.front().children, false);
    if (!holds) json_.resize(start);
    return holds;
  }

  bool array(std::span<const DataNode> entries) {
    json_ += '[';
    bool holds = false;
    for (const auto &entry : entries) {
      const auto start = json_.size();
      separate();
      if (object(entry.children, false))
        holds = true;
      else
        json_.resize(start);
    }
    json_ += ']';
    return holds;
  }

  void separate() {
    if (json_.back() != '{' && json_.back() != '[') json_ += ',';
  }

  const Schema &schema_;
  Part part_;
  Encoding encoding_;
  std::string json_;
};

/// With as many digits behind the point as the leaf has; beyond what any leaf takes the text is one that none
/// takes.
std::string rounded(double number, int fraction_digits) {
  std::array<char, 400> text{};
  const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), number,
                                          std::chars_format::fixed, fraction_digits);
  std::string made(text.data(), error == std::errc() ? end : text.data());
  const bool is_zero = made.find_first_of("123456789") == std::string::npos;
  return is_zero && made.starts_with('-') ? made.substr(1) : made;
}

std::string number_text(const Schema &schema, const SchemaNode &leaf, double number,
                        const std::string &path) {
  if (!std::isfinite(number))
    refuse_value("leaf " + std::string(leaf.name) + " takes finite numbers only", path);
  const bool is_whole = std::nearbyint(number) == number;
  if (leaf.type != Type::decimal && !(leaf.type == Type::unsigned_integer && is_whole))
    refuse_value(
        "leaf " + std::string(leaf.name) + " does not take the number " + rounded(number, is_whole ? 0 : 6),
        path);
  return checked_value(schema, &leaf, rounded(number, leaf.fraction_digits), path);
}

std::string bool_text(const SchemaNode &leaf, bool value, const std::string &path) {
  if (leaf.type != Type::boolean)
    refuse_value("leaf " + std::string(leaf.name) + " does not take a boolean", path);
  return value ? "true" : "false";
}

/// Whole numbers are exact, also beyond what a double tells.
std::string whole_text(const Schema &schema, const SchemaNode &leaf, const std::string &digits,
                       const std::string &path) {
  if (leaf.type != Type::decimal && leaf.type != Type::unsigned_integer)
    refuse_value("leaf " + std::string(leaf.name) + " does not take the number " + digits, path);
  return checked_value(schema, &leaf, digits, path);
}

std::string decimal_text(const Schema &schema, const SchemaNode &leaf, const ::gnmi::Decimal64 &decimal,
                         const std::string &path) {
  constexpr uint32_t most_digits = 18;  // of a decimal64
  if (decimal.precision() > most_digits)
    refuse_value("a decimal has at most 18 digits behind the point, and this one " +
                     std::to_string(decimal.precision()),
                 path);
  int64_t digits = decimal.digits();
  auto precision = decimal.precision();
  int64_t last = 0;  // of those that were cut
  for (; precision > leaf.fraction_digits; --precision) {
    last = digits % 10;
    digits /= 10;
  }
  if (last >= 5 && digits < std::numeric_limits<int64_t>::max()) ++digits;
  if (last <= -5 && digits > std::numeric_limits<int64_t>::min()) --digits;
  auto text = std::to_string(digits);
  const std::size_t sign = digits < 0 ? 1 : 0;
  if (text.size() - sign <= precision) text.insert(sign, precision + 1 - (text.size() - sign), '0');
  if (precision > 0) text.insert(text.size() - precision, ".");
  return whole_text(schema, leaf, text, path);
}

}  // namespace

Encoding supported(::gnmi::Encoding encoding) {
  switch (encoding) {
    case ::gnmi::JSON:
      return Encoding::json;
    case ::gnmi::JSON_IETF:
      return Encoding::json_ietf;
    case ::gnmi::PROTO:
      return Encoding::proto;
    default:
      break;
  }
  const auto &name = ::gnmi::Encoding_Name(encoding);
  refuse("operation-not-supported", "encoding " + (name.empty() ? std::to_string(encoding) : name) +
                                        " is not supported; there are JSON, JSON_IETF and PROTO");
}

bool write_value(const Schema &schema, const DataNode &node, Part part, Encoding encoding,
                 ::gnmi::TypedValue &value) {
  if (node.schema->is_leaf() && !takes(part, *node.schema)) return false;
  if (encoding != Encoding::proto) {
    JsonWriter json(schema, part, encoding);
    if (node.schema->is_leaf())
      json.leaf(node);
    else if (!json.object(node.children, true))
      return false;
    encoding == Encoding::json ? value.set_json_val(json.take()) : value.set_json_ietf_val(json.take());
    return true;
  }
  switch (node.schema->type) {
    case Type::boolean:
      value.set_bool_val(node.value == "true");
      break;
    case Type::decimal:
      value.set_double_val(std::strtod(node.value.c_str(), nullptr));
      break;
    case Type::unsigned_integer:
      value.set_uint_val(std::strtoull(node.value.c_str(), nullptr, 10));
      break;
    default:
      value.set_string_val(text_of(schema, node, encoding));
  }
  return true;
}

std::optional<google::protobuf::Value> json_in(const ::gnmi::TypedValue &value, const std::string &path) {
  const bool is_ietf = value.has_json_ietf_val();
  if (!is_ietf && !value.has_json_val()) return std::nullopt;
  google::protobuf::Value json;
  const auto status =
      google::protobuf::util::JsonStringToMessage(is_ietf ? value.json_ietf_val() : value.json_val(), &json);
  if (!status.ok()) refuse_value("the value is no JSON: " + shortened(status.ToString()), path);
  return json;
}

std::string leaf_value(const Schema &schema, const SchemaNode &leaf, const google::protobuf::Value &value,
                       const std::string &path) {
  using Json = google::protobuf::Value;
  switch (value.kind_case()) {
    case Json::kNumberValue:
      return number_text(schema, leaf, value.number_value(), path);
    case Json::kBoolValue:
      return bool_text(leaf, value.bool_value(), path);
    case Json::kStringValue:
      return checked_value(schema, &leaf, value.string_value(), path);
    default:
      refuse_value("leaf " + std::string(leaf.name) + " takes one value, no object, array or null", path);
  }
}

std::string leaf_value(const Schema &schema, const SchemaNode &leaf, const ::gnmi::TypedValue &value,
                       const std::string &path) {
  using Value = ::gnmi::TypedValue;
  if (const auto json = json_in(value, path)) return leaf_value(schema, leaf, *json, path);
  switch (value.value_case()) {
    case Value::kStringVal:
      return checked_value(schema, &leaf, value.string_val(), path);
    case Value::kAsciiVal:
      return checked_value(schema, &leaf, value.ascii_val(), path);
    case Value::kIntVal:
      return whole_text(schema, leaf, std::to_string(value.int_val()), path);
    case Value::kUintVal:
      return whole_text(schema, leaf, std::to_string(value.uint_val()), path);
    case Value::kBoolVal:
      return bool_text(leaf, value.bool_val(), path);
    case Value::kFloatVal:
      return number_text(schema, leaf, static_cast<double>(value.float_val()), path);
    case Value::kDoubleVal:
      return number_text(schema, leaf, value.double_val(), path);
    case Value::kDecimalVal:
      return decimal_text(schema, leaf, value.decimal_val(), path);
    case Value::VALUE_NOT_SET:
      refuse_value("the value is missing", path);
    default:
      refuse_value("leaf " + std::string(leaf.name) +
                       " takes JSON or a scalar: no bytes, leaf-list, Any or protobuf message",
                   path);
  }
}

}  // namespace ymap::telemetry
