/// \file
/// The paths that a plug-in adds, taken apart once.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace yfw {

/// A component of a path, a terminated text. Names of the table are alike exactly when their addresses are.
struct PathName {
  const char *text;
  uint64_t bit;  ///< one of 64, for a first look at a set of names; 0 when the name is not the table's
};

/// A path by its components.
struct Path {
  const char *source = nullptr;  ///< the text that it was made of
  std::vector<PathName> names;
  const char *node_name = "";  ///< the last one without a prefix: "/a1:ports/a1:port" ends in "port"
  const char *parent =
      nullptr;           ///< of lasting paths: one address for all that differ in their last name only
  bool lasting = false;  ///< the texts are the table's; else they hold until the next find()
};

/// Recognises a path by its address where it is a constant of the plug-in, which cannot change. Other paths
/// are taken apart each time. Records share the table's texts, and a tree with such records keeps the table.
class PathTable {
 public:
  /// `begin` to `end`: the plug-in's constant data; empty when it is not known.
  PathTable(const void *begin, const void *end);
  PathTable(const PathTable &) = delete;
  PathTable &operator=(const PathTable &) = delete;

  /// Empty components do not count; a path without components has no names.
  const Path &find(const char *path) {
    for (std::size_t at = place_of(path); slots_[at] != nullptr; at = (at + 1) & (slots_.size() - 1)) {
      if (slots_[at]->source == path) return *slots_[at];
    }
    return is_constant(path) ? add(path) : take_apart(path);
  }

  bool is_constant(const void *text) const { return text >= begin_ && text < end_; }

  /// The table's copy of a namespace that is a constant; nullptr for others, and beyond the first few.
  const char *find_namespace(const char *ns) {
    for (const Namespace &known : namespaces_) {
      if (known.source == ns) return known.text;
    }
    return add_namespace(ns);
  }

 private:
  struct Namespace {
    const char *source;
    const char *text;
  };
  static constexpr std::size_t kNamespaces = 16;

  std::size_t place_of(const char *path) const {
    constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15;
    return (reinterpret_cast<std::uintptr_t>(path) * kSpread >> 40) & (slots_.size() - 1);
  }
  const Path &add(const char *path);
  static void name_node(Path &path);
  const Path &take_apart(const char *path);
  const char *add_namespace(const char *ns);
  PathName intern(std::string_view text);
  void grow();

  const void *begin_, *end_;
  std::vector<Path *> slots_;  ///< a power of two, never full
  std::vector<std::unique_ptr<Path>> paths_;
  std::vector<Namespace> namespaces_;
  std::unordered_map<std::string, uint64_t> texts_;  ///< with their bits
  Path other_;                                       ///< the path last taken apart
  std::string other_text_;                           ///< its names
};

}  // namespace yfw
