// Questions to the running request, and the owned copies that tell the framework what was wrong with it.
#include "request.h"

#include "trace.h"

namespace ymap {

namespace {

constexpr uint16_t has_content_selection = 1U << 15;
constexpr uint8_t has_content_selector = 1U << 0;

}  // namespace

yfw_map_state blank_state{};

bool is_config_suppressed(yfw_map_ctx *ctx) {
  const yfw_map_request *request = state_of(ctx).request;
  if (request == nullptr) return false;
  const yfw_content_selection &selection = request->content_selection;
  const bool present =
      (request->presence & has_content_selection) != 0 || (selection.presence & has_content_selector) != 0;
  return present && selection.content_selector == YMAP_CONTENT_STATE_ONLY;
}

verrno reject_value(yfw_map_ctx *ctx, const vidl_yfw_datatree *node, const char *message) {
  set_err_tag(ctx, vidl_yfw_datatree_get_tag(node), owner_transform);
  if (ctx->state != nullptr) replace_copy(ctx->state->err_message, message, owner_walker);
  yfw_oc_error_path(ctx);
  return YMAP_ERR_INVALID_VALUE;
}

}  // namespace ymap
