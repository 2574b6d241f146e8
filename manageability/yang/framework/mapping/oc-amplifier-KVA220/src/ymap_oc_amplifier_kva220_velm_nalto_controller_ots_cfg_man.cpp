// Hand-written transforms of the OTS configuration: set gain, tilt, gain range and OSRI of either side to the
// `config` leaves of its amplifier, and to their `state` copies in reads of state.
#include "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_cfg.h"

#include "no_transforms.h"
#include "words.h"

namespace {

using namespace ymap;

constexpr TenthsTraces traces = {YMAP_TRC_TEXT("gain-native = %s"), YMAP_TRC_TEXT("gain-oc = %s")};

// ots-ingress-amplifier-gain, ots-egress-amplifier-gain: config/target-gain, then state/target-gain.
verrno target_gain_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out, Side side,
                           const char *function) {
  assert(NULL != ctx);
  TRC(ctx, function, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, function);
  if (!is_side_selected(side)) {
    TRC(ctx, function, "End");
    return YMAP_OK;
  }
  const char *value = vidl_yfw_datatree_get_data(node);
  if (value == nullptr) {
    TRC(ctx, function, "input value is NULL");
    TRC(ctx, function, "End");
    return YMAP_OK;
  }
  char buffer[text_size] = {};
  tenths_to_decibels(ctx, value, buffer, traces, function);
  verrno status = YMAP_OK;
  if (!is_config_suppressed(ctx)) status = add_openconfig(ctx, out, OC_CONFIG "target-gain", buffer);
  if (request_type(ctx) == YMAP_REQ_GET) status = add_openconfig(ctx, out, OC_STATE "target-gain", buffer);
  TRC(ctx, function, "End");
  return status;
}

// ots-ingress-amplifier-tilt, ots-egress-amplifier-tilt: state/target-gain-tilt, then
// config/target-gain-tilt. A tilt without a value is written without one.
verrno target_gain_tilt_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out, Side side,
                                const char *function) {
  assert(NULL != ctx);
  TRC(ctx, function, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, function);
  if (!is_side_selected(side)) {
    TRC(ctx, function, "End");
    return YMAP_OK;
  }
  char buffer[text_size] = {};
  const char *value = vidl_yfw_datatree_get_data(node);
  if (value != nullptr) tenths_to_decibels(ctx, value, buffer, traces, function);
  verrno status = YMAP_OK;
  if (request_type(ctx) == YMAP_REQ_GET)
    status = add_openconfig(ctx, out, OC_STATE "target-gain-tilt", buffer);
  if (!is_config_suppressed(ctx)) status = add_openconfig(ctx, out, OC_CONFIG "target-gain-tilt", buffer);
  TRC(ctx, function, "End");
  return status;
}

constexpr WordToHigh ingress_osri = {Side::ingress, cfg_enabled_to_high, OC_CONFIG "enabled",
                                     OC_STATE "enabled"};
constexpr WordToHigh egress_osri = {Side::egress, cfg_enabled_to_high, OC_CONFIG "enabled",
                                    OC_STATE "enabled"};
constexpr WordToHigh ingress_gain_range = {Side::ingress, cfg_gain_range_to_high, OC_CONFIG "gain-range",
                                           OC_STATE "gain-range"};
constexpr WordToHigh egress_gain_range = {Side::egress, cfg_gain_range_to_high, OC_CONFIG "gain-range",
                                          OC_STATE "gain-range"};

}  // namespace

extern "C" {

verrno cfg_target_gain_ingress_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  return target_gain_to_high(ctx, node, out, Side::ingress, __func__);
}

verrno cfg_target_gain_egress_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  return target_gain_to_high(ctx, node, out, Side::egress, __func__);
}

verrno cfg_target_gain_tilt_ingress_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                            vidl_yfw_datatree *out) {
  return target_gain_tilt_to_high(ctx, node, out, Side::ingress, __func__);
}

verrno cfg_target_gain_tilt_egress_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                           vidl_yfw_datatree *out) {
  return target_gain_tilt_to_high(ctx, node, out, Side::egress, __func__);
}

const char *cfg_enabled_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  return inverse_of(ctx, node, out, __func__);
}

const char *cfg_gain_range_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  return gain_range_to_high(ctx, node, out, __func__);
}

// ots/ots-ingress-osri
verrno YMAP_NO_OTS_CFG(leaf_lvla_ots_otsingressosri)(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                                     vidl_yfw_datatree *out) {
  return word_to_high(ctx, node, out, ingress_osri, __func__);
}

// ots/ots-egress-osri
verrno YMAP_NO_OTS_CFG(leaf_lvla_ots_otsegressosri)(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                                    vidl_yfw_datatree *out) {
  return word_to_high(ctx, node, out, egress_osri, __func__);
}

// ots/ots-ingress-amplifier-gain-range
verrno YMAP_NO_OTS_CFG(leaf_lvla_ots_otsingressamplifiergainrange)(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                                                   vidl_yfw_datatree *out) {
  return word_to_high(ctx, node, out, ingress_gain_range, __func__);
}

// ots/ots-egress-amplifier-gain-range
verrno YMAP_NO_OTS_CFG(leaf_lvla_ots_otsegressamplifiergainrange)(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                                                  vidl_yfw_datatree *out) {
  return word_to_high(ctx, node, out, egress_gain_range, __func__);
}

}  // extern "C"
