// The mapping as JSON.
#include "json.hpp"
#include "mapping.hpp"
#include "native_text.hpp"

namespace ymap {
namespace {

std::string json_texts(const std::vector<std::string> &list) {
  return json_list(list, quoted);
}

std::string json_conversion(const Conversion &conversion) {
  switch (conversion.kind) {
    case Conversion::Kind::copy:
      return R"({"kind": "copy"})";
    case Conversion::Kind::constant:
      return R"({"kind": "constant", "openconfig": )" + quoted(conversion.constant) + "}";
    case Conversion::Kind::factor:
      return R"({"kind": "factor", "factor": )" + plain_number(conversion.factor) +
             (conversion.cut ? R"(, "cut": true})" : "}");
    case Conversion::Kind::words:
      return R"({"kind": "words", "pairs": )" +
             json_list(conversion.pairs,
                       [](const ValuePair &pair) {
                         return R"({"openconfig": )" + quoted(pair.openconfig) + R"(, "native": )" +
                                quoted(pair.native) + "}";
                       }) +
             (conversion.otherwise.empty() ? "" : R"(, "otherwise": )" + quoted(conversion.otherwise)) + "}";
    case Conversion::Kind::unknown:
      break;
  }
  return R"({"kind": "unknown"})";
}

std::string json_leaf(const MappedLeaf &leaf) {
  std::vector<std::string> directions;
  if (leaf.key) directions.emplace_back("key");
  if (leaf.read) directions.emplace_back("read");
  if (leaf.write) directions.emplace_back("write");
  if (leaf.fill) directions.emplace_back("fill");
  std::string json =
      R"({"openconfig": )" + quoted(leaf.leaf) + R"(, "directions": )" + json_texts(directions);
  json += R"(, "native": )" + json_list(leaf.natives, [](const NativeLeaf &native) {
            return R"({"amplifiers": )" + json_texts(native.amplifiers) + R"(, "module": )" +
                   quoted(native.module) + R"(, "path": )" + quoted(native.path) + "}";
          });
  json += R"(, "conversion": )" + json_conversion(leaf.conversion);
  if (!leaf.units.empty()) json += R"(, "units": )" + quoted(leaf.units);
  if (leaf.range) json += R"(, "range": [)" + leaf.range->lowest + ", " + leaf.range->highest + "]";
  if (!leaf.unmapped_words.empty()) json += R"(, "without-native-value": )" + json_texts(leaf.unmapped_words);
  return json + "}";
}

}  // namespace

std::string mapping_json(const Mapping &mapping) {
  std::string json = "{\n  \"mapped\": [\n";
  for (const auto &leaf : mapping.mapped)
    json += "    " + json_leaf(leaf) + (&leaf == &mapping.mapped.back() ? "\n" : ",\n");
  json += "  ],\n  \"unmapped\": [\n";
  for (const auto &leaf : mapping.unmapped)
    json += R"(    {"openconfig": )" + quoted(leaf.path) + R"(, "handler": )" + quoted(leaf.handler) +
            (leaf.refusal.empty() ? "" : R"(, "edit": )" + quoted(leaf.refusal)) +
            (&leaf == &mapping.unmapped.back() ? "}\n" : "},\n");
  return json + "  ]\n}\n";
}

}  // namespace ymap
