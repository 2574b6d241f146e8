/// \file
/// The subcommands.
#pragma once

#include <stdexcept>

#include "options.hpp"
#include "rpc_error.hpp"

namespace ymap {

/// Exit statuses.
inline constexpr int kDone = 0;
inline constexpr int kRefused = 1;
inline constexpr int kUnusable = 2;  ///< wrong usage, a broken device folder or installation

/// Runs the subcommand: results on standard output, all else on standard error. Returns the exit status.
/// Throws RpcError, UsageError, device::FolderError.
int run_command(const Options &options);

/// A refusal for a person, one line: "<tag> at <path>: <message>".
std::string describe(const Fault &fault);

}  // namespace ymap
