// Handlers written by hand, as a maintainer would add them: linked with the plug-in's own units they take the
// place of the generated ones, which are weak. Each adds a path of its own.

#include "request.h"
#include "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_cfg.h"
#include "ymap_oc_opt_ampli_openconfig_optical_amplifier.h"

#define STRONG_NODE(name, mark, status)                                        \
  verrno name(yfw_map_ctx *ctx, vidl_yfw_datatree *, vidl_yfw_datatree *out) { \
    ymap::add_path(ctx, out, {.path = mark, .ns = "strong"});                  \
    return status;                                                             \
  }

extern "C" {

STRONG_NODE(YMAP_ON(lvla_opticalamplifier_parse_augments), "augment", YMAP_OK)
STRONG_NODE(YMAP_ON(leaf_lvla_opticalamplifier_state_targetgain), "target-gain", YMAP_OK)
STRONG_NODE(YMAP_NO_OTS_CFG(leaf_lvla_ots_otsingressamplifiergain), "gain", YMAP_OK)
// The generated one is a second name of the generic handler.
STRONG_NODE(YMAP_NO_OTS_CFG(list_lvla_ots_ramantxpowers_ramantxpower), "raman", YMAP_SKIP_NODE)

verrno YMAP_ON(cont_lvla_opticalamplifier_amplifier_config)(yfw_map_ctx *ctx, vidl_yfw_datatree *, uint32_t,
                                                            vidl_yfw_datatree *out) {
  ymap::add_path(ctx, out, {.path = "config", .ns = "strong"});
  return YMAP_SKIP_NODE;
}

}  // extern "C"
