// Generated handlers of the OTS operational data.
#include "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_oper.h"

#include "handlers.h"

#define YMAP_PREFIX ymap_no_oc_amplifier_kva220_velmnaltocontrollerotsoper_
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_oper_auto.def"
#include "define_exports.inc"
