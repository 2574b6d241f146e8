/// \file
/// What the transforms of the native direction share. All paths they add are absolute, in the OpenConfig
/// namespace, and land in the amplifier entry that the framework has selected.
#ifndef YMAP_NO_TRANSFORMS_H
#define YMAP_NO_TRANSFORMS_H

#include "exports.h"
#include "request.h"
#include "trace.h"
#include "utility.h"

#define OC_AMPLIFIERS "/optical-amplifier/amplifiers"
#define OC_AMPLIFIER OC_AMPLIFIERS "/amplifier"
#define OC_CONFIG OC_AMPLIFIER "/config/"
#define OC_STATE OC_AMPLIFIER "/state/"

namespace ymap {

/// Adds an OpenConfig leaf.
inline verrno add_openconfig(yfw_map_ctx *ctx, vidl_yfw_datatree *out, const char *path, const char *value,
                             int leaf_flag = 0) {
  return add_path(ctx, out, {.path = path, .ns = YMAP_NS_OPENCONFIG, .value = value, .leaf_flag = leaf_flag});
}

/// Searches the OpenConfig request for the amplifier that it names; `key` (name_size bytes) stays empty if
/// none.
void find_requested_name(yfw_map_ctx *ctx, char *key);

/// True when the OpenConfig request covers the amplifier list, its top container alone included.
bool is_list_requested(yfw_map_ctx *ctx);

/// Texts that trace a number before and after its conversion.
struct TenthsTraces {
  TraceText native, openconfig;
};

/// Copies a native number in tenths of a dB into `buffer` (text_size bytes), traces it, and turns it into dB.
void tenths_to_decibels(yfw_map_ctx *ctx, const char *value, char *buffer, const TenthsTraces &traces,
                        const char *function);

/// A native leaf of one side whose word becomes one leaf under `config` and `state`.
struct WordToHigh {
  Side side;
  TextFunction *word;
  const char *config_path;
  const char *state_path;
};
verrno word_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out, const WordToHigh &row,
                    const char *function);

}  // namespace ymap

/// Defines an exported function that is a row: `body` is called with it and the function's own name.
#define YMAP_ROW_FUNCTION(name, Row, body, ...)                                    \
  verrno name(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) { \
    static constexpr Row row = __VA_ARGS__;                                        \
    return body(ctx, node, out, row, __func__);                                    \
  }

/// A handler of a native leaf of one side whose word goes to `leaf` under config and state.
#define YMAP_WORD_LEAF(name, side, word, leaf) \
  YMAP_ROW_FUNCTION(name, ymap::WordToHigh, ymap::word_to_high, {side, word, OC_CONFIG leaf, OC_STATE leaf})

#endif  // YMAP_NO_TRANSFORMS_H
