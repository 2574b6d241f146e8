// Hand-written transforms of the OpenConfig direction: the leaves of `state` and its statistics. They select
// what a read of state needs and add nothing to edits.
#include "native_paths.h"
#include "trace.h"
#include "utility.h"
#include "words.h"
#include "ymap_oc_opt_ampli_openconfig_optical_amplifier.h"

namespace {

using namespace ymap;

// Which native leaf of either side is selected.
struct Selection {
  const char *ns;
  const char *ingress;
  const char *egress;
  bool adds_port = false;        // an instant value selects its port first, in every request type
  TextFunction *word = nullptr;  // maps the value, if the leaf carries one that selects
};

verrno select_sides(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out, const Selection &row,
                    const char *function) {
  assert(NULL != ctx);
  TRC(ctx, function, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, function);

  verrno status = YMAP_OK;
  if (row.adds_port) status = add_path(ctx, out, {.path = OTS_PORT, .ns = row.ns});
  if (is_read(request_type(ctx))) {
    for (const Side side : both_sides) {
      if (!is_side_named(side)) continue;
      status = add_path(ctx, out,
                        {.path = side == Side::ingress ? row.ingress : row.egress,
                         .ns = row.ns,
                         .value = row.word != nullptr ? row.word(ctx, node, out) : nullptr});
    }
  }
  TRC(ctx, function, "End");
  return status;
}

}  // namespace

// An operating value of the port, and a 30-second statistic: leaf names without their side.
#define OPERATING(leaf, ...)                                     \
  {                                                              \
    YMAP_NS_OTS_OPER, OTS_INFO "ingress-ampli-" leaf,            \
        OTS_INFO "egress-ampli-" leaf __VA_OPT__(, ) __VA_ARGS__ \
  }
#define STATISTIC(ingress, egress, item) \
  { YMAP_NS_PMENGINE_OPER, PM_BUCKET "/" ingress "/" item, PM_BUCKET "/" egress "/" item }

// A transform or handler is a name and the row that it selects.
#define SELECTS(name, ...)                                                         \
  verrno name(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) { \
    static constexpr Selection row = __VA_ARGS__;                                  \
    return select_sides(ctx, node, out, row, __func__);                            \
  }

extern "C" {

SELECTS(oper_target_gain_to_low, OPERATING("gain"))
SELECTS(oper_target_gain_tilt_to_low, OPERATING("tilt"))
SELECTS(oper_actual_gain_instant_to_low, OPERATING("gain", true))
SELECTS(oper_actual_gain_tilt_instant_to_low, OPERATING("tilt", true))
SELECTS(YMAP_ON(leaf_lvla_opticalamplifier_state_gainrange),
        OPERATING("gain-range", false, oper_gain_range_to_low))
SELECTS(YMAP_ON(leaf_lvla_opticalamplifier_state_enabled), OPERATING("osri", false, oper_enabled_to_low))

SELECTS(state_actual_gain_avg_to_low, STATISTIC("iagn", "eagn", "average"))
SELECTS(state_actual_gain_min_to_low, STATISTIC("iagn", "eagn", "minimum"))
SELECTS(state_actual_gain_max_to_low, STATISTIC("iagn", "eagn", "maximum"))
SELECTS(state_actual_gain_interval_to_low, STATISTIC("iagn", "eagn", "valid"))
SELECTS(state_actual_gain_min_time_to_low, STATISTIC("iagn", "eagn", "min-time"))
SELECTS(state_actual_gain_max_time_to_low, STATISTIC("iagn", "eagn", "max-time"))
SELECTS(state_actual_gain_tilt_avg_to_low, STATISTIC("iatl", "eatl", "average"))
SELECTS(state_actual_gain_tilt_min_to_low, STATISTIC("iatl", "eatl", "minimum"))
SELECTS(state_actual_gain_tilt_max_to_low, STATISTIC("iatl", "eatl", "maximum"))
SELECTS(state_actual_gain_tilt_interval_to_low, STATISTIC("iatl", "eatl", "valid"))
SELECTS(state_actual_gain_tilt_min_time_to_low, STATISTIC("iatl", "eatl", "min-time"))
SELECTS(state_actual_gain_tilt_max_time_to_low, STATISTIC("iatl", "eatl", "max-time"))

// state/gain-range, as a value that selects: as in config.
const char *oper_gain_range_to_low(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  return gain_range_to_low(ctx, node, out, __func__);
}

// state/enabled: the inverse of the native OSRI switch; unlike in config, every word but "true" counts as
// false.
const char *oper_enabled_to_low(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  return inverse_of(ctx, node, out, __func__);
}

// state/name: the key of the OTS port. The form of the name is not checked.
verrno oper_name_to_low(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  assert(NULL != ctx);
  TRC(ctx, __func__, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, __func__);

  verrno status = YMAP_OK;
  if (vidl_yfw_datatree_has_data(node)) {
    char controller_name[text_size];
    controller_name[0] = '\0';
    const char *name = vidl_yfw_datatree_get_data(node);
    ampli_key_to_ots_ctrl_key(name, controller_name);
    TRC(ctx, __func__, "amplifier_name = %s", shown(name));
    TRC(ctx, __func__, "controller_name = %s", controller_name);
    if (is_read(request_type(ctx))) {
      TRC(ctx, __func__, "oper_name_to_low");
      status = add_path(ctx, out, {.path = OTS_PORT_NAME, .ns = YMAP_NS_OTS_OPER, .value = controller_name});
    }
  }
  TRC(ctx, __func__, "End");
  return status;
}

}  // extern "C"
