/// \file
/// Leaves whose values are words: gain ranges, and the OSRI switch, which is set while an amplifier is
/// disabled. Each function is the body of a transform: it traces under the transform's name and yields a
/// constant or NULL.
#ifndef YMAP_WORDS_H
#define YMAP_WORDS_H

#include "request.h"
#include "trace.h"

namespace ymap {

/// The entry of such a transform; false after an argument failure.
inline bool begin_word(yfw_map_ctx *ctx, const vidl_yfw_datatree *node, const vidl_yfw_datatree *out,
                       const char *function) {
  assert(NULL != ctx);
  TRC(ctx, function, "Start");
  if (node != nullptr && out != nullptr) return true;
  invalid_arguments(ctx, function);
  return false;
}

/// MID_GAIN_RANGE to "normal", HIGH_GAIN_RANGE to "extended"; all else NULL.
const char *gain_range_to_low(yfw_map_ctx *ctx, const vidl_yfw_datatree *node, const vidl_yfw_datatree *out,
                              const char *function);

/// A native range holding "normal" to MID_GAIN_RANGE, "extended" to HIGH_GAIN_RANGE; all else NULL.
const char *gain_range_to_high(yfw_map_ctx *ctx, const vidl_yfw_datatree *node, const vidl_yfw_datatree *out,
                               const char *function);

/// "true" to "false", every other value to "true"; NULL without a value.
const char *inverse_of(yfw_map_ctx *ctx, const vidl_yfw_datatree *node, const vidl_yfw_datatree *out,
                       const char *function);

}  // namespace ymap

#endif  // YMAP_WORDS_H
