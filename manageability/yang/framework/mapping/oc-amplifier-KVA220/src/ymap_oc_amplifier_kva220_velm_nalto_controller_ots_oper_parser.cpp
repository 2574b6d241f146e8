// The OTS operational data, as its walkers see it: one row a node, from the leaves up.
#include "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_oper.h"

#include "no_rows.h"

#define YMAP_PREFIX ymap_no_oc_amplifier_kva220_velmnaltocontrollerotsoper_
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_oper_parser.def"
#include "define_exports.inc"

#define YMAP_NO(word) YMAP_NO_OTS_OPER(word)

namespace {

using ymap::NoRow;

constexpr ymap::NoModule module = {YMAP_NS_OTS_OPER, true};

constexpr NoRow ots_info_rows[] = {
    NO_LEAF("ingress-ampli-gain", lvla_otsoper_otsinfo_ingressampligain),
    NO_LEAF("ingress-ampli-tilt", lvla_otsoper_otsinfo_ingressamplitilt),
    NO_LEAF("ingress-ampli-gain-range", lvla_otsoper_otsinfo_ingressampligainrange),
    NO_LEAF("egress-ampli-gain", lvla_otsoper_otsinfo_egressampligain),
    NO_LEAF("egress-ampli-tilt", lvla_otsoper_otsinfo_egressamplitilt),
    NO_LEAF("egress-ampli-gain-range", lvla_otsoper_otsinfo_egressampligainrange),
    NO_LEAF("ingress-ampli-osri", lvla_otsoper_otsinfo_ingressampliosri),
    NO_LEAF("egress-ampli-osri", lvla_otsoper_otsinfo_egressampliosri),
};

constexpr NoRow ots_port_rows[] = {
    NO_CONTAINER("ots-info", lvla_otsoper_otsport_otsinfo, ots_info_rows),
    NO_KEY("name", lvla_otsoper_otsport_name),
};

constexpr const char *ots_port_keys[] = {"name", nullptr};
constexpr NoRow ots_ports_rows[] = {
    NO_ENTRY("ots-port", lvla_otsoper_otsports_otsport, "/ots-oper/ots-ports/ots-port", ots_port_keys,
             ots_port_rows),
};

constexpr NoRow ots_oper_rows[] = {
    NO_CONTAINER("ots-ports", lvla_otsoper_otsports, ots_ports_rows),
};

constexpr NoRow ots_oper = NO_CONTAINER("ots-oper", lvla_otsoper, ots_oper_rows);

}  // namespace

extern "C" verrno YMAP_NO(lvla_otsoper)(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  return walk_no_container(ctx, ots_oper, node, out);
}
