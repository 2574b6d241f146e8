/// \file
/// Bodies of the generated handlers and augments walkers, shared by all modules. The exported function passes
/// its own name for the traces.
#ifndef YMAP_HANDLERS_H
#define YMAP_HANDLERS_H

#include "exports.h"

namespace ymap {

/// Accepts a node after the argument check and changes nothing: containers, and augments of native nodes.
verrno accept(yfw_map_ctx *ctx, const vidl_yfw_datatree *node, const vidl_yfw_datatree *out,
              const char *function);

/// Accepts anything, unchecked.
verrno accept_silently(yfw_map_ctx *ctx, const char *function);

/// Hands a node to its transform.
verrno call_transform(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out, const char *function,
                      NodeFunction *transform);

/// Rejects a leaf that the device has no counterpart for, in every request type; `err_tag` tells which.
verrno reject(yfw_map_ctx *ctx, const vidl_yfw_datatree *node, const vidl_yfw_datatree *out,
              const char *function);

/// Passes a node of an augmenting OpenConfig module over, unless it is to be created.
verrno refuse_created_augment(yfw_map_ctx *ctx, vidl_yfw_datatree *node, const vidl_yfw_datatree *out,
                              const char *function);

}  // namespace ymap

#endif  // YMAP_HANDLERS_H
