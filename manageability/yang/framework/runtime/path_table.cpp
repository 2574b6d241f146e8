// Takes paths apart and keeps the constant ones.
#include "path_table.hpp"

#include <algorithm>
#include <cstring>

namespace yfw {
namespace {

constexpr std::size_t kFirstSlots = 512;

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

PathTable::PathTable(const void *begin, const void *end) : begin_(begin), end_(end), slots_(kFirstSlots) {}

const Path &PathTable::add(const char *path) {
  if (2 * (paths_.size() + 1) > slots_.size()) grow();
  auto added = std::make_unique<Path>();
  added->source = path;
  added->lasting = true;
  std::string parent;
  for_each_component(path, [&](std::string_view name) {
    if (!added->names.empty()) parent.append(added->names.back().text) += '/';
    added->names.push_back(intern(name));
  });
  added->parent = intern(parent).text;
  name_node(*added);
  std::size_t at = place_of(path);
  while (slots_[at] != nullptr) at = (at + 1) & (slots_.size() - 1);
  slots_[at] = added.get();
  paths_.push_back(std::move(added));
  return *paths_.back();
}

const Path &PathTable::take_apart(const char *path) {
  other_.names.clear();
  other_text_.clear();
  other_text_.reserve(std::char_traits<char>::length(path) + 1);  // the names point into it
  for_each_component(path, [&](std::string_view name) {
    const std::size_t at = other_text_.size();
    other_text_.append(name) += '\0';
    other_.names.push_back({other_text_.data() + at, 0});
  });
  name_node(other_);
  return other_;
}

void PathTable::name_node(Path &path) {
  path.node_name = path.names.empty() ? "" : path.names.back().text;
  if (const char *colon = std::strrchr(path.node_name, ':')) path.node_name = colon + 1;
}

const char *PathTable::add_namespace(const char *ns) {
  if (!is_constant(ns) || namespaces_.size() == kNamespaces) return nullptr;
  namespaces_.push_back({ns, intern(ns).text});
  return namespaces_.back().text;
}

PathName PathTable::intern(std::string_view text) {
  // Names that come one after the other are mostly siblings, and get bits of their own.
  const uint64_t bit = uint64_t{1} << (texts_.size() % 64);
  const auto &known = *texts_.emplace(text, bit).first;
  return {known.first.c_str(), known.second};
}

void PathTable::grow() {
  slots_.assign(2 * slots_.size(), nullptr);
  for (const auto &path : paths_) {
    std::size_t at = place_of(path->source);
    while (slots_[at] != nullptr) at = (at + 1) & (slots_.size() - 1);
    slots_[at] = path.get();
  }
}

}  // namespace yfw
