/// \file
/// OTS operational data to OpenConfig amplifier entries and operating values: every exported name of the
/// module.
///
/// Walkers, handlers and transforms take (ctx, node, out) and return a status: the context, the native node
/// and the OpenConfig output tree. Container handlers take the number of children before `out`.
#ifndef YMAP_OC_AMPLIFIER_KVA220_VELM_NALTO_CONTROLLER_OTS_OPER_H
#define YMAP_OC_AMPLIFIER_KVA220_VELM_NALTO_CONTROLLER_OTS_OPER_H

#include "exports.h"

#define YMAP_NO_OTS_OPER(name) YMAP_JOIN(ymap_no_oc_amplifier_kva220_velmnaltocontrollerotsoper_, name)

extern "C" {

#define YMAP_PREFIX ymap_no_oc_amplifier_kva220_velmnaltocontrollerotsoper_
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_oper_parser.def"
#include "declare_exports.inc"
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_oper_auto.def"
#include "declare_exports.inc"
#undef YMAP_PREFIX

/// The entry point: the top container of the module.
YMAP_EXPORT ymap::NodeFunction YMAP_NO_OTS_OPER(lvla_otsoper);

YMAP_EXPORT ymap::NodeFunction oper_name_to_high;
YMAP_EXPORT ymap::NodeFunction oper_target_gain_ingress_to_high;
YMAP_EXPORT ymap::NodeFunction oper_target_gain_egress_to_high;
YMAP_EXPORT ymap::NodeFunction oper_target_gain_tilt_ingress_to_high;
YMAP_EXPORT ymap::NodeFunction oper_target_gain_tilt_egress_to_high;

// The texts are constants or NULL.
YMAP_EXPORT ymap::TextFunction oper_gain_range_to_high;
YMAP_EXPORT ymap::TextFunction oper_enabled_to_high;

}  // extern "C"

#endif  // YMAP_OC_AMPLIFIER_KVA220_VELM_NALTO_CONTROLLER_OTS_OPER_H
