// Generated handlers of the performance history.
#include "pm_sides.h"
#include "ymap_oc_amplifier_kva220_velm_nalto_pmengine_oper.h"

#include "handlers.h"

#define YMAP_PREFIX ymap_no_oc_amplifier_kva220_velmnaltopmengineoper_
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_pmengine_oper_auto.def"
#include "define_exports.inc"
