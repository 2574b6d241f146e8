// Generated handlers of the OpenConfig model, and the selection of operating leaves.
#include "ymap_oc_opt_ampli_openconfig_optical_amplifier.h"

#include "handlers.h"
#include "native_paths.h"
#include "utility.h"

#define YMAP_PREFIX ymap_on_oc_opt_ampli_openconfigopticalamplifier_
#define YMAP_ROWS "ymap_oc_opt_ampli_openconfig_optical_amplifier_auto.def"
#include "define_exports.inc"

namespace {

struct OtsSelection {
  ymap::Side side;
  const char *leaves[4];
};

constexpr OtsSelection selections[] = {
    {ymap::Side::ingress,
     {OTS_INFO "ingress-ampli-gain", OTS_INFO "ingress-ampli-tilt", OTS_INFO "ingress-ampli-gain-range",
      OTS_INFO "ingress-ampli-osri"}},
    {ymap::Side::egress,
     {OTS_INFO "egress-ampli-gain", OTS_INFO "egress-ampli-tilt", OTS_INFO "egress-ampli-gain-range",
      OTS_INFO "egress-ampli-osri"}},
};

}  // namespace

extern "C" void add_ots_select_field(yfw_map_ctx *ctx, vidl_yfw_datatree *source, vidl_yfw_datatree *out,
                                     const char *controller_name) {
  for (const OtsSelection &selection : selections) {
    if (!ymap::is_side_selected(selection.side)) continue;
    ymap::add_path(ctx, out, {.path = OTS_PORT, .ns = YMAP_NS_OTS_OPER, .list_flag = 1});
    ymap::add_path(ctx, out,
                   {.path = OTS_PORT_NAME,
                    .ns = YMAP_NS_OTS_OPER,
                    .value = controller_name,
                    .source = source,
                    .leaf_flag = 1});
    for (const char *leaf : selection.leaves)
      ymap::add_path(ctx, out, {.path = leaf, .ns = YMAP_NS_OTS_OPER, .leaf_flag = 1});
  }
}
