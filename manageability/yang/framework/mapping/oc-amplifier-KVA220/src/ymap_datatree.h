/// \file
/// Accessors of the data tree node: plain reads and writes, without checks. The caller tests the node.
#ifndef YMAP_DATATREE_H
#define YMAP_DATATREE_H

#include "ymap_types.h"

// Presence bits: bit i of a record's presence bytes says that its field i is set.
inline constexpr uint8_t YMAP_HAS_TAG = 1U << 0;        // presence1
inline constexpr uint8_t YMAP_HAS_DATA = 1U << 1;       // presence1
inline constexpr uint8_t YMAP_HAS_OPERATION = 1U << 4;  // presence1
inline constexpr uint8_t YMAP_HAS_SUBTREES = 1U << 6;   // presence1
inline constexpr uint8_t YMAP_HAS_WALK_INFO = 1U << 0;  // presence2
inline constexpr uint8_t YMAP_HAS_IS_KEY = 1U << 1;     // presence2
inline constexpr uint8_t YMAP_HAS_UNUSED = 1U << 2;     // presence2
inline constexpr uint8_t YMAP_HAS_STATUS = 1U << 3;     // presence2
inline constexpr uint8_t YMAP_HAS_WALK_MARK = 1U << 2;  // the walk info's own presence byte

static inline const char *vidl_yfw_datatree_get_tag(const vidl_yfw_datatree *node) {
  return node->tag;
}

static inline bool vidl_yfw_datatree_has_tag(const vidl_yfw_datatree *node) {
  return (node->presence1 & YMAP_HAS_TAG) != 0;
}

static inline const char *vidl_yfw_datatree_get_data(const vidl_yfw_datatree *node) {
  return node->data;
}

static inline bool vidl_yfw_datatree_has_data(const vidl_yfw_datatree *node) {
  return (node->presence1 & YMAP_HAS_DATA) != 0;
}

static inline const char *vidl_yfw_datatree_get_namespace(const vidl_yfw_datatree *node) {
  return node->namespace_;
}

static inline uint32_t vidl_yfw_datatree_get_operation(const vidl_yfw_datatree *node) {
  return node->operation;
}

static inline void vidl_yfw_datatree_set_operation(vidl_yfw_datatree *node, uint32_t operation) {
  node->operation = operation;
  node->presence1 |= YMAP_HAS_OPERATION;
}

static inline bool vidl_yfw_datatree_has_operation(const vidl_yfw_datatree *node) {
  return (node->presence1 & YMAP_HAS_OPERATION) != 0;
}

static inline bool vidl_yfw_datatree_has_subtrees(const vidl_yfw_datatree *node) {
  return (node->presence1 & YMAP_HAS_SUBTREES) != 0;
}

/// The child count; the array goes to `array` unless that is NULL. Does not test the presence bit.
static inline uint32_t vidl_yfw_datatree_get_subtrees(const vidl_yfw_datatree *node,
                                                      vidl_yfw_datatree **array) {
  if (array != nullptr) *array = node->subtrees;
  return node->subtree_count;
}

static inline void vidl_yfw_datatree_set_subtrees(vidl_yfw_datatree *node, vidl_yfw_datatree *array,
                                                  uint32_t count) {
  node->subtrees = array;
  node->subtree_count = count;
  node->presence1 |= YMAP_HAS_SUBTREES;
}

static inline void vidl_yfw_datatree_clear_subtrees(vidl_yfw_datatree *node) {
  node->subtrees = nullptr;
  node->subtree_count = 0;
  node->presence1 &= static_cast<uint8_t>(~YMAP_HAS_SUBTREES);
}

static inline vidl_yfw_walk_info *vidl_yfw_datatree_get_walk_info(vidl_yfw_datatree *node) {
  return &node->walk_info;
}

static inline void vidl_yfw_datatree_set_walk_mark(vidl_yfw_walk_info *walk_info, uint32_t mark) {
  walk_info->walk_mark = mark;
  walk_info->presence |= YMAP_HAS_WALK_MARK;
}

static inline void vidl_yfw_datatree_set_is_key(vidl_yfw_datatree *node) {
  node->is_key = 1;
  node->presence2 |= YMAP_HAS_IS_KEY;
}

static inline bool vidl_yfw_datatree_has_status(const vidl_yfw_datatree *node) {
  return (node->presence2 & YMAP_HAS_STATUS) != 0;
}

static inline uint32_t vidl_yfw_datatree_get_status(const vidl_yfw_datatree *node) {
  return node->node_status;
}

/// True when any field is set, those that the plug-in never touches and those of sub-records included.
static inline bool vidl_yfw_datatree_is_set(const vidl_yfw_datatree *node) {
  if (node->presence1 != 0) return true;
  if ((node->presence2 & YMAP_HAS_WALK_INFO) != 0 || (node->walk_info.presence & 0x0fU) != 0) return true;
  if ((node->presence2 & YMAP_HAS_IS_KEY) != 0) return true;
  if ((node->presence2 & YMAP_HAS_UNUSED) != 0 || node->unused_presence != 0) return true;
  return (node->presence2 & 0x38U) != 0;
}

#endif  // YMAP_DATATREE_H
