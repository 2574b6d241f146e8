/// \file
/// SetRequest as one edit of the device.
#pragma once

#include "gnmi.pb.h"
#include "openconfig_request.hpp"
#include "schema.hpp"

namespace ymap::telemetry {

/// Deletes, replaces and updates in that order, as one edit: where one is of a node that another is of, or
/// below it, the edit is what they come to. Throws RpcError.
Request edit_of(const Schema &schema, const ::gnmi::SetRequest &request);

/// What became of it, operation by operation; `time` is when it was done, nanoseconds since the epoch.
::gnmi::SetResponse set_response(const ::gnmi::SetRequest &request, int64_t time);

}  // namespace ymap::telemetry
