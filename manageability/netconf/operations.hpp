/// \file
/// The protocol operations: what each may be given and what it does.
#pragma once

#include <functional>

#include "catalogue.hpp"
#include "data_service.hpp"
#include "openconfig_request.hpp"
#include "rpc_reply.hpp"
#include "server_data.hpp"
#include "session_control.hpp"

namespace ymap::netconf {

/// What the operations of a session work on.
struct SessionParts {
  DataService &data;
  SessionControl &sessions;
  const Catalogue &catalogue;
  const ServerData &server_data;
  const Counters &counters;
  const Requester &who;
};

/// What a request that was done has as its answer.
struct Result {
  ReplyContent content = {};  ///< compact
  bool closes = false;        ///< the session ends with the reply
};
/// Runs a request. Throws RpcError, device::FolderError.
using Action = std::function<Result()>;

/// The operation of `message`, checked and ready to run; both must outlive the action. Throws RpcError.
Action parse_operation(const RpcMessage &message, SessionParts &parts);

}  // namespace ymap::netconf
