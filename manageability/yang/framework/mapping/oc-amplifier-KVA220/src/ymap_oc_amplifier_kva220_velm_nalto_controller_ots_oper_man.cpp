// Hand-written functions of the OTS operational data: which port is which amplifier, and its operating
// values.
#include <cstring>

#include "no_transforms.h"
#include "words.h"
#include "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_oper.h"

namespace {

using namespace ymap;

// An operating gain or tilt of one side.
struct OperatingTenths {
  Side side;
  TenthsTraces traces;
  const char *config_path;
  const char *target_path;
  const char *instant_path;
};

#define GAIN(side)                                                                                     \
  {                                                                                                    \
    side, {YMAP_TRC_TEXT("gain-native = %s"), YMAP_TRC_TEXT("gain-oc = %s")}, OC_CONFIG "target-gain", \
        OC_STATE "target-gain", OC_STATE "actual-gain/instant"                                         \
  }
#define TILT(side)                                                                                     \
  {                                                                                                    \
    side, {YMAP_TRC_TEXT("gain_tilt-native = %s"), YMAP_TRC_TEXT("gain_tilt-oc = %s")},                \
        OC_CONFIG "target-gain-tilt", OC_STATE "target-gain-tilt", OC_STATE "actual-gain-tilt/instant" \
  }

// Only the status of the instant value is reported: the two others may stand already, as configured.
verrno operating_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out,
                         const OperatingTenths &row, const char *function) {
  assert(NULL != ctx);
  TRC(ctx, function, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, function);
  char buffer[text_size];
  buffer[0] = '\0';
  const char *value = value_of(node);
  if (value != nullptr) tenths_to_decibels(ctx, value, buffer, row.traces, function);
  verrno status = YMAP_OK;
  if (is_side_selected(row.side)) {
    if (!is_config_suppressed(ctx)) add_openconfig(ctx, out, row.config_path, buffer);
    add_openconfig(ctx, out, row.target_path, buffer);
    status = add_openconfig(ctx, out, row.instant_path, buffer);
  }
  TRC(ctx, function, "End");
  return status;
}

// Selects the amplifier entry of a port in a read of state; YMAP_SKIP_NODE when the request names another
// one.
verrno select_amplifier(yfw_map_ctx *ctx, vidl_yfw_datatree *out, const char *amplifier_name,
                        const char *function) {
  char key[name_size] = {};
  find_requested_name(ctx, key);
  TRC(ctx, function, "reg_dup_datatree key: %s", key);
  if (key[0] != '\0' && std::strcmp(key, amplifier_name) != 0) {
    ERR(ctx, function, "amplifier_name [%s] does not match with key [%s], discard it!", amplifier_name, key);
    return YMAP_SKIP_NODE;
  }
  return yfw_map_search_or_add_list(ctx, out, &state_of(ctx).plist, OC_AMPLIFIER, amplifier_name, "name",
                                    YMAP_NS_OPENCONFIG);
}

}  // namespace

extern "C" {

// /ots-oper/ots-ports/ots-port: ports without an amplifier are dropped.
verrno YMAP_NO_OTS_OPER(list_lvla_otsoper_otsports_otsport)(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                                            vidl_yfw_datatree *out) {
  assert(NULL != ctx);
  TRC(ctx, __func__, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, __func__);

  const char *controller_name = nullptr;
  verrno status = yfw_map_get_node_info(ctx, "/ots-oper/ots-ports/ots-port", "name", &controller_name);
  if (controller_name == nullptr) {
    TRC(ctx, __func__, "ERROR controller_name is NULL");
    TRC(ctx, __func__, "End");
    return YMAP_SKIP_NODE;
  }
  TRC(ctx, __func__, "controller_name: %s", controller_name);
  const bool covered = is_list_requested(ctx);
  char amplifier_name[text_size];
  amplifier_name[0] = '\0';
  if (check_controller_name_ots_is_good(ctx, controller_name, amplifier_name) == 0) {
    TRC(ctx, __func__, "End");
    return YMAP_SKIP_NODE;
  }
  TRC(ctx, __func__, "amplifier_name: %s", amplifier_name);
  if (request_type(ctx) == YMAP_REQ_GET && covered)
    status = select_amplifier(ctx, out, amplifier_name, __func__);
  TRC(ctx, __func__, "End");
  return status;
}

// ots-port/name: config/name and state/name.
verrno oper_name_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  assert(NULL != ctx);
  TRC(ctx, __func__, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, __func__);

  const bool covered = is_list_requested(ctx);
  const char *value = value_of(node);
  if (value != nullptr) TRC(ctx, __func__, "vidl_yfw_datatree_get_data(input): %s", value);
  char amplifier_name[text_size];
  amplifier_name[0] = '\0';
  if (!covered || value == nullptr || check_controller_name_ots_is_good(ctx, value, amplifier_name) == 0) {
    TRC(ctx, __func__, "End");
    return YMAP_OK;
  }
  verrno status = YMAP_OK;
  if (!is_config_suppressed(ctx)) status = add_openconfig(ctx, out, OC_CONFIG "name", amplifier_name);
  if (request_type(ctx) == YMAP_REQ_GET) {
    TRC(ctx, __func__, "Get request oper_name_to_high");
    TRC(ctx, __func__, "amplifier_key = %s", amplifier_name);
    status = add_openconfig(ctx, out, OC_STATE "name", amplifier_name);
  }
  TRC(ctx, __func__, "End");
  return status;
}

// ots-info/ingress-ampli-gain and the like: config, state and the instant value.
YMAP_ROW_FUNCTION(oper_target_gain_ingress_to_high, OperatingTenths, operating_to_high, GAIN(Side::ingress))
YMAP_ROW_FUNCTION(oper_target_gain_egress_to_high, OperatingTenths, operating_to_high, GAIN(Side::egress))
YMAP_ROW_FUNCTION(oper_target_gain_tilt_ingress_to_high, OperatingTenths, operating_to_high,
                  TILT(Side::ingress))
YMAP_ROW_FUNCTION(oper_target_gain_tilt_egress_to_high, OperatingTenths, operating_to_high,
                  TILT(Side::egress))

const char *oper_gain_range_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  return gain_range_to_high(ctx, node, out, __func__);
}

const char *oper_enabled_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  return inverse_of(ctx, node, out, __func__);
}

// ots-info/ingress-ampli-gain-range, ots-info/egress-ampli-gain-range
YMAP_WORD_LEAF(YMAP_NO_OTS_OPER(leaf_lvla_otsoper_otsinfo_ingressampligainrange), Side::ingress,
               oper_gain_range_to_high, "gain-range")
YMAP_WORD_LEAF(YMAP_NO_OTS_OPER(leaf_lvla_otsoper_otsinfo_egressampligainrange), Side::egress,
               oper_gain_range_to_high, "gain-range")

// ots-info/ingress-ampli-osri, ots-info/egress-ampli-osri
YMAP_WORD_LEAF(YMAP_NO_OTS_OPER(leaf_lvla_otsoper_otsinfo_ingressampliosri), Side::ingress,
               oper_enabled_to_high, "enabled")
YMAP_WORD_LEAF(YMAP_NO_OTS_OPER(leaf_lvla_otsoper_otsinfo_egressampliosri), Side::egress,
               oper_enabled_to_high, "enabled")

}  // extern "C"
