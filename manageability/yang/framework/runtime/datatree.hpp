/// \file
/// A tree of vidl_yfw_datatree records that owns its records and texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "export.hpp"
#include "ymap_types.h"

namespace yfw {

struct TreeStore;

/// A data tree under a root with an empty tag. Records and texts live in an arena until the tree dies, so
/// a pointer into a child array stays readable when the array grows; the grown array is the one that the
/// parent then shows. Build depth first: finish a child before its next sibling is added. A tree that was
/// moved from may only be assigned to or destroyed.
class YFW_EXPORT Datatree {
 public:
  Datatree();
  Datatree(Datatree &&) noexcept;
  Datatree &operator=(Datatree &&) noexcept;
  ~Datatree();

  vidl_yfw_datatree *root() { return root_; }
  const vidl_yfw_datatree *root() const { return root_; }

  /// Appends a child. `value` absent: the node has no data. The new record is valid until the next sibling.
  vidl_yfw_datatree *add(vidl_yfw_datatree *parent, std::string_view tag, std::string_view ns,
                         std::optional<std::string_view> value = std::nullopt,
                         uint32_t operation = YMAP_OP_NONE);

  /// A deep copy of `node` and all below it as a new child of `parent` (its source may be another tree's).
  vidl_yfw_datatree *add_copy(vidl_yfw_datatree *parent, const vidl_yfw_datatree *node);

  /// `node` as a new child of `parent`, what is below it and all texts shared with its tree, which must live
  /// longer. Whoever walks this tree marks the records below in both.
  vidl_yfw_datatree *add_shared(vidl_yfw_datatree *parent, const vidl_yfw_datatree *node);

 private:
  friend void adopt(Datatree &tree, Datatree part);

  vidl_yfw_datatree *root_;  ///< in the TreeStore
};

}  // namespace yfw
