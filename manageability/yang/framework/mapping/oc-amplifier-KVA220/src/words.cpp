// Words of both families of models; see words.h.
#include "words.h"

#include <cstring>

#include "trace.h"

namespace ymap {

const char *gain_range_to_low(yfw_map_ctx *ctx, const vidl_yfw_datatree *node, const vidl_yfw_datatree *out,
                              const char *function) {
  if (!begin_word(ctx, node, out, function)) return nullptr;
  TRC(ctx, function, "gain_range = %s", shown(vidl_yfw_datatree_get_data(node)));
  const char *value = value_of(node);
  if (value == nullptr) return nullptr;
  if (std::strcmp(value, "MID_GAIN_RANGE") == 0) return "normal";
  return std::strcmp(value, "HIGH_GAIN_RANGE") == 0 ? "extended" : nullptr;
}

const char *gain_range_to_high(yfw_map_ctx *ctx, const vidl_yfw_datatree *node, const vidl_yfw_datatree *out,
                               const char *function) {
  if (!begin_word(ctx, node, out, function)) return nullptr;
  const char *value = value_of(node);
  if (value == nullptr) return nullptr;
  TRC(ctx, function, "gain_range = %s", value);
  // Devices send the word alone.
  if (std::strcmp(value, "normal") == 0 || std::strstr(value, "normal") != nullptr) return "MID_GAIN_RANGE";
  return std::strstr(value, "extended") != nullptr ? "HIGH_GAIN_RANGE" : nullptr;
}

const char *inverse_of(yfw_map_ctx *ctx, const vidl_yfw_datatree *node, const vidl_yfw_datatree *out,
                       const char *function) {
  if (!begin_word(ctx, node, out, function)) return nullptr;
  const char *value = value_of(node);
  if (value == nullptr) return nullptr;
  return std::strcmp(value, "true") == 0 ? "false" : "true";
}

}  // namespace ymap
