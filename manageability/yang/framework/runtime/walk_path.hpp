/// \file
/// The walk path of a request, and the part of an output path that stands already.
#pragma once

#include <array>
#include <cstdint>

#include "path_table.hpp"
#include "record.hpp"
#include "tree_store.hpp"

namespace yfw {

/// The nodes from the top down to the one being walked, as the state record's node_data shows them.
/// node_data_count has 8 bits; nodes below that depth are only counted.
class WalkPath {
 public:
  static constexpr std::size_t kDepth = 255;

  void push(yfw_map_state &state, vidl_yfw_datatree *node, uint32_t kind) {
    if (depth_ == kDepth) {
      ++beyond_;
      return;
    }
    nodes_[depth_].node = node;
    entries_[depth_] = kind == YMAP_WALK_LIST_ENTRY;
    state.node_data_count = static_cast<uint8_t>(++depth_);
    state.parent_node = state.current_node;
    state.current_node = node;
  }

  /// Drops `node` and whatever was left on top of it; false when it is not on the path.
  bool pop(yfw_map_state &state, const vidl_yfw_datatree *node) {
    if (beyond_ > 0) {
      --beyond_;
      return true;
    }
    for (std::size_t depth = depth_; depth > 0; --depth) {
      if (nodes_[depth - 1].node != node) continue;
      depth_ = depth - 1;
      show(state);
      return true;
    }
    return false;
  }

  void clear(yfw_map_state &state) {
    depth_ = 0;
    beyond_ = 0;
    state.node_data = nodes_.data();
    show(state);
  }

  std::size_t depth() const { return depth_; }
  const vidl_yfw_datatree &node(std::size_t i) const { return *nodes_[i].node; }
  bool is_entry(std::size_t i) const { return entries_[i]; }

  /// The list entry last recorded, or nullptr.
  vidl_yfw_datatree *entry() const {
    for (std::size_t i = depth_; i > 0; --i) {
      if (is_entry(i - 1)) return nodes_[i - 1].node;
    }
    return nullptr;
  }

  void follow(const Grown &grown) {
    for (std::size_t i = 0; i < depth_; ++i) nodes_[i].node = grown.follow(nodes_[i].node);
  }

 private:
  void show(yfw_map_state &state) {
    state.node_data_count = static_cast<uint8_t>(depth_);
    state.current_node = depth_ > 0 ? nodes_[depth_ - 1].node : nullptr;
    state.parent_node = depth_ > 1 ? nodes_[depth_ - 2].node : nullptr;
  }

  // Not cleared for each request: only the first depth_ of them are read.
  std::array<yfw_map_node_data, kDepth> nodes_;
  std::array<bool, kDepth> entries_;
  std::size_t depth_ = 0;
  std::size_t beyond_ = 0;
};

/// Which steps of which paths are known to stand in the output tree, so that an add does not come down from
/// the root again. What is known of a step below a list holds for the list's current entry.
class PathMemo {
 public:
  explicit PathMemo(PathTable &paths) : paths_(paths) { forget(); }

  /// To be called before each look at `tree`: nothing is known of any other one. Of a request node nothing is
  /// kept, since the plug-in swaps its children while it walks.
  void look_at(const vidl_yfw_datatree &tree) {
    if (&tree == tree_) return;
    tree_ = &tree;
    keeps_ = store_of(tree) != nullptr;
    forget();
  }
  /// False when it is not known whether a record stands there; `step.node` is the record else.
  bool knows(const PathStep &step) const { return step.generation == generation_; }
  void note(PathStep &step, vidl_yfw_datatree *node) const {
    if (!keeps_) return;
    step.node = node;
    step.generation = generation_;
  }
  /// When records move.
  void forget() { generation_ = paths_.next_generation(); }
  /// When a list gets another current entry: what is known of the steps above its own stays.
  void forget_from(const PathStep &list) {
    const uint64_t before = generation_;
    forget();
    for (PathStep *step = list.above; step != nullptr; step = step->above) {
      if (step->generation == before) step->generation = generation_;
    }
  }
  /// When another tree may stand at the address of the last one.
  void restart() {
    tree_ = nullptr;
    forget();
  }

 private:
  PathTable &paths_;
  const vidl_yfw_datatree *tree_ = nullptr;
  bool keeps_ = false;
  uint64_t generation_ = 0;
};

}  // namespace yfw
