/// \file
/// The subcommands.
#pragma once

#include <functional>

#include "options.hpp"
#include "rpc_error.hpp"
#include "session.hpp"

namespace ymap {

/// Exit statuses.
inline constexpr int kDone = 0;
inline constexpr int kRefused = 1;
inline constexpr int kUnusable = 2;  ///< wrong usage, a broken device folder or installation

/// Runs a request at a device, wherever that is. Throws as Session::run().
using Run = std::function<Answer(const Request &)>;

/// What the programs of own_program() add to the tool. The other commands run in them as in any.
struct OwnCommands {
  int (*gnmi)(Session &session, const Options &options) = nullptr;
  int (*watch)(const Schema &schema, const Run &run, const Options &options) = nullptr;
};

/// main() of the tool.
int run_tool(int argc, char **argv, const OwnCommands &own = {});

/// Runs the subcommand: results on standard output, all else on standard error. Returns the exit status.
/// Throws RpcError, UsageError, device::FolderError.
int run_command(const Options &options, const OwnCommands &own = {});

/// A refusal for a person, one line: "<tag> at <path>: <message>".
std::string describe(const Fault &fault);

}  // namespace ymap
