// From the data of a reading to notifications.
#include "leaves.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "changes.hpp"

namespace ymap::telemetry {
namespace {

/// The number in the leaf of that name; 0 if there is none.
int64_t number_in(const Data &siblings, std::string_view name) {
  const auto leaf = std::ranges::find(siblings, name, [](const DataNode &node) { return node.schema->name; });
  int64_t number = 0;
  if (leaf != siblings.end())
    std::from_chars(leaf->value.data(), leaf->value.data() + leaf->value.size(), number);
  return number;
}

constexpr std::string_view kInstant = "instant";

bool is_entry(const DataNode *node) {
  return node->schema->is_list();
}

/// How many nodes of the trail lead to the innermost list entry.
std::size_t entry_of(const Trail &trail) {
  const auto last = std::find_if(trail.rbegin(), trail.rend(), is_entry);
  return static_cast<std::size_t>(trail.rend() - last);
}

void add_elems(::gnmi::Path &path, const Trail &trail, std::size_t from, std::size_t to) {
  for (auto at = from; at < to; ++at) add_elem(path, *trail[at]->schema, key_or_nothing(*trail[at]));
}

}  // namespace

std::shared_ptr<const Reading> readable(const Schema &schema, const Rights &rights,
                                        std::shared_ptr<const Reading> reading) {
  if (rights.can_read_all_of(schema.module_name())) return reading;
  auto part = std::make_shared<Reading>(*reading);
  prune(schema, rights, part->data);
  return part;
}

/// Statistics are of intervals that follow each other without a gap, so that whatever stood out in one tells
/// which it was. By the device's clock: this machine's may be another.
ValueTimes::ValueTimes(const Data &siblings, int64_t reading) : reading_(reading), statistics_(reading) {
  const auto interval = number_in(siblings, "interval");
  const auto within = interval > 0 ? number_in(siblings, "min-time") : 0;
  if (within > 0) statistics_ = (within / interval + 1) * interval;
}

int64_t ValueTimes::of(const SchemaNode &leaf) const {
  return leaf.name == kInstant ? reading_ : statistics_;
}

LeafSet::LeafSet(const Schema &schema, std::shared_ptr<const Reading> reading, Part part,
                 const std::vector<const Pattern *> &patterns)
    : reading_(std::move(reading)) {
  for (const auto *pattern : patterns) {
    pattern->select(reading_->data, [&](const Trail &trail) {
      std::string path;
      for (const auto *node : trail) {
        path = step(path, schema.module_name(), node->schema->name);
        if (is_entry(node)) path = with_key(path, node->schema->children.front().name, key_of(*node));
      }
      auto own = trail;
      const bool has_siblings = trail.size() > 1;
      add(schema, own, path, part,
          has_siblings
              ? ValueTimes(trail[trail.size() - 2]->children, reading_->time).of(*trail.back()->schema)
              : reading_->time);
    });
  }
  for (std::size_t at = 0; at < leaves_.size(); ++at) index_.emplace(leaves_[at].path, at);
  // Where patterns overlap, leaves stand twice.
  if (index_.size() == leaves_.size()) return;
  std::vector<Leaf> once;
  for (std::size_t at = 0; at < leaves_.size(); ++at)
    if (index_.at(leaves_[at].path) == at) once.push_back(leaves_[at]);
  leaves_ = std::move(once);
  index_.clear();
  for (std::size_t at = 0; at < leaves_.size(); ++at) index_.emplace(leaves_[at].path, at);
}

void LeafSet::add(const Schema &schema, Trail &trail, const std::string &path, Part part, int64_t time) {
  const auto &node = *trail.back();
  if (node.schema->is_leaf()) {
    if (takes(part, *node.schema)) leaves_.push_back({path, trail, time});
    return;
  }
  const ValueTimes times(node.children, reading_->time);
  for (const auto &child : node.children) {
    auto below = step(path, schema.module_name(), child.schema->name);
    if (is_entry(&child)) below = with_key(below, child.schema->children.front().name, key_of(child));
    trail.push_back(&child);
    add(schema, trail, below, part, times.of(*child.schema));
    trail.pop_back();
  }
}

const Leaf *LeafSet::find(const std::string &path) const {
  const auto found = index_.find(path);
  return found == index_.end() ? nullptr : &leaves_[found->second];
}

::gnmi::Notification &NotificationWriter::notification(const Trail &trail, std::size_t entry, int64_t time) {
  const auto *node = entry == 0 ? nullptr : trail[entry - 1];
  for (std::size_t at = 0; at < notifications_.size(); ++at)
    if (entries_[at] == node && notifications_[at].timestamp() == time) return notifications_[at];
  auto &made = notifications_.emplace_back();
  entries_.push_back(node);
  made.set_timestamp(time);
  auto &prefix = *made.mutable_prefix();
  prefix.set_target(echo_.target);
  prefix.set_origin(echo_.origin);
  add_elems(prefix, trail, 0, entry);
  return made;
}

void NotificationWriter::update(const Leaf &leaf) {
  const auto entry = entry_of(leaf.trail);
  auto &update = *notification(leaf.trail, entry, leaf.time).add_update();
  add_elems(*update.mutable_path(), leaf.trail, entry, leaf.trail.size());
  write_value(schema_, *leaf.trail.back(), Part::all, encoding_, *update.mutable_val());
}

void NotificationWriter::remove(const Leaf &leaf, int64_t time) {
  const auto entry = entry_of(leaf.trail);
  add_elems(*notification(leaf.trail, entry, time).add_delete_(), leaf.trail, entry, leaf.trail.size());
}

}  // namespace ymap::telemetry
