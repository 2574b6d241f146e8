// Takes paths apart and keeps the constant ones.
#include "path_table.hpp"

#include <algorithm>
#include <cstring>

namespace yfw {
namespace {

constexpr std::size_t kFirstSlots = 1024;
constexpr std::size_t kCommonDepth = 16;  ///< of a path, or more than it has

/// Calls `use` for each component that is not empty.
template <typename Use>
void for_each_component(std::string_view path, Use use) {
  while (!path.empty()) {
    const std::size_t end = std::min(path.find('/'), path.size());
    if (end != 0) use(path.substr(0, end));
    path.remove_prefix(std::min(end + 1, path.size()));
  }
}

}  // namespace

PathTable::PathTable(const void *begin, const void *end)
    : begin_(begin), end_(end), slots_(std::make_unique<Slot[]>(kFirstSlots)), last_slot_(kFirstSlots - 1) {}

const Path &PathTable::find_further(const char *path) {
  for (std::size_t at = place_of(path); slots_[at].source != nullptr; at = (at + 1) & last_slot_) {
    if (slots_[at].source == path) return *slots_[at].path;
  }
  return is_constant(path) ? add(path) : take_apart(path);
}

const Path &PathTable::add(const char *path) {
  if (2 * (paths_.size() + 1) > last_slot_) grow();
  auto added = std::make_unique<Path>();
  added->source = path;
  added->steps.reserve(kCommonDepth);
  // Most begin as the one before did.
  const Path *before = paths_.empty() ? nullptr : paths_.back().get();
  PathStep *above = nullptr;
  for_each_component(path, [&](std::string_view name) {
    const std::size_t depth = added->steps.size();
    if (before != nullptr && (depth >= before->steps.size() || before->steps[depth]->text != name))
      before = nullptr;
    above = before != nullptr ? before->steps[depth] : &reach(above, name);
    added->steps.push_back(above);
  });
  finish(*added);
  place(*added);
  paths_.push_back(std::move(added));
  return *paths_.back();
}

const Path &PathTable::take_apart(const char *path) {
  other_.steps.clear();
  other_steps_.clear();
  other_text_.clear();
  other_text_.reserve(std::char_traits<char>::length(path) + 1);  // the names point into it
  for_each_component(path, [&](std::string_view name) {
    const std::size_t at = other_text_.size();
    other_text_.append(name) += '\0';
    other_steps_.push_back({other_text_.data() + at});
  });
  for (PathStep &step : other_steps_) {
    step.above = other_.steps.empty() ? nullptr : other_.steps.back();
    other_.steps.push_back(&step);
  }
  finish(other_);
  return other_;
}

void PathTable::finish(Path &path) {
  path.last = path.steps.empty() ? nullptr : path.steps.back();
  path.node_name = path.last == nullptr ? "" : path.last->text;
  if (const char *colon = std::strrchr(path.node_name, ':')) path.node_name = colon + 1;
}

const char *PathTable::add_namespace(const char *ns) {
  if (!is_constant(ns) || namespaces_.size() == kNamespaces) return nullptr;
  namespaces_.push_back({ns, intern(ns)});
  return namespaces_.back().text;
}

const char *PathTable::intern(std::string_view text) {
  return texts_.emplace(text).first->c_str();
}

PathStep &PathTable::reach(PathStep *above, std::string_view name) {
  const char *text = intern(name);
  const auto [found, added] = steps_.try_emplace({above, text}, PathStep{text, above, this});
  PathStep &step = found->second;
  uint32_t &siblings = above == nullptr ? first_steps_ : above->below;
  if (added) step.bit = uint64_t{1} << (siblings++ % 64);
  return step;
}

void PathTable::grow() {
  last_slot_ = 2 * last_slot_ + 1;
  slots_ = std::make_unique<Slot[]>(last_slot_ + 1);
  for (const auto &path : paths_) place(*path);
}

void PathTable::place(const Path &path) {
  std::size_t at = place_of(path.source);
  while (slots_[at].source != nullptr) at = (at + 1) & last_slot_;
  slots_[at] = {path.source, &path};
}

}  // namespace yfw
