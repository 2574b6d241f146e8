/// \file
/// Completion of the command line by the shell.
#pragma once

#include <string>

#include "session.hpp"

namespace ymap {

/// A bash script that completes subcommands, options, amplifiers, the leaves that can be set, and their
/// values. Names come from the schema, the plug-in and the option parser; no second list of them is kept.
std::string bash_completion(Session &session);

}  // namespace ymap
