// Data as metric families.
#include "openmetrics.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>
#include <vector>

#include "printable.hpp"

namespace ymap {
namespace {

using Labels = std::vector<std::pair<std::string_view, std::string>>;

struct Family {
  std::string_view name, unit, help;
  std::string_view node;  ///< a leaf, or a container of statistics, below config or state
};
constexpr std::array<Family, 5> kFamilies = {{
    {"ymap_amplifier_gain_db", "db", "Gain that the amplifier measures.", "actual-gain"},
    {"ymap_amplifier_gain_tilt_db", "db", "Gain tilt that the amplifier measures.", "actual-gain-tilt"},
    {"ymap_amplifier_target_gain_db", "db", "Gain that the amplifier is set to.", "target-gain"},
    {"ymap_amplifier_target_gain_tilt_db", "db", "Gain tilt that the amplifier is set to.",
     "target-gain-tilt"},
    {"ymap_amplifier_enabled", "", "1 where the amplifier is switched on, 0 where it is not.", "enabled"},
}};
constexpr Family kInfo = {"ymap_amplifier_info", "",
                          "What the amplifier is set up as, and the model that tells it.", "gain-range"};
constexpr std::array<std::string_view, 4> kStatistics = {"instant", "avg", "min", "max"};

/// In quotation marks.
std::string label_value(std::string_view text) {
  std::string value = "\"";
  for (const char character : printable(text)) {
    if (character == '\\' || character == '"') value += '\\';
    if (character == '\n')
      value += "\\n";
    else
      value += character;
  }
  return value + "\"";
}

void add_sample(std::string &text, std::string_view name, const Labels &labels, std::string_view value) {
  text.append(name).append("{");
  for (const auto &[label, content] : labels)
    text.append(label == labels.front().first ? "" : ",")
        .append(label)
        .append("=")
        .append(label_value(content));
  text.append("} ").append(value).append("\n");
}

/// What the family calls its head stands above samples only.
void add_family(std::string &text, const Family &family, const std::string &samples) {
  if (samples.empty()) return;
  text.append("# HELP ").append(family.name).append(" ").append(family.help).append("\n");
  text.append("# TYPE ").append(family.name).append(" gauge\n");
  if (!family.unit.empty())
    text.append("# UNIT ").append(family.name).append(" ").append(family.unit).append("\n");
  text += samples;
}

const DataNode *child(const DataNode &parent, std::string_view name) {
  const auto at =
      std::ranges::find_if(parent.children, [&](const DataNode &node) { return node.schema->name == name; });
  return at == parent.children.end() ? nullptr : &*at;
}

/// As it is reported, or else as it is set; nullptr if it is neither.
const DataNode *find(const DataNode &amplifier, std::string_view name) {
  for (const auto *part : {"state", "config"})
    if (const auto *container = child(amplifier, part))
      if (const auto *found = child(*container, name)) return found;
  return nullptr;
}

/// The name of an amplifier, which is its key.
std::string name_of(const DataNode &amplifier) {
  return amplifier.children.empty() ? std::string() : amplifier.children.front().value;
}

std::string samples_of(const Family &family, const DataNode &amplifier) {
  std::string text;
  const auto *node = find(amplifier, family.node);
  if (node == nullptr) return text;
  const std::pair<std::string_view, std::string> whose("amplifier", name_of(amplifier));
  if (node->schema->type == SchemaNode::Type::boolean) {
    add_sample(text, family.name, {whose}, node->value == "true" ? "1" : "0");
  } else if (node->schema->is_leaf()) {
    add_sample(text, family.name, {whose}, node->value);
  } else {
    for (const auto statistic : kStatistics)
      if (const auto *leaf = child(*node, statistic))
        add_sample(text, family.name, {whose, {"statistic", std::string(statistic)}}, leaf->value);
  }
  return text;
}

std::string info_of(const Schema &schema, const DataNode &amplifier) {
  std::string text;
  Labels labels = {{"amplifier", name_of(amplifier)}};
  // Identities have the name of their module in front.
  if (const auto *range = find(amplifier, kInfo.node))
    labels.emplace_back("gain_range", range->value.substr(range->value.find(':') + 1));
  labels.emplace_back("model_revision", std::string(schema.revision()));
  add_sample(text, kInfo.name, labels, "1");
  return text;
}

void collect_entries(const Data &siblings, std::vector<const DataNode *> &entries) {
  for (const auto &node : siblings) {
    if (node.schema->is_list())
      entries.push_back(&node);
    else
      collect_entries(node.children, entries);
  }
}

}  // namespace

std::string openmetrics(const Schema &schema, const Data &data) {
  std::vector<const DataNode *> amplifiers;
  collect_entries(data, amplifiers);
  std::string text;
  for (const auto &family : kFamilies) {
    std::string samples;
    for (const auto *amplifier : amplifiers) samples += samples_of(family, *amplifier);
    add_family(text, family, samples);
  }
  std::string samples;
  for (const auto *amplifier : amplifiers) samples += info_of(schema, *amplifier);
  add_family(text, kInfo, samples);
  return text + "# EOF\n";
}

}  // namespace ymap
