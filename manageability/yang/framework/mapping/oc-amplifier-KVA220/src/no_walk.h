/// \file
/// The walking patterns of the native direction. A walker is a row: constant data in its module's parser
/// unit. Native trees are walked once, as the device produced them: nothing is filled, deleted or refused.
#ifndef YMAP_NO_WALK_H
#define YMAP_NO_WALK_H

#include "exports.h"

namespace ymap {

struct NoRow;
using NoPattern = verrno(yfw_map_ctx *, const NoRow &, vidl_yfw_datatree *, vidl_yfw_datatree *);

/// What all walkers of a native module share.
struct NoModule {
  const char *ns;
  bool reads_state_only;  ///< operational data: known children are walked in reads of state only
};

/// One walker: the native node that it walks and what it calls.
struct NoRow {
  const char *tag;   ///< the child tag that leads to this walker
  const char *name;  ///< the walker's name in traces
  const NoModule *module;
  NoPattern *walk;                  ///< which of the patterns below
  NodeFunction *handler;            ///< of a leaf or list entry
  ContainerFunction *cont_handler;  ///< of a container
  NodeFunction *augments;           ///< takes the children of foreign namespaces
  const NoRow *children;            ///< in dispatch order
  size_t child_count;
  const char *list_path;        ///< of a list entry
  const char *const *key_tags;  ///< of a list entry, ended by NULL
  bool is_key;                  ///< a key leaf
};

/// A container. YMAP_SKIP_NODE of a list entry below it drops that entry only.
NoPattern walk_no_container;

/// A list entry: on the output list while its children are walked.
NoPattern walk_no_list_entry;

/// A leaf.
NoPattern walk_no_leaf;

/// The entry of a module whose top container `top` augments another module's node: `node` is the augmenting
/// child.
verrno walk_no_augment(yfw_map_ctx *ctx, const NoRow &top, vidl_yfw_datatree *node, vidl_yfw_datatree *out,
                       NodeFunction *augments, const char *function);

}  // namespace ymap

#endif  // YMAP_NO_WALK_H
