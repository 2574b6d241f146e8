// What the runtime must know of the optical amplifier plug-in.
#include "plugin.hpp"

namespace yfw {

const Registration &optical_amplifier() {
  static const Registration registration{
      .library = "libymap_oc_amplifier_kva220.so",
      .on_prefix = "ymap_on_oc_opt_ampli_",
      .no_prefix = "ymap_no_oc_amplifier_kva220_",
      .openconfig_module = "openconfig-optical-amplifier",
      .openconfig_ns = YMAP_NS_OPENCONFIG,
      .top = "optical-amplifier",
      .list_container = "amplifiers",
      .list = "amplifier",
      .key = "name",
      .config = "config",
      .instances = {"0/0-AMP-PRE0", "0/0-AMP-BST0", "0/0-AMP-BST2"},
      .native_modules =
          {
              {"Velm-NALTO-ifmgr-cfg",
               YMAP_NS_IFMGR_CFG,
               {"interface-configurations", "global-interface-configuration"}},
              {"Velm-NALTO-controller-ots-oper", YMAP_NS_OTS_OPER, {"ots-oper"}},
              {"Velm-NALTO-pmengine-oper", YMAP_NS_PMENGINE_OPER, {"performance-management-history"}},
          },
  };
  return registration;
}

}  // namespace yfw
