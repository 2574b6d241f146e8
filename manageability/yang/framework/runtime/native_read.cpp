// Trims native requests in place.
#include "native_read.hpp"

#include <algorithm>

#include "tree_store.hpp"

namespace yfw {
namespace {

bool is_key_match(const vidl_yfw_datatree &node) {
  return child_count(node) == 0 && has_value(node);
}

bool selects(const vidl_yfw_datatree &node) {
  if (child_count(node) == 0) return !has_value(node);
  for (const vidl_yfw_datatree &below : children(node)) {
    if (selects(below)) return true;
  }
  return false;
}

bool has_key_match(const vidl_yfw_datatree &node) {
  for (const vidl_yfw_datatree &below : children(node)) {
    if (is_key_match(below)) return true;
  }
  return false;
}

/// Leaves the outermost entry with its keys, each as a match and as a selection.
void keep_keys(Arena &arena, vidl_yfw_datatree &node) {
  if (!has_key_match(node)) {
    for (vidl_yfw_datatree &below : children(node)) keep_keys(arena, below);
    return;
  }
  filter_children(node, is_key_match);
  for (uint32_t i = 0, keys = child_count(node); i < keys; ++i) {
    vidl_yfw_datatree *selection = append_child(arena, node);
    set_tag(*selection, node.subtrees[i].tag, node.subtrees[i].namespace_);
  }
}

}  // namespace

void trim_native_read(Datatree &request, bool key_copies) {
  const Children tops = children(*request.root());
  const auto selecting = std::count_if(tops.begin(), tops.end(), selects);
  if (selecting == tops.count) return;
  filter_children(*request.root(), [&](vidl_yfw_datatree &top) {
    if (selecting != 0 && selects(top)) return true;
    const bool keeps_keys = key_copies || (selecting == 0 && &top == tops.begin());
    if (keeps_keys) keep_keys(store_of(request).arena, top);
    return keeps_keys;
  });
}

}  // namespace yfw
