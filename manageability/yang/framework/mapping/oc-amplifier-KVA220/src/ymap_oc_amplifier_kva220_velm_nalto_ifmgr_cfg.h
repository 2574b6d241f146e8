/// \file
/// Interface configuration to OpenConfig amplifier entries and names: every exported name of the module.
///
/// Walkers, handlers and transforms take (ctx, node, out) and return a status: the context, the native node
/// and the OpenConfig output tree. Container handlers take the number of children before `out`.
#ifndef YMAP_OC_AMPLIFIER_KVA220_VELM_NALTO_IFMGR_CFG_H
#define YMAP_OC_AMPLIFIER_KVA220_VELM_NALTO_IFMGR_CFG_H

#include "exports.h"

#define YMAP_NO_IFMGR(name) YMAP_JOIN(ymap_no_oc_amplifier_kva220_velmnaltoifmgrcfg_, name)

extern "C" {

#define YMAP_PREFIX ymap_no_oc_amplifier_kva220_velmnaltoifmgrcfg_
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_ifmgr_cfg_parser.def"
#include "declare_exports.inc"
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_ifmgr_cfg_auto.def"
#include "declare_exports.inc"
#undef YMAP_PREFIX

/// The two entry points: the top containers of the module.
YMAP_EXPORT ymap::NodeFunction YMAP_NO_IFMGR(lvla_globalinterfaceconfiguration);
YMAP_EXPORT ymap::NodeFunction YMAP_NO_IFMGR(lvla_interfaceconfigurations);

YMAP_EXPORT ymap::NodeFunction amplifier_list_to_high;
YMAP_EXPORT ymap::NodeFunction name_to_high;

}  // extern "C"

#endif  // YMAP_OC_AMPLIFIER_KVA220_VELM_NALTO_IFMGR_CFG_H
