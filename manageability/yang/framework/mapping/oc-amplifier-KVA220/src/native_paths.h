/// \file
/// Paths of the native models that requests are turned into.
#ifndef YMAP_NATIVE_PATHS_H
#define YMAP_NATIVE_PATHS_H

// Interface configuration, keyed by name and `active`, which is always "act".
#define IF_ENTRY "/interface-configurations/interface-configuration"
#define IF_NAME IF_ENTRY "/interface-name"
#define IF_ACTIVE IF_ENTRY "/active"
#define IF_OTS IF_ENTRY "/ots/"

// Operating values of an OTS port.
#define OTS_PORT "/ots-oper/ots-ports/ots-port"
#define OTS_PORT_NAME OTS_PORT "/name"
#define OTS_INFO OTS_PORT "/ots-info/"

// 30-second performance history of a port. History and bucket number 1 are the last complete ones.
#define PM_PORT \
  "/performance-management-history/global/periodic/optics-history/optics-port-histories/optics-port-history"
#define PM_PORT_NAME PM_PORT "/name"
#define PM_HISTORY \
  PM_PORT "/optics-second30-history/optics-second30-optics-histories/optics-second30-optics-history"
#define PM_HISTORY_NUMBER PM_HISTORY "/number"
#define PM_BUCKET \
  PM_HISTORY "/optics-second30-optics-time-line-instances/optics-second30-optics-time-line-instance"
#define PM_BUCKET_NUMBER PM_BUCKET "/number"

#endif  // YMAP_NATIVE_PATHS_H
