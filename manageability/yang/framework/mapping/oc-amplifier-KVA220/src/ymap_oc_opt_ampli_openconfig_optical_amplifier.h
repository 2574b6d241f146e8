/// \file
/// OpenConfig optical amplifier requests to native requests: every exported name of the module.
///
/// Walkers, handlers and transforms take (ctx, node, out) and return a status: the context, the request node
/// and the native output tree. Container handlers take the number of children before `out`.
#ifndef YMAP_OC_OPT_AMPLI_OPENCONFIG_OPTICAL_AMPLIFIER_H
#define YMAP_OC_OPT_AMPLI_OPENCONFIG_OPTICAL_AMPLIFIER_H

#include "exports.h"

#define YMAP_ON(name) YMAP_JOIN(ymap_on_oc_opt_ampli_openconfigopticalamplifier_, name)

extern "C" {

/// The only entry point of this direction: walks a request from its top container `optical-amplifier`.
YMAP_EXPORT ymap::NodeFunction YMAP_ON(lvla_opticalamplifier);

#define YMAP_PREFIX ymap_on_oc_opt_ampli_openconfigopticalamplifier_
#define YMAP_ROWS "ymap_oc_opt_ampli_openconfig_optical_amplifier_parser.def"
#include "declare_exports.inc"
#define YMAP_ROWS "ymap_oc_opt_ampli_openconfig_optical_amplifier_auto.def"
#include "declare_exports.inc"
#undef YMAP_PREFIX

/// Selects the four operating leaves of every selected side of a controller's OTS port.
YMAP_EXPORT void add_ots_select_field(yfw_map_ctx *ctx, vidl_yfw_datatree *source, vidl_yfw_datatree *out,
                                      const char *controller_name);

// The list entry and the names.
YMAP_EXPORT ymap::NodeFunction amplifier_list_to_low;
YMAP_EXPORT ymap::NodeFunction name_to_low;
YMAP_EXPORT ymap::NodeFunction cfg_name_to_low;
YMAP_EXPORT ymap::NodeFunction oper_name_to_low;

// Configuration leaves. The two texts are constants or NULL.
YMAP_EXPORT ymap::NodeFunction cfg_target_gain_to_low;
YMAP_EXPORT ymap::NodeFunction cfg_target_gain_tilt_to_low;
YMAP_EXPORT ymap::TextFunction cfg_gain_range_to_low;
YMAP_EXPORT ymap::TextFunction cfg_enabled_to_low;

// State leaves. The two texts are constants or NULL.
YMAP_EXPORT ymap::NodeFunction oper_target_gain_to_low;
YMAP_EXPORT ymap::NodeFunction oper_target_gain_tilt_to_low;
YMAP_EXPORT ymap::TextFunction oper_gain_range_to_low;
YMAP_EXPORT ymap::TextFunction oper_enabled_to_low;
YMAP_EXPORT ymap::NodeFunction oper_actual_gain_instant_to_low;
YMAP_EXPORT ymap::NodeFunction oper_actual_gain_tilt_instant_to_low;

// 30-second statistics.
YMAP_EXPORT ymap::NodeFunction state_actual_gain_avg_to_low;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_min_to_low;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_max_to_low;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_interval_to_low;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_min_time_to_low;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_max_time_to_low;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_avg_to_low;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_min_to_low;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_max_to_low;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_interval_to_low;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_min_time_to_low;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_max_time_to_low;

}  // extern "C"

#endif  // YMAP_OC_OPT_AMPLI_OPENCONFIG_OPTICAL_AMPLIFIER_H
