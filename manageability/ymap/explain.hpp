/// \file
/// The road of a request, told for a person.
#pragma once

#include <optional>
#include <string>

#include "openconfig_request.hpp"
#include "rpc_error.hpp"
#include "session.hpp"
#include "terminal.hpp"

namespace ymap {

struct Explanation {
  std::string text;
  std::optional<Fault> fault;  ///< the request was refused; the text says it too
};

/// Runs a read and tells what happened on the way, with the data sent and answered. An edit is only
/// translated: nothing is stored. Throws device::FolderError.
Explanation explain(Session &session, const Request &request, const Terminal &terminal);

}  // namespace ymap
