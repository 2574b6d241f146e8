// How records are made and changed.
#include "record.hpp"

#include <algorithm>

namespace yfw {
namespace {

/// Makes a record that was copied bit by bit from another tree's one of this tree's, without marks.
void adopt_record(vidl_yfw_datatree &copy) {
  extra(copy) = {};
  copy.walk_info = {};
  copy.is_key = 0;
  copy.unused_presence = 0;
  copy.presence1 &= YMAP_HAS_TAG | YMAP_HAS_DATA | YMAP_HAS_OPERATION | YMAP_HAS_SUBTREES;
  copy.presence2 &= YMAP_HAS_STATUS;
  if (!vidl_yfw_datatree_has_operation(&copy)) copy.operation = YMAP_OP_NONE;
  if (copy.tag == nullptr) set_tag(copy, "", copy.namespace_);
  if (!vidl_yfw_datatree_has_data(&copy)) copy.data = nullptr;
}

/// Puts copies in the place of children that belong to another tree.
void alias_children(Arena &arena, vidl_yfw_datatree &parent) {
  const Children below = children(parent);
  if (below.count == 0) return vidl_yfw_datatree_clear_subtrees(&parent);
  vidl_yfw_datatree *array = allocate_records(arena, below.count);
  std::memcpy(static_cast<void *>(array), below.first, below.count * sizeof(vidl_yfw_datatree));
  own_children(parent, array, below.count, below.count);
  for (vidl_yfw_datatree &copy : children(parent)) {
    adopt_record(copy);
    if (vidl_yfw_datatree_has_subtrees(&copy)) alias_children(arena, copy);
  }
}

void alias_node(Arena &arena, vidl_yfw_datatree &copy, const vidl_yfw_datatree &node) {
  std::memcpy(static_cast<void *>(&copy), &node, sizeof copy);
  adopt_record(copy);
  alias_children(arena, copy);
}

}  // namespace

vidl_yfw_datatree *child(const vidl_yfw_datatree &node, const char *tag) {
  for (vidl_yfw_datatree &candidate : children(node)) {
    if (has_tag(candidate, tag)) return &candidate;
  }
  return nullptr;
}

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
  alias_node(arena, *copy, node);
  return copy;
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
    if (node.data != nullptr && *node.data == '\0') drop_value(node);
    if (vidl_yfw_datatree_has_subtrees(&node)) drop_empty_values(node);
  }
}

}  // namespace yfw
