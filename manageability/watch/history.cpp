// From OpenConfig data to readings.
#include "history.hpp"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace ymap::watch {
namespace {

/// Below the amplifier's state.
struct Nodes {
  std::string_view statistic, target;
};
constexpr std::array<Nodes, kQuantities.size()> kNodes = {
    {{"actual-gain", "target-gain"}, {"actual-gain-tilt", "target-gain-tilt"}}};

const DataNode *child(const DataNode *parent, std::string_view name) {
  if (parent == nullptr) return nullptr;
  const auto at =
      std::ranges::find_if(parent->children, [&](const DataNode &node) { return node.schema->name == name; });
  return at == parent->children.end() ? nullptr : &*at;
}

std::optional<double> number(const DataNode *leaf) {
  double value = 0;
  if (leaf == nullptr) return std::nullopt;
  const auto *end = leaf->value.data() + leaf->value.size();
  const auto [stop, error] = std::from_chars(leaf->value.data(), end, value);
  return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

Reading reading_of(const DataNode &amplifier, double time) {
  Reading reading{.time = time, .values = {}, .enabled = {}};
  const auto *state = child(&amplifier, "state");
  for (const auto quantity : kQuantities) {
    const auto &nodes = kNodes[static_cast<std::size_t>(quantity)];
    const auto *statistic = child(state, nodes.statistic);
    reading.values[static_cast<std::size_t>(quantity)] = {
        .instant = number(child(statistic, "instant")),
        .average = number(child(statistic, "avg")),
        .least = number(child(statistic, "min")),
        .most = number(child(statistic, "max")),
        .target = number(child(state, nodes.target)),
    };
  }
  if (const auto *enabled = child(state, "enabled")) reading.enabled = enabled->value == "true";
  return reading;
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

void Amplifiers::add(double time, const Data &data) {
  for (auto &history : histories_) {
    if (history.readings.size() == most_) history.readings.pop_front();
    history.readings.push_back({.time = time, .values = {}, .enabled = {}});
  }
  std::vector<const DataNode *> entries;
  collect_entries(data, entries);
  for (const auto *entry : entries) {
    if (entry->children.empty()) continue;
    const auto &name = entry->children.front().value;
    const auto reading = reading_of(*entry, time);
    const auto known = std::ranges::find(histories_, name, &History::name);
    if (known == histories_.end())
      histories_.push_back({name, {reading}});
    else
      known->readings.back() = reading;
  }
}

}  // namespace ymap::watch
