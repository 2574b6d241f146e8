// The shared beginning of the walkers; see children.h.
#include "children.h"

#include "trace.h"

namespace ymap {

Children children_of(const vidl_yfw_datatree *node) {
  Children children;
  if (vidl_yfw_datatree_has_subtrees(node))
    children.count = vidl_yfw_datatree_get_subtrees(node, &children.array);
  return children;
}

bool begin_walk(yfw_map_ctx *ctx, const vidl_yfw_datatree *node, const vidl_yfw_datatree *out,
                const char *function, Children &children, verrno &status) {
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
