/// \file
/// Copies records one by one, where not all of a tree is wanted.
#pragma once

#include <optional>

#include "datatree.hpp"
#include "record.hpp"

namespace yfw {

/// Adds a copy of the record alone: no children, no operation, and of its value what is not the empty text.
inline vidl_yfw_datatree *add_record(Datatree &to, vidl_yfw_datatree *parent, const vidl_yfw_datatree &node) {
  std::optional<std::string_view> value;
  if (has_value(node)) value = value_of(node);
  return to.add(parent, tag_of(node), namespace_of(node), value);
}

}  // namespace yfw
