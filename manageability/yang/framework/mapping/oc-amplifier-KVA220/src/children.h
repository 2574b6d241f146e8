/// \file
/// The beginning that every walker of a node with children shares, in both directions.
#ifndef YMAP_CHILDREN_H
#define YMAP_CHILDREN_H

#include "request.h"
#include "trace.h"

namespace ymap {

/// Children of a node as its presence bit tells them.
struct Children {
  vidl_yfw_datatree *array = nullptr;
  uint32_t count = 0;
};
inline Children children_of(const vidl_yfw_datatree *node) {
  Children children;
  if (vidl_yfw_datatree_has_subtrees(node))
    children.count = vidl_yfw_datatree_get_subtrees(node, &children.array);
  return children;
}

/// Traces the start, checks the arguments and reads the children. False when the walk is over: `status` is
/// then YMAP_ERR_INVALID_ARGS, or YMAP_ERR_BAD_NODE for children that are announced and not there.
__attribute__((always_inline)) inline bool begin_walk(yfw_map_ctx *ctx, const vidl_yfw_datatree *node,
                                                      const vidl_yfw_datatree *out, const char *function,
                                                      Children &children, verrno &status) {
  assert(NULL != ctx);
  TRC(ctx, function, "Start");
  if (node == nullptr || out == nullptr) {
    status = invalid_arguments(ctx, function);
    return false;
  }
  children = children_of(node);
  if (children.count == 0 || children.array != nullptr) return true;
  ERR(ctx, function, "Failed to get subtrees!");
  TRC(ctx, function, "End");
  status = YMAP_ERR_BAD_NODE;
  return false;
}

}  // namespace ymap

#endif  // YMAP_CHILDREN_H
