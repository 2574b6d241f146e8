/// \file
/// The beginning that every walker of a node with children shares, in both directions.
#ifndef YMAP_CHILDREN_H
#define YMAP_CHILDREN_H

#include "request.h"

namespace ymap {

/// Children of a node as its presence bit tells them.
struct Children {
  vidl_yfw_datatree *array = nullptr;
  uint32_t count = 0;
};
Children children_of(const vidl_yfw_datatree *node);

/// Traces the start, checks the arguments and reads the children. False when the walk is over: `status` is
/// then YMAP_ERR_INVALID_ARGS, or YMAP_ERR_BAD_NODE for children that are announced and not there.
bool begin_walk(yfw_map_ctx *ctx, const vidl_yfw_datatree *node, const vidl_yfw_datatree *out,
                const char *function, Children &children, verrno &status);

}  // namespace ymap

#endif  // YMAP_CHILDREN_H
