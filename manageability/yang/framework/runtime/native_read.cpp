#include "native_read.hpp"

#include "record_copy.hpp"

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

/// The outermost entry with its keys, each as a match and as a selection.
void copy_keys(Datatree &to, vidl_yfw_datatree *parent, const vidl_yfw_datatree &node) {
  vidl_yfw_datatree *copy = add_record(to, parent, node);
  const bool entry = has_key_match(node);
  for (const vidl_yfw_datatree &below : children(node)) {
    if (!entry) {
      copy_keys(to, copy, below);
    } else if (is_key_match(below)) {
      add_record(to, copy, below);
    }
  }
  if (!entry) return;
  for (const vidl_yfw_datatree &below : children(node)) {
    if (is_key_match(below)) to.add(copy, tag_of(below), namespace_of(below));
  }
}

}  // namespace

Datatree trim_native_read(const Datatree &request, bool key_copies) {
  Datatree trimmed;
  const bool any = selects(*request.root());
  bool first = true;
  for (const vidl_yfw_datatree &top : children(*request.root())) {
    if (selects(top)) {
      trimmed.add_copy(trimmed.root(), &top);
    } else if (key_copies || (!any && first)) {
      copy_keys(trimmed, trimmed.root(), top);
    }
    first = false;
  }
  drop_empty_values(*trimmed.root());
  return trimmed;
}

}  // namespace yfw
