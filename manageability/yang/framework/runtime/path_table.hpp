/// \file
/// The paths that a plug-in adds, taken apart once.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "ymap_types.h"

namespace yfw {

class PathTable;

/// One name of a path, below the names above it. Paths that begin alike share their first steps.
struct PathStep {
  const char *text;                  ///< terminated
  PathStep *above = nullptr;         ///< nullptr for the first name of a path
  const PathTable *table = nullptr;  ///< whose text it is; nullptr when it holds until the next find()
  uint64_t bit = 0;    ///< one of 64, for a first look at the steps below one step; 0 when it has none
  uint32_t below = 0;  ///< how many steps stand below it
  vidl_yfw_datatree *node = nullptr;  ///< what PathMemo knows to stand there
  uint64_t generation = 0;            ///< of what it knows
};

/// A path by its steps, from the top down.
struct Path {
  const char *source = nullptr;  ///< the text that it was made of
  std::vector<PathStep *> steps;
  PathStep *last = nullptr;    ///< nullptr for a path without names
  const char *node_name = "";  ///< its name without a prefix: "/a1:ports/a1:port" ends in "port"
};

/// Recognises a path by its address where it is a constant of the plug-in, which cannot change. Other paths
/// are taken apart each time. Records share the table's texts, and a tree with such records keeps the table.
/// For one thread at a time, as the plug-in itself.
class PathTable {
 public:
  /// `begin` to `end`: the plug-in's constant data; empty when it is not known.
  PathTable(const void *begin, const void *end);
  PathTable(const PathTable &) = delete;
  PathTable &operator=(const PathTable &) = delete;

  /// Empty components do not count. A path that is no constant holds until the next call.
  const Path &find(const char *path) {
    const Slot &first = slots_[place_of(path)];
    return first.source == path ? *first.path : find_further(path);
  }

  bool is_constant(const void *text) const { return text >= begin_ && text < end_; }

  /// A number that no step's node was noted with yet; never 0.
  uint64_t next_generation() { return ++generation_; }

  /// The table's copy of a namespace that is a constant; nullptr for others, and beyond the first few.
  const char *find_namespace(const char *ns) {
    for (const Namespace &known : namespaces_) {
      if (known.source == ns) return known.text;
    }
    return add_namespace(ns);
  }

 private:
  struct Slot {
    const char *source;
    const Path *path;
  };
  struct Namespace {
    const char *source;
    const char *text;
  };
  static constexpr std::size_t kNamespaces = 16;

  std::size_t place_of(const char *path) const {
    constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15;
    return (reinterpret_cast<std::uintptr_t>(path) * kSpread >> 40) & last_slot_;
  }
  const Path &find_further(const char *path);
  const Path &add(const char *path);
  void place(const Path &path);
  static void finish(Path &path);
  const Path &take_apart(const char *path);
  const char *add_namespace(const char *ns);
  const char *intern(std::string_view text);
  PathStep &reach(PathStep *above, std::string_view name);
  void grow();

  const void *begin_, *end_;
  std::unique_ptr<Slot[]> slots_;  ///< a power of two, never full
  std::size_t last_slot_;
  std::vector<std::unique_ptr<Path>> paths_;
  std::vector<Namespace> namespaces_;
  std::unordered_set<std::string> texts_;
  std::map<std::pair<const PathStep *, const char *>, PathStep> steps_;
  uint32_t first_steps_ = 0;
  uint64_t generation_ = 0;
  Path other_;  ///< the path last taken apart
  std::vector<PathStep> other_steps_;
  std::string other_text_;  ///< its names
};

}  // namespace yfw
