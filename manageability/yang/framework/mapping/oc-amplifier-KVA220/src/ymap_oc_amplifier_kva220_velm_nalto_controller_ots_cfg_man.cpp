// Hand-written transforms of the OTS configuration: set gain, tilt, gain range and OSRI of either side to the
// `config` leaves of its amplifier, and to their `state` copies in reads of state.
#include "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_cfg.h"

#include "no_transforms.h"
#include "words.h"

namespace {

using namespace ymap;

constexpr TenthsTraces traces = {YMAP_TRC_TEXT("gain-native = %s"), YMAP_TRC_TEXT("gain-oc = %s")};

// ots-ingress-amplifier-gain, ots-egress-amplifier-gain: config/target-gain, then state/target-gain.
verrno target_gain_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out,
                           const Side &side, const char *function) {
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
  char buffer[text_size];
  buffer[0] = '\0';
  tenths_to_decibels(ctx, value, buffer, traces, function);
  verrno status = YMAP_OK;
  if (!is_config_suppressed(ctx)) status = add_openconfig(ctx, out, OC_CONFIG "target-gain", buffer);
  if (request_type(ctx) == YMAP_REQ_GET) status = add_openconfig(ctx, out, OC_STATE "target-gain", buffer);
  TRC(ctx, function, "End");
  return status;
}

// ots-ingress-amplifier-tilt, ots-egress-amplifier-tilt: state/target-gain-tilt, then
// config/target-gain-tilt. A tilt without a value is written without one.
verrno target_gain_tilt_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out,
                                const Side &side, const char *function) {
  assert(NULL != ctx);
  TRC(ctx, function, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, function);
  if (!is_side_selected(side)) {
    TRC(ctx, function, "End");
    return YMAP_OK;
  }
  char buffer[text_size];
  buffer[0] = '\0';
  const char *value = vidl_yfw_datatree_get_data(node);
  if (value != nullptr) tenths_to_decibels(ctx, value, buffer, traces, function);
  verrno status = YMAP_OK;
  if (request_type(ctx) == YMAP_REQ_GET)
    status = add_openconfig(ctx, out, OC_STATE "target-gain-tilt", buffer);
  if (!is_config_suppressed(ctx)) status = add_openconfig(ctx, out, OC_CONFIG "target-gain-tilt", buffer);
  TRC(ctx, function, "End");
  return status;
}

}  // namespace

extern "C" {

YMAP_ROW_FUNCTION(cfg_target_gain_ingress_to_high, Side, target_gain_to_high, Side::ingress)
YMAP_ROW_FUNCTION(cfg_target_gain_egress_to_high, Side, target_gain_to_high, Side::egress)
YMAP_ROW_FUNCTION(cfg_target_gain_tilt_ingress_to_high, Side, target_gain_tilt_to_high, Side::ingress)
YMAP_ROW_FUNCTION(cfg_target_gain_tilt_egress_to_high, Side, target_gain_tilt_to_high, Side::egress)

const char *cfg_enabled_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  return inverse_of(ctx, node, out, __func__);
}

const char *cfg_gain_range_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  return gain_range_to_high(ctx, node, out, __func__);
}

// ots/ots-ingress-osri, ots/ots-egress-osri
YMAP_WORD_LEAF(YMAP_NO_OTS_CFG(leaf_lvla_ots_otsingressosri), Side::ingress, cfg_enabled_to_high, "enabled")
YMAP_WORD_LEAF(YMAP_NO_OTS_CFG(leaf_lvla_ots_otsegressosri), Side::egress, cfg_enabled_to_high, "enabled")

// ots/ots-ingress-amplifier-gain-range, ots/ots-egress-amplifier-gain-range
YMAP_WORD_LEAF(YMAP_NO_OTS_CFG(leaf_lvla_ots_otsingressamplifiergainrange), Side::ingress,
               cfg_gain_range_to_high, "gain-range")
YMAP_WORD_LEAF(YMAP_NO_OTS_CFG(leaf_lvla_ots_otsegressamplifiergainrange), Side::egress,
               cfg_gain_range_to_high, "gain-range")

}  // extern "C"
