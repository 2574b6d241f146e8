// How records are made and changed.
#include "record.hpp"

#include <algorithm>

namespace yfw {
namespace {

void copy_with_children(Arena &arena, vidl_yfw_datatree &copy, const vidl_yfw_datatree &node) {
  copy_accepted(arena, copy, node, [](const vidl_yfw_datatree &) { return true; });
}

}  // namespace

vidl_yfw_datatree *append_to_larger(Arena &arena, vidl_yfw_datatree &parent, Grown *grown,
                                    uint32_t capacity) {
  const uint32_t count = child_count(parent);
  capacity = std::max(capacity, count * 2);
  vidl_yfw_datatree *larger = allocate_records(arena, capacity);
  if (count != 0) {
    std::memcpy(static_cast<void *>(larger), parent.subtrees, count * sizeof(vidl_yfw_datatree));
    if (grown != nullptr) *grown = {parent.subtrees, count, larger};
  }
  own_children(parent, larger, count + 1, capacity);
  extra(parent).hint = count + 1;
  clear(larger[count]);
  return &larger[count];
}

vidl_yfw_datatree *copy_record_tree(Arena &arena, const vidl_yfw_datatree &node) {
  vidl_yfw_datatree *copy = allocate_records(arena, 1);
  copy_with_children(arena, *copy, node);
  return copy;
}

vidl_yfw_datatree *append_alias(Arena &arena, vidl_yfw_datatree &parent, const vidl_yfw_datatree &node) {
  vidl_yfw_datatree *copy = append_child(arena, parent);
  copy_with_children(arena, *copy, node);
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
    if (node.data != nullptr && *node.data == '\0') drop_value(node);
    if (vidl_yfw_datatree_has_subtrees(&node)) drop_empty_values(node);
  }
}

}  // namespace yfw
