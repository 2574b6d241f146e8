// Generated handlers of the interface configuration.
#include "ymap_oc_amplifier_kva220_velm_nalto_ifmgr_cfg.h"

#include "handlers.h"

#define YMAP_PREFIX ymap_no_oc_amplifier_kva220_velmnaltoifmgrcfg_
#define YMAP_ROWS "ymap_oc_amplifier_kva220_velm_nalto_ifmgr_cfg_auto.def"
#include "define_exports.inc"
