// Shared parts of the native direction's transforms; see no_transforms.h.
#include "no_transforms.h"

#include <cstring>

#include "convert.h"

namespace ymap {

void find_requested_name(yfw_map_ctx *ctx, char *key) {
  char path[text_size];
  path[0] = '\0';
  compare_path(ctx, state_of(ctx).reg_dup_datatree, OC_AMPLIFIER "/name", path, key);
}

bool is_list_requested(yfw_map_ctx *ctx) {
  vidl_yfw_datatree *request = state_of(ctx).reg_dup_datatree;
  return check_request_type(ctx, request, OC_AMPLIFIERS) != 0 ||
         check_request_type(ctx, request, "/optical-amplifier") != 0;
}

void tenths_to_decibels(yfw_map_ctx *ctx, const char *value, char *buffer, const TenthsTraces &traces,
                        const char *function) {
  yfw_strcpy_s(function, buffer, text_size, value);
  TRC_ROW(ctx, function, traces.native, buffer);
  convert_tenths(buffer, buffer);
  TRC_ROW(ctx, function, traces.openconfig, buffer);
}

verrno word_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out, const WordToHigh &row,
                    const char *function) {
  assert(NULL != ctx);
  TRC(ctx, function, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, function);
  verrno status = YMAP_OK;
  if (!is_config_suppressed(ctx) && is_side_selected(row.side))
    status = add_openconfig(ctx, out, row.config_path, row.word(ctx, node, out));
  if (request_type(ctx) == YMAP_REQ_GET && is_side_selected(row.side))
    status = add_openconfig(ctx, out, row.state_path, row.word(ctx, node, out));
  TRC(ctx, function, "End");
  return status;
}

}  // namespace ymap
