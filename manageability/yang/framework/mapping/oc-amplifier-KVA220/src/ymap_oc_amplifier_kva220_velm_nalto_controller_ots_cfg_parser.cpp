// The OTS configuration, as its walkers see it: one row a node, from the leaves up.
#include "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_cfg.h"

#include "no_rows.h"

#define YMAP_PREFIX ymap_no_oc_amplifier_kva220_velmnaltocontrollerotscfg_
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_cfg_parser.def"
#include "define_exports.inc"

#define YMAP_NO(word) YMAP_NO_OTS_CFG(word)

namespace {

using ymap::no_rows;
using ymap::NoRow;

constexpr ymap::NoModule module = {YMAP_NS_OTS_CFG, false};

#define OTS_PATH "/a1:interface-configurations/a1:interface-configuration/ots/"

constexpr const char *ingress_channel_slice_attn_keys[] = {"ingress-channel-slice-attn", nullptr};
constexpr NoRow ingress_channel_slice_attns_rows[] = {
    NO_ENTRY("ingress-channel-slice-attn", lvla_ots_ingresschannelsliceattns_ingresschannelsliceattn,
             OTS_PATH "ingress-channel-slice-attns/ingress-channel-slice-attn",
             ingress_channel_slice_attn_keys, no_rows),
};

constexpr const char *raman_tx_power_keys[] = {"raman-tx-power-instance", nullptr};
constexpr NoRow raman_tx_powers_rows[] = {
    NO_ENTRY("raman-tx-power", lvla_ots_ramantxpowers_ramantxpower, OTS_PATH "raman-tx-powers/raman-tx-power",
             raman_tx_power_keys, no_rows),
};

constexpr const char *egress_channel_slice_attn_keys[] = {"egress-channel-slice-attn", nullptr};
constexpr NoRow egress_channel_slice_attns_rows[] = {
    NO_ENTRY("egress-channel-slice-attn", lvla_ots_egresschannelsliceattns_egresschannelsliceattn,
             OTS_PATH "egress-channel-slice-attns/egress-channel-slice-attn", egress_channel_slice_attn_keys,
             no_rows),
};

constexpr NoRow ots_rows[] = {
    NO_CONTAINER("ingress-channel-slice-attns", lvla_ots_ingresschannelsliceattns,
                 ingress_channel_slice_attns_rows),
    NO_CONTAINER("raman-tx-powers", lvla_ots_ramantxpowers, raman_tx_powers_rows),
    NO_CONTAINER("egress-channel-slice-attns", lvla_ots_egresschannelsliceattns,
                 egress_channel_slice_attns_rows),
    NO_LEAF("ots-ingress-amplifier-gain", lvla_ots_otsingressamplifiergain),
    NO_LEAF("ots-ingress-osri", lvla_ots_otsingressosri),
    NO_LEAF("ots-egress-amplifier-tilt", lvla_ots_otsegressamplifiertilt),
    NO_LEAF("ots-egress-amplifier-gain", lvla_ots_otsegressamplifiergain),
    NO_LEAF("ots-egress-osri", lvla_ots_otsegressosri),
    NO_LEAF("ots-egress-amplifier-gain-range", lvla_ots_otsegressamplifiergainrange),
    NO_LEAF("ots-ingress-amplifier-gain-range", lvla_ots_otsingressamplifiergainrange),
    NO_LEAF("ots-ingress-amplifier-tilt", lvla_ots_otsingressamplifiertilt),
};

constexpr NoRow ots = NO_CONTAINER("ots", lvla_ots, ots_rows);

}  // namespace

extern "C" verrno YMAP_NO(augment_lvla_interface_configuration)(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                                                vidl_yfw_datatree *out) {
  return walk_no_augment(ctx, ots, node, out, YMAP_NO(lvla_interface_configuration_parse_augments), __func__);
}
