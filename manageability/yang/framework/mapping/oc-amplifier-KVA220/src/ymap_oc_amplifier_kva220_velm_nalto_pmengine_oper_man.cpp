// Hand-written functions of the performance history: which port is which amplifier, and its statistics.
#include <cstring>

#include "native_paths.h"
#include "no_transforms.h"
#include "pm_sides.h"
#include "ymap_oc_amplifier_kva220_velm_nalto_pmengine_oper.h"

namespace {

using namespace ymap;

// What a statistic is written with: a bounded copy of the native text, the native text itself, or the
// interval.
enum class Value { copy, as_is, interval };

struct Statistic {
  Side side;
  Value value;
  const char *path;
};

__attribute__((always_inline)) inline verrno write_statistic(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                                             vidl_yfw_datatree *out, const Statistic &row,
                                                             const char *function) {
  char buffer[text_size];
  buffer[0] = '\0';
  const char *value = buffer;
  if (row.value == Value::as_is) value = vidl_yfw_datatree_get_data(node);
  if (row.value == Value::copy && value_of(node) != nullptr)
    yfw_strcpy_s(function, buffer, sizeof buffer, value_of(node));

  verrno status = YMAP_OK;
  if (is_side_selected(row.side)) {
    if (row.value == Value::interval) value = oc_interval_to_high(ctx, node, out);
    status = add_openconfig(ctx, out, row.path, value, row.value == Value::copy ? 0 : 1);
  }
  TRC(ctx, function, "End");
  return status;
}

verrno statistic_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out,
                         const Statistic &row, const char *function) {
  assert(NULL != ctx);
  TRC(ctx, function, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, function);
  return write_statistic(ctx, node, out, row, function);
}

}  // namespace

// A transform is a name and the row that it writes.
#define STATISTIC(name, side, value, leaf) \
  YMAP_ROW_FUNCTION(name, Statistic, statistic_to_high, {Side::side, Value::value, OC_STATE leaf})

extern "C" {

STATISTIC(state_actual_gain_interval_to_high, egress, interval, "actual-gain/interval")
STATISTIC(state_actual_gain_min_to_high, egress, copy, "actual-gain/min")
STATISTIC(state_actual_gain_avg_to_high, egress, copy, "actual-gain/avg")
STATISTIC(state_actual_gain_max_to_high, egress, copy, "actual-gain/max")
STATISTIC(state_actual_gain_min_time_to_high, egress, as_is, "actual-gain/min-time")
STATISTIC(state_actual_gain_max_time_to_high, egress, as_is, "actual-gain/max-time")
STATISTIC(state_actual_gain_tilt_interval_to_high, egress, interval, "actual-gain-tilt/interval")
STATISTIC(state_actual_gain_tilt_min_to_high, egress, copy, "actual-gain-tilt/min")
STATISTIC(state_actual_gain_tilt_avg_to_high, egress, copy, "actual-gain-tilt/avg")
STATISTIC(state_actual_gain_tilt_max_to_high, egress, copy, "actual-gain-tilt/max")
STATISTIC(state_actual_gain_tilt_min_time_to_high, egress, as_is, "actual-gain-tilt/min-time")
STATISTIC(state_actual_gain_tilt_max_time_to_high, egress, as_is, "actual-gain-tilt/max-time")
STATISTIC(state_actual_gain_interval_iagn_to_high, ingress, interval, "actual-gain/interval")
STATISTIC(state_actual_gain_min_iagn_to_high, ingress, copy, "actual-gain/min")
STATISTIC(state_actual_gain_avg_iagn_to_high, ingress, copy, "actual-gain/avg")
STATISTIC(state_actual_gain_max_iagn_to_high, ingress, copy, "actual-gain/max")
STATISTIC(state_actual_gain_min_time_iagn_to_high, ingress, as_is, "actual-gain/min-time")
STATISTIC(state_actual_gain_max_time_iagn_to_high, ingress, as_is, "actual-gain/max-time")
STATISTIC(state_actual_gain_tilt_min_iatl_to_high, ingress, copy, "actual-gain-tilt/min")
STATISTIC(state_actual_gain_tilt_avg_iatl_to_high, ingress, copy, "actual-gain-tilt/avg")
STATISTIC(state_actual_gain_tilt_max_iatl_to_high, ingress, copy, "actual-gain-tilt/max")
STATISTIC(state_actual_gain_tilt_min_time_iatl_to_high, ingress, as_is, "actual-gain-tilt/min-time")
STATISTIC(state_actual_gain_tilt_max_time_iatl_to_high, ingress, as_is, "actual-gain-tilt/max-time")

// Alone in its family it leaves the start and the arguments to its leaf handler.
verrno state_actual_gain_tilt_interval_iatl_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                                    vidl_yfw_datatree *out) {
  static constexpr Statistic row = {Side::ingress, Value::interval, OC_STATE "actual-gain-tilt/interval"};
  assert(NULL != ctx);
  return write_statistic(ctx, node, out, row, __func__);
}

const char *oc_interval_to_high(yfw_map_ctx *, vidl_yfw_datatree *, vidl_yfw_datatree *) {
  return "30000000000";  // nanoseconds
}

// optics-port-histories/optics-port-history: ports without an amplifier are dropped.
verrno YMAP_NO_PMENGINE(list_lvla_performancemanagementhistory_opticsporthistories_opticsporthistory)(
    yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  assert(NULL != ctx);
  TRC(ctx, __func__, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, __func__);

  const char *controller_name = nullptr;
  verrno status = yfw_map_get_node_info(ctx, PM_PORT, "name", &controller_name);
  TRC(ctx, __func__, "controller_name: %s", shown(controller_name));
  if (controller_name == nullptr) {
    TRC(ctx, __func__, "ERROR controller_name is NULL");
    TRC(ctx, __func__, "End");
    return YMAP_SKIP_NODE;
  }
  yfw_map_state &state = state_of(ctx);
  yfw_map_print_datatree_internal(ctx, state.plist, "plist");
  const bool in_scope = is_list_requested(ctx);
  char amplifier_name[text_size];
  amplifier_name[0] = '\0';
  const int is_valid = check_controller_name_ots_is_valid(ctx, controller_name, amplifier_name);
  if (in_scope && is_valid == 0) {
    TRC(ctx, __func__, "End");
    return YMAP_SKIP_NODE;
  }
  TRC(ctx, __func__, "amplifier_name: %s", amplifier_name);
  TRC(ctx, __func__, "ampli_request %d, ots_name_is_valid %d", in_scope ? 1 : 0, is_valid);
  if (request_type(ctx) == YMAP_REQ_GET && in_scope && is_valid != 0)
    status = yfw_map_search_or_add_list(ctx, out, &state.plist, OC_AMPLIFIER, amplifier_name, "name",
                                        YMAP_NS_OPENCONFIG);
  TRC(ctx, __func__, "End");
  return status;
}

}  // extern "C"

namespace ymap {

// eatl/max-time
verrno max_time_then_turn_sides(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  const verrno status = state_actual_gain_tilt_max_time_to_high(ctx, node, out);
  if (amp_key_pre != nullptr) std::memcpy(amp_key_pre, "pre", sizeof "pre");
  if (amp_key_bst != nullptr) amp_key_bst[0] = '\0';
  return status;
}

}  // namespace ymap
