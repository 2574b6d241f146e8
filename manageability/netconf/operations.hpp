/// \file
/// The protocol operations: what each may be given and what it does.
#pragma once

#include <string>

#include "catalogue.hpp"
#include "protocol_engine.hpp"
#include "server_data.hpp"
#include "session.hpp"
#include "sessions.hpp"

namespace ymap::netconf {

/// What the operations of a session work on.
struct SessionParts {
  Session &requests;
  device::Sessions &sessions;
  const Catalogue &catalogue;
  const ServerData &server_data;
  const Counters &counters;
};

/// The operation of `message`, checked and ready to run; both must outlive the action. Throws RpcError.
Action parse_operation(const RpcMessage &message, SessionParts &parts);

}  // namespace ymap::netconf
