// Hand-written transforms of the OpenConfig direction: the leaves of `config`.
#include <charconv>
#include <cstring>

#include "convert.h"
#include "native_paths.h"
#include "trace.h"
#include "utility.h"
#include "words.h"
#include "ymap_oc_opt_ampli_openconfig_optical_amplifier.h"

namespace {

using namespace ymap;

// A leaf that exists once a side: target-gain and the like.
struct SidedLeaf {
  const char *ingress;
  const char *egress;
};

// One add per side that is named, ingress first; the status of the last. `value_of_side` is asked per side,
// the outcome of each add goes to `after`.
template <typename Value, typename After>
verrno add_sided(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out, const SidedLeaf &leaf,
                 Kind kind, Value value_of_side, After after) {
  verrno status = YMAP_OK;
  const auto add = [&](Side side, const char *path) {
    status = add_path(ctx, out,
                      {.path = path,
                       .ns = YMAP_NS_OTS_CFG,
                       .value = kind == kind_delete ? nullptr : value_of_side(),
                       .source = kind == kind_read ? nullptr : node,
                       .leaf_flag = 1});
    after(side, status);
  };
  if (is_side_named(Side::ingress)) add(Side::ingress, leaf.ingress);
  if (is_side_named(Side::egress)) add(Side::egress, leaf.egress);
  return status;
}

// A gain or tilt: OpenConfig dB in, native tenths of a dB out.
struct TenthsLeaf {
  SidedLeaf leaf;
  double minimum, maximum;  // native
  const char *out_of_range;
  TraceText openconfig, native;
  const TraceText *kinds;  // indexed by Kind, or NULL
};

constexpr TraceText gain_kinds[] = {
    YMAP_TRC_TEXT("cfg_target_gain_to_low: get or get-config"),
    YMAP_TRC_TEXT("cfg_target_gain_to_low: delete"),
    YMAP_TRC_TEXT("cfg_target_gain_to_low: edit-config"),
};

constexpr TenthsLeaf target_gain = {
    {IF_OTS "ots-ingress-amplifier-gain", IF_OTS "ots-egress-amplifier-gain"},
    80.0,
    380.0,
    "Invalid argument:NALTO support range from 80 to 380",
    YMAP_TRC_TEXT("target-gain-oc = %s"),
    YMAP_TRC_TEXT("target-gain-native = %s"),
    gain_kinds,
};

constexpr TenthsLeaf target_gain_tilt = {
    {IF_OTS "ots-ingress-amplifier-tilt", IF_OTS "ots-egress-amplifier-tilt"},
    -50.0,
    50.0,
    "Invalid argument:NALTO support range from -50 to 50",
    YMAP_TRC_TEXT("gain-oc = %s"),
    YMAP_TRC_TEXT("gain-native = %s"),
    nullptr,
};

verrno tenths_to_low(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out, const TenthsLeaf &row,
                     const char *function) {
  assert(NULL != ctx);
  TRC(ctx, function, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, function);

  char buffer[text_size];

  buffer[0] = '\0';
  if (vidl_yfw_datatree_has_data(node)) {
    const char *value = vidl_yfw_datatree_get_data(node);
    yfw_strcpy_s(function, buffer, sizeof buffer, value != nullptr ? value : "");
    TRC_ROW(ctx, function, row.openconfig, buffer);
    const double tenths = parse_number(buffer) * 10.0;
    const bool in_range = tenths >= row.minimum && tenths <= row.maximum;  // false for nan
    if (!in_range) {
      const verrno status = reject_value(ctx, node, row.out_of_range);
      TRC(ctx, function, "End");
      return status;
    }
    *std::to_chars(buffer, buffer + sizeof buffer - 1, static_cast<int>(tenths)).ptr = '\0';
    TRC_ROW(ctx, function, row.native, buffer);
  }

  const Kind kind = kind_of(ctx, node);
  if (row.kinds != nullptr) TRC_ROW(ctx, function, row.kinds[kind]);
  const verrno status = add_sided(
      ctx, node, out, row.leaf, kind, [&buffer] { return static_cast<const char *>(buffer); },
      [](Side, verrno) {});
  TRC(ctx, function, "End");
  return status;
}

// A leaf whose value is one of a few words.
struct WordLeaf {
  SidedLeaf leaf;
  TextFunction *word;
  const TraceText (*failures)[2];  // indexed by Kind and Side, or NULL
};

#define FAILURE(kind, slot) \
  YMAP_TRC_TEXT(" yfw_map_datatree_add_path_flagged failed in " kind " rc: %s with " slot " key")

constexpr TraceText gain_range_failures[3][2] = {
    {FAILURE("get", "PRE"), FAILURE("get", "BST")},
    {FAILURE("delete", "PRE"), FAILURE("delete", "BST")},
    {FAILURE("edit", "PRE"), FAILURE("edit", "BST")},
};

constexpr WordLeaf gain_range = {
    {IF_OTS "ots-ingress-amplifier-gain-range", IF_OTS "ots-egress-amplifier-gain-range"},
    cfg_gain_range_to_low,
    gain_range_failures,
};

constexpr WordLeaf enabled = {
    {IF_OTS "ots-ingress-osri", IF_OTS "ots-egress-osri"}, cfg_enabled_to_low, nullptr};

verrno word_to_low(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out, const WordLeaf &row,
                   const char *function) {
  assert(NULL != ctx);
  TRC(ctx, function, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, function);
  const Kind kind = kind_of(ctx, node);
  const verrno status = add_sided(
      ctx, node, out, row.leaf, kind, [&] { return row.word(ctx, node, out); },
      [&](Side side, verrno outcome) {
        if (outcome != YMAP_OK && row.failures != nullptr)
          TRC_ROW(ctx, function, row.failures[kind][static_cast<int>(side)], verr_strerror(outcome));
      });
  TRC(ctx, function, "End");
  return status;
}

}  // namespace

extern "C" {

// config/target-gain: dB, 8.0 to 38.0, to tenths of a dB, cut towards zero.
verrno cfg_target_gain_to_low(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  return tenths_to_low(ctx, node, out, target_gain, __func__);
}

// config/target-gain-tilt: dB, -5.0 to 5.0, likewise.
verrno cfg_target_gain_tilt_to_low(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  return tenths_to_low(ctx, node, out, target_gain_tilt, __func__);
}

// config/gain-range: MID_GAIN_RANGE is "normal", HIGH_GAIN_RANGE "extended"; the device knows no other.
const char *cfg_gain_range_to_low(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  return gain_range_to_low(ctx, node, out, __func__);
}

// config/enabled: the inverse of the native OSRI switch.
const char *cfg_enabled_to_low(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  if (!begin_word(ctx, node, out, __func__)) return nullptr;
  const char *value = value_of(node);
  if (value == nullptr) return nullptr;
  if (std::strcmp(value, "true") == 0) return "false";
  return std::strcmp(value, "false") == 0 ? "true" : nullptr;
}

// config/gain-range
verrno YMAP_ON(leaf_lvla_opticalamplifier_config_gainrange)(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                                            vidl_yfw_datatree *out) {
  return word_to_low(ctx, node, out, gain_range, __func__);
}

// config/enabled
verrno YMAP_ON(leaf_lvla_opticalamplifier_config_enabled)(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                                          vidl_yfw_datatree *out) {
  return word_to_low(ctx, node, out, enabled, __func__);
}

}  // extern "C"
