// Bodies of the generated handlers; see handlers.h.
#include "handlers.h"

#include "request.h"
#include "trace.h"

namespace ymap {

verrno accept(yfw_map_ctx *ctx, const vidl_yfw_datatree *node, const vidl_yfw_datatree *out,
              const char *function) {
  assert(NULL != ctx);
  TRC(ctx, function, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, function);
  TRC(ctx, function, "End");
  return YMAP_OK;
}

verrno accept_silently(yfw_map_ctx *ctx, const char *function) {
  assert(NULL != ctx);
  TRC(ctx, function, "End");
  return YMAP_OK;
}

verrno call_transform(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out, const char *function,
                      NodeFunction *transform) {
  assert(NULL != ctx);
  TRC(ctx, function, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, function);
  const verrno status = transform(ctx, node, out);
  TRC(ctx, function, "End");
  return status;
}

verrno reject(yfw_map_ctx *ctx, const vidl_yfw_datatree *node, const vidl_yfw_datatree *out,
              const char *function) {
  assert(NULL != ctx);
  TRC(ctx, function, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, function);
  yfw_oc_error_path(ctx);
  const char *tag = vidl_yfw_datatree_get_tag(node);
  set_err_tag(ctx, tag, tag);
  TRC(ctx, function, "End");
  return YMAP_ERR_UNSUPPORTED_TAG;
}

verrno refuse_created_augment(yfw_map_ctx *ctx, vidl_yfw_datatree *node, const vidl_yfw_datatree *out,
                              const char *function) {
  assert(NULL != ctx);
  TRC(ctx, function, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, function);
  verrno status = YMAP_OK;
  if (yfw_map_is_request_add(ctx, node) != 0) {
    set_err_tag(ctx, vidl_yfw_datatree_get_tag(node), owner_walker);
    yfw_oc_error_path(ctx);
    status = YMAP_ERR_AUGMENT_ADD;
  }
  TRC(ctx, function, "End");
  return status;
}

}  // namespace ymap
