/// \file
/// The gNMI server as a process.
#pragma once

#include "options.hpp"
#include "session.hpp"

namespace ymap::telemetry {

/// Serves until SIGTERM or SIGINT; SIGHUP has it read its file of options again. Returns the exit status.
/// Throws UsageError where it cannot begin.
int serve(Session &session, const Options &options);

}  // namespace ymap::telemetry
