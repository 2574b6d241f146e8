/// \file
/// What a Datatree owns, for the runtime's own use.
#pragma once

#include <array>
#include <memory>

#include "datatree.hpp"
#include "record.hpp"

namespace yfw {

class PathTable;

/// Lives in its own arena.
struct TreeStore {
  explicit TreeStore(Arena own) : arena(std::move(own)) {}

  Arena arena;
  vidl_yfw_datatree root;                  ///< cleared by whoever makes the store
  std::shared_ptr<const PathTable> names;  ///< whose texts the records share, if any
  TreeStore *adopted = nullptr;            ///< trees whose records stand in this one too

  /// A copy of a namespace; the first few are shared when asked for again.
  const char *share(std::string_view ns);

 private:
  std::array<std::string_view, 4> namespaces_{};
  std::size_t namespace_count_ = 0;
};

/// The store of the tree that `root` is the root of; nullptr when it is none's.
inline TreeStore *store_of(const vidl_yfw_datatree &root) {
  return extra(root).tree;
}
inline TreeStore &store_of(const Datatree &tree) {
  return *extra(*tree.root()).tree;
}

/// Appends a record whose texts outlive the tree.
inline vidl_yfw_datatree *add_alias(Datatree &tree, vidl_yfw_datatree *parent, const char *tag,
                                    const char *ns) {
  vidl_yfw_datatree *added = append_child(store_of(tree).arena, *parent);
  set_tag(*added, tag, ns);
  return added;
}

/// As above, of a whole node or of a record alone (append_alias(), append_record_alias()).
inline vidl_yfw_datatree *add_alias(Datatree &tree, vidl_yfw_datatree *parent,
                                    const vidl_yfw_datatree &node) {
  return append_alias(store_of(tree).arena, *parent, node);
}
inline vidl_yfw_datatree *add_record_alias(Datatree &tree, vidl_yfw_datatree *parent,
                                           const vidl_yfw_datatree &node) {
  return append_record_alias(store_of(tree).arena, *parent, node);
}

/// Makes `tree` keep what `part` owns, so that its records can be moved into `tree`.
void adopt(Datatree &tree, Datatree part);

}  // namespace yfw
