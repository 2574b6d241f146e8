/// \file
/// The walk path of a request, and the part of an output path that stands already.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "path_table.hpp"
#include "record.hpp"

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
    ++depth_;
    show(state);
  }

  /// Drops `node` and whatever was left on top of it; false when it is not on the path.
  bool pop(yfw_map_state &state, const vidl_yfw_datatree *node) {
    if (beyond_ > 0) {
      --beyond_;
      return true;
    }
    for (std::size_t i = depth_; i > 0; --i) {
      if (nodes_[i - 1].node != node) continue;
      depth_ = i - 1;
      show(state);
      return true;
    }
    return false;
  }

  void clear(yfw_map_state &state) {
    depth_ = 0;
    beyond_ = 0;
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
    state.node_data = nodes_.data();
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

/// The records above the path added last, so that the next one starts where the two part. A list entry is
/// never known longer than it is the current one: another is selected by adding the list's own path.
class PathCache {
 public:
  /// The record above the last name of `path` where the path before had the same; else nullptr.
  vidl_yfw_datatree *parent(const vidl_yfw_datatree *tree, const Path &path) const {
    return tree == tree_ && path.lasting && depth_ != 0 && path.parent == path_->parent &&
                   depth_ + 1 == path.names.size()
               ? nodes_[depth_ - 1]
               : nullptr;
  }
  /// How many of the names above the last one of `path` are known to stand in `tree`.
  std::size_t start(const vidl_yfw_datatree *tree, const Path &path) {
    if (tree != tree_ || !path.lasting) depth_ = 0;
    if (depth_ != 0 && path.parent != path_->parent) {
      std::size_t common = 0;
      const std::size_t most = std::min(depth_, path.names.size() - 1);
      while (common < most && path.names[common].text == path_->names[common].text) ++common;
      depth_ = common;
    }
    tree_ = tree;
    path_ = &path;
    return depth_;
  }

  /// The record of the name before `depth`.
  vidl_yfw_datatree *above(std::size_t depth) const { return nodes_[depth - 1]; }

  /// `node` stands at the first `depth` names of the path that was started last.
  void step(std::size_t depth, vidl_yfw_datatree *node) {
    if (!path_->lasting || depth != depth_ + 1 || depth > nodes_.size()) return;
    nodes_[depth - 1] = node;
    depth_ = depth;
  }

  void forget() { depth_ = 0; }
  void follow(const Grown &grown) {
    for (std::size_t i = 0; i < depth_; ++i) nodes_[i] = grown.follow(nodes_[i]);
  }

 private:
  const vidl_yfw_datatree *tree_ = nullptr;
  const Path *path_ = nullptr;
  std::array<vidl_yfw_datatree *, 16> nodes_;
  std::size_t depth_ = 0;
};

}  // namespace yfw
