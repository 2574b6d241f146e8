/// \file
/// OTS controller configuration to OpenConfig `config` and `state` leaves: every exported name of the module.
///
/// Walkers, handlers and transforms take (ctx, node, out) and return a status: the context, the native node
/// and the OpenConfig output tree. Container handlers take the number of children before `out`.
#ifndef YMAP_OC_AMPLIFIER_KVA220_VELM_NALTO_CONTROLLER_OTS_CFG_H
#define YMAP_OC_AMPLIFIER_KVA220_VELM_NALTO_CONTROLLER_OTS_CFG_H

#include "exports.h"

#define YMAP_NO_OTS_CFG(name) YMAP_JOIN(ymap_no_oc_amplifier_kva220_velmnaltocontrollerotscfg_, name)

extern "C" {

#define YMAP_PREFIX ymap_no_oc_amplifier_kva220_velmnaltocontrollerotscfg_
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_cfg_parser.def"
#include "declare_exports.inc"
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_cfg_auto.def"
#include "declare_exports.inc"
#undef YMAP_PREFIX

/// The entry for the children of an interface configuration that are in this module's namespace.
YMAP_EXPORT ymap::NodeFunction YMAP_NO_OTS_CFG(augment_lvla_interface_configuration);

YMAP_EXPORT ymap::NodeFunction cfg_target_gain_ingress_to_high;
YMAP_EXPORT ymap::NodeFunction cfg_target_gain_egress_to_high;
YMAP_EXPORT ymap::NodeFunction cfg_target_gain_tilt_ingress_to_high;
YMAP_EXPORT ymap::NodeFunction cfg_target_gain_tilt_egress_to_high;

// The texts are constants or NULL.
YMAP_EXPORT ymap::TextFunction cfg_enabled_to_high;
YMAP_EXPORT ymap::TextFunction cfg_gain_range_to_high;

}  // extern "C"

#endif  // YMAP_OC_AMPLIFIER_KVA220_VELM_NALTO_CONTROLLER_OTS_CFG_H
