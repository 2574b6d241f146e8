/// \file
/// 30-second performance history to OpenConfig statistics: every exported name of the module.
///
/// Walkers, handlers and transforms take (ctx, node, out) and return a status: the context, the native node
/// and the OpenConfig output tree. Container handlers take the number of children before `out`.
#ifndef YMAP_OC_AMPLIFIER_KVA220_VELM_NALTO_PMENGINE_OPER_H
#define YMAP_OC_AMPLIFIER_KVA220_VELM_NALTO_PMENGINE_OPER_H

#include "exports.h"

#define YMAP_NO_PMENGINE(name) YMAP_JOIN(ymap_no_oc_amplifier_kva220_velmnaltopmengineoper_, name)

extern "C" {

#define YMAP_PREFIX ymap_no_oc_amplifier_kva220_velmnaltopmengineoper_
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_pmengine_oper_parser.def"
#include "declare_exports.inc"
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_pmengine_oper_auto.def"
#include "declare_exports.inc"
#undef YMAP_PREFIX

/// The entry point: the top container of the module.
YMAP_EXPORT ymap::NodeFunction YMAP_NO_PMENGINE(lvla_performancemanagementhistory);

/// The OpenConfig interval of every statistic: 30 seconds in nanoseconds, the length of the native buckets.
/// The text lives in one buffer; the arguments are not used.
YMAP_EXPORT const char *oc_interval_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                            vidl_yfw_datatree *out);

// Egress gain.
YMAP_EXPORT ymap::NodeFunction state_actual_gain_interval_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_min_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_avg_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_max_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_min_time_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_max_time_to_high;

// Egress tilt.
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_interval_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_min_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_avg_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_max_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_min_time_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_max_time_to_high;

// Ingress gain.
YMAP_EXPORT ymap::NodeFunction state_actual_gain_interval_iagn_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_min_iagn_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_avg_iagn_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_max_iagn_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_min_time_iagn_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_max_time_iagn_to_high;

// Ingress tilt.
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_interval_iatl_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_min_iatl_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_avg_iatl_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_max_iatl_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_min_time_iatl_to_high;
YMAP_EXPORT ymap::NodeFunction state_actual_gain_tilt_max_time_iatl_to_high;

}  // extern "C"

#endif  // YMAP_OC_AMPLIFIER_KVA220_VELM_NALTO_PMENGINE_OPER_H
