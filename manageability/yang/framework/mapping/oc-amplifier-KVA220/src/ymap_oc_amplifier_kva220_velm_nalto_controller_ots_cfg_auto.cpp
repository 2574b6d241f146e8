// Generated handlers of the OTS configuration.
#include "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_cfg.h"

#include "handlers.h"

#define YMAP_PREFIX ymap_no_oc_amplifier_kva220_velmnaltocontrollerotscfg_
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_cfg_auto.def"
#include "define_exports.inc"
