// The interface configuration, as its walkers see it: one row a node, from the leaves up.
#include "ymap_oc_amplifier_kva220_velm_nalto_ifmgr_cfg.h"

#include "no_rows.h"

#define YMAP_PREFIX ymap_no_oc_amplifier_kva220_velmnaltoifmgrcfg_
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_ifmgr_cfg_parser.def"
#include "define_exports.inc"

#define YMAP_NO(word) YMAP_NO_IFMGR(word)

namespace {

using ymap::no_rows;
using ymap::NoRow;

constexpr ymap::NoModule module = {YMAP_NS_IFMGR_CFG, false};

constexpr const char *mtu_keys[] = {"owner", nullptr};
constexpr NoRow mtus_rows[] = {
    NO_ENTRY("mtu", lvla_interfaceconfigurations_mtus_mtu,
             "/interface-configurations/interface-configuration/mtus/mtu", mtu_keys, no_rows),
};

constexpr NoRow interface_configuration_rows[] = {
    NO_CONTAINER("dampening", lvla_interfaceconfigurations_interfaceconfiguration_dampening, no_rows),
    NO_CONTAINER("mtus", lvla_interfaceconfigurations_interfaceconfiguration_mtus, mtus_rows),
    NO_CONTAINER("encapsulation", lvla_interfaceconfigurations_interfaceconfiguration_encapsulation, no_rows),
    NO_KEY("interface-name", lvla_interfaceconfigurations_interfaceconfiguration_interfacename),
};

constexpr const char *interface_configuration_keys[] = {"active", "interface-name", nullptr};
constexpr NoRow interface_configurations_rows[] = {
    NO_ENTRY("interface-configuration", lvla_interfaceconfigurations_interfaceconfiguration,
             "/interface-configurations/interface-configuration", interface_configuration_keys,
             interface_configuration_rows),
};

constexpr NoRow interface_configurations =
    NO_CONTAINER("interface-configurations", lvla_interfaceconfigurations, interface_configurations_rows);
constexpr NoRow global_interface_configuration =
    NO_CONTAINER("global-interface-configuration", lvla_globalinterfaceconfiguration, no_rows);

}  // namespace

extern "C" {

verrno YMAP_NO(lvla_interfaceconfigurations)(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                             vidl_yfw_datatree *out) {
  return walk_no_container(ctx, interface_configurations, node, out);
}

verrno YMAP_NO(lvla_globalinterfaceconfiguration)(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                                  vidl_yfw_datatree *out) {
  return walk_no_container(ctx, global_interface_configuration, node, out);
}

}  // extern "C"
