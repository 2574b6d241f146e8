/// \file
/// The walking patterns of the OpenConfig direction. A walker is a row: constant data in the module's parser
/// unit.
#ifndef YMAP_ON_WALK_H
#define YMAP_ON_WALK_H

#include "children.h"
#include "exports.h"

namespace ymap {

struct OnRow;
using OnPattern = verrno(yfw_map_ctx *, const OnRow &, vidl_yfw_datatree *, vidl_yfw_datatree *);

/// One walker: the node that it walks and what it calls.
struct OnRow {
  const char *tag;                  ///< the child tag that leads to this walker
  const char *name;                 ///< the walker's name in traces
  OnPattern *walk;                  ///< which of the patterns below
  NodeFunction *handler;            ///< of a leaf, key or list entry
  ContainerFunction *cont_handler;  ///< of a container
  NodeFunction *augments;           ///< takes the children of foreign namespaces
  const OnRow *children;            ///< in dispatch and fill order; of a list entry: key, config, state
  size_t child_count;
  const char *list_path;  ///< of a list entry
  bool dumps;             ///< the root prints the map state at its end
};

/// A container: configuration, lists, or the root. Walked twice for a replace: the first pass removes all
/// below it, the second writes the given children.
OnPattern walk_on_container;

/// A state container: children are walked in reads of state only, and never filled for a delete.
OnPattern walk_on_state;

/// A list entry: key rules, expansion by its handler, children, fills.
OnPattern walk_on_list_entry;

/// A list key leaf; leaves no mark in leaf_seen.
OnPattern walk_on_key;

/// A leaf.
OnPattern walk_on_leaf;

// Shared by the container and list entry patterns, which stand in units of their own.

/// Forgets what leaves were seen, but not that a valued one was seen at all.
void clear_leaf_seen(yfw_map_state &state);

/// Sets the operation of a node for a while: DELETE becomes REMOVE, so that missing parts below raise no
/// error.
class ImpliedRemove {
 public:
  explicit ImpliedRemove(vidl_yfw_datatree *node);
  void restore();

 private:
  vidl_yfw_datatree *node_;
  bool changed_;
};

/// What becomes of a child in the OpenConfig namespace that no row names: passed over in reads, else refused.
verrno refuse_unsupported(yfw_map_ctx *ctx, const char *tag, const char *function);

/// The row of a child, or nullptr.
inline const OnRow *find_row(const char *tag, const OnRow *rows, size_t count) {
  for (; count != 0; --count, ++rows)
    if (yfw_map_do_these_match(tag, rows->tag) != 0) return rows;
  return nullptr;
}

/// True for a child of the OpenConfig namespace itself.
bool is_openconfig(const vidl_yfw_datatree *child);

}  // namespace ymap

#endif  // YMAP_ON_WALK_H
