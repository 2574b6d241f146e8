// The performance history, as its walkers see it: one row a node, from the leaves up.
#include "ymap_oc_amplifier_kva220_velm_nalto_pmengine_oper.h"

#include "native_paths.h"
#include "no_rows.h"

#define YMAP_PREFIX ymap_no_oc_amplifier_kva220_velmnaltopmengineoper_
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_pmengine_oper_parser.def"
#include "define_exports.inc"

#define YMAP_NO(word) YMAP_NO_PMENGINE(word)

namespace {

using ymap::NoRow;

constexpr ymap::NoModule module = {YMAP_NS_PMENGINE_OPER, true};

constexpr NoRow eagn_rows[] = {
    NO_LEAF("valid", lvla_performancemanagementhistory_eagn_valid),
    NO_LEAF("minimum", lvla_performancemanagementhistory_eagn_minimum),
    NO_LEAF("average", lvla_performancemanagementhistory_eagn_average),
    NO_LEAF("maximum", lvla_performancemanagementhistory_eagn_maximum),
    NO_LEAF("min-time", lvla_performancemanagementhistory_eagn_mintime),
    NO_LEAF("max-time", lvla_performancemanagementhistory_eagn_maxtime),
};

constexpr NoRow eatl_rows[] = {
    NO_LEAF("valid", lvla_performancemanagementhistory_eatl_valid),
    NO_LEAF("minimum", lvla_performancemanagementhistory_eatl_minimum),
    NO_LEAF("average", lvla_performancemanagementhistory_eatl_average),
    NO_LEAF("maximum", lvla_performancemanagementhistory_eatl_maximum),
    NO_LEAF("min-time", lvla_performancemanagementhistory_eatl_mintime),
    NO_LEAF("max-time", lvla_performancemanagementhistory_eatl_maxtime),
};

constexpr NoRow iagn_rows[] = {
    NO_LEAF("valid", lvla_performancemanagementhistory_iagn_valid),
    NO_LEAF("minimum", lvla_performancemanagementhistory_iagn_minimum),
    NO_LEAF("average", lvla_performancemanagementhistory_iagn_average),
    NO_LEAF("maximum", lvla_performancemanagementhistory_iagn_maximum),
    NO_LEAF("min-time", lvla_performancemanagementhistory_iagn_mintime),
    NO_LEAF("max-time", lvla_performancemanagementhistory_iagn_maxtime),
};

constexpr NoRow iatl_rows[] = {
    NO_LEAF("valid", lvla_performancemanagementhistory_iatl_valid),
    NO_LEAF("minimum", lvla_performancemanagementhistory_iatl_minimum),
    NO_LEAF("average", lvla_performancemanagementhistory_iatl_average),
    NO_LEAF("maximum", lvla_performancemanagementhistory_iatl_maximum),
    NO_LEAF("min-time", lvla_performancemanagementhistory_iatl_mintime),
    NO_LEAF("max-time", lvla_performancemanagementhistory_iatl_maxtime),
};

constexpr NoRow bucket_rows[] = {
    NO_CONTAINER("eagn", lvla_performancemanagementhistory_opticssecond30opticstimelineinstance_eagn,
                 eagn_rows),
    NO_CONTAINER("eatl", lvla_performancemanagementhistory_opticssecond30opticstimelineinstance_eatl,
                 eatl_rows),
    NO_CONTAINER("iagn", lvla_performancemanagementhistory_opticssecond30opticstimelineinstance_iagn,
                 iagn_rows),
    NO_CONTAINER("iatl", lvla_performancemanagementhistory_opticssecond30opticstimelineinstance_iatl,
                 iatl_rows),
};

constexpr const char *number_keys[] = {"number", nullptr};
constexpr NoRow buckets_rows[] = {
    NO_ENTRY(
        "optics-second30-optics-time-line-instance",
        lvla_performancemanagementhistory_opticssecond30opticstimelineinstances_opticssecond30opticstimelineinstance,
        PM_BUCKET, number_keys, bucket_rows),
};

constexpr NoRow history_rows[] = {
    NO_CONTAINER(
        "optics-second30-optics-time-line-instances",
        lvla_performancemanagementhistory_opticssecond30opticshistory_opticssecond30opticstimelineinstances,
        buckets_rows),
};

constexpr NoRow histories_rows[] = {
    NO_ENTRY("optics-second30-optics-history",
             lvla_performancemanagementhistory_opticssecond30opticshistories_opticssecond30opticshistory,
             PM_HISTORY, number_keys, history_rows),
};

constexpr NoRow second30_rows[] = {
    NO_CONTAINER("optics-second30-optics-histories",
                 lvla_performancemanagementhistory_opticssecond30history_opticssecond30opticshistories,
                 histories_rows),
};

constexpr NoRow port_rows[] = {
    NO_CONTAINER("optics-second30-history",
                 lvla_performancemanagementhistory_opticsporthistory_opticssecond30history, second30_rows),
};

constexpr const char *name_keys[] = {"name", nullptr};
constexpr NoRow ports_rows[] = {
    NO_ENTRY("optics-port-history", lvla_performancemanagementhistory_opticsporthistories_opticsporthistory,
             PM_PORT, name_keys, port_rows),
};

constexpr NoRow optics_history_rows[] = {
    NO_CONTAINER("optics-port-histories", lvla_performancemanagementhistory_opticshistory_opticsporthistories,
                 ports_rows),
};

constexpr NoRow periodic_rows[] = {
    NO_CONTAINER("optics-history", lvla_performancemanagementhistory_periodic_opticshistory,
                 optics_history_rows),
};

constexpr NoRow global_rows[] = {
    NO_CONTAINER("periodic", lvla_performancemanagementhistory_global_periodic, periodic_rows),
};

constexpr NoRow root_rows[] = {
    NO_CONTAINER("global", lvla_performancemanagementhistory_global, global_rows),
};

constexpr NoRow root =
    NO_CONTAINER("performance-management-history", lvla_performancemanagementhistory, root_rows);

}  // namespace

extern "C" verrno YMAP_NO(lvla_performancemanagementhistory)(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                                             vidl_yfw_datatree *out) {
  return walk_no_container(ctx, root, node, out);
}
