// How records are made and changed.
#include "record.hpp"

#include <algorithm>

namespace yfw {
namespace {

/// `copy` may hold anything.
void alias_node(Arena &arena, vidl_yfw_datatree &copy, const vidl_yfw_datatree &node) {
  clear(copy);
  set_tag(copy, node.tag == nullptr ? "" : node.tag, node.namespace_);
  if (vidl_yfw_datatree_has_data(&node) && node.data != nullptr) set_data(copy, node.data);
  if (vidl_yfw_datatree_has_operation(&node)) vidl_yfw_datatree_set_operation(&copy, node.operation);
  if (vidl_yfw_datatree_has_status(&node)) {
    copy.node_status = node.node_status;
    copy.presence2 |= YMAP_HAS_STATUS;
  }
  const Children below = children(node);
  if (below.count == 0) return;
  vidl_yfw_datatree *array = allocate_records(arena, below.count);
  for (uint32_t i = 0; i < below.count; ++i) alias_node(arena, array[i], below.first[i]);
  own_children(copy, array, below.count, below.count);
}

}  // namespace

vidl_yfw_datatree *child(const vidl_yfw_datatree &node, const char *tag) {
  for (vidl_yfw_datatree &candidate : children(node)) {
    if (has_tag(candidate, tag)) return &candidate;
  }
  return nullptr;
}

void own_children(vidl_yfw_datatree &parent, vidl_yfw_datatree *array, uint32_t count, uint32_t capacity) {
  RecordExtra &kept = extra(parent);
  kept.capacity = capacity;
  kept.array = array;
  vidl_yfw_datatree_set_subtrees(&parent, array, count);
}

void grow_children(Arena &arena, vidl_yfw_datatree &parent, Grown *grown, uint32_t capacity) {
  const uint32_t count = child_count(parent);
  capacity = std::max(capacity, count * 2);
  vidl_yfw_datatree *larger = allocate_records(arena, capacity);
  if (count != 0) {
    std::memcpy(static_cast<void *>(larger), parent.subtrees, count * sizeof(vidl_yfw_datatree));
    if (grown != nullptr) *grown = {parent.subtrees, count, larger};
  }
  own_children(parent, larger, count, capacity);
}

vidl_yfw_datatree *append_alias(Arena &arena, vidl_yfw_datatree &parent, const vidl_yfw_datatree &node) {
  vidl_yfw_datatree *copy = append_child(arena, parent);
  alias_node(arena, *copy, node);
  return copy;
}

vidl_yfw_datatree *append_record_alias(Arena &arena, vidl_yfw_datatree &parent,
                                       const vidl_yfw_datatree &node) {
  vidl_yfw_datatree *copy = append_child(arena, parent);
  set_tag(*copy, node.tag == nullptr ? "" : node.tag, node.namespace_);
  if (has_value(node)) set_data(*copy, node.data);
  return copy;
}

void truncate_children(vidl_yfw_datatree &parent, uint32_t count) {
  const uint32_t all = child_count(parent);
  if (count == all) return;
  if (count == 0)
    vidl_yfw_datatree_clear_subtrees(&parent);
  else
    parent.subtree_count = count;
}

void drop_empty_values(const vidl_yfw_datatree &parent) {
  for (vidl_yfw_datatree &node : children(parent)) {
    if (child_count(node) != 0) drop_empty_values(node);
    if (node.data != nullptr && *node.data == '\0') drop_value(node);
  }
}

}  // namespace yfw
