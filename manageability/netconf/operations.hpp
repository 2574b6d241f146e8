/// \file
/// The protocol operations: what each may be given and what it does.
#pragma once

#include <functional>
#include <memory>

#include "catalogue.hpp"
#include "data_service.hpp"
#include "openconfig_request.hpp"
#include "rpc_reply.hpp"
#include "server_data.hpp"
#include "session_control.hpp"
#include "subscription.hpp"

namespace ymap::netconf {

/// What the operations of a session work on.
struct SessionParts {
  DataService &data;
  SessionControl &sessions;
  const Catalogue &catalogue;
  const ServerData &server_data;
  const Counters &counters;
  const Requester &who;
  Subscriber &subscriber;
  std::shared_ptr<const RpcMessage> message = {};  ///< whose operation is next
};

/// What a request that was done has as its answer.
struct Result {
  ReplyContent content = {};  ///< compact
  bool closes = false;        ///< the session ends with the reply
};
/// Runs a request. Throws RpcError, device::FolderError.
using Action = std::function<Result()>;

/// The operation of the next message, checked and ready to run; `parts` must outlive the action, and keep the
/// message. Throws RpcError.
Action parse_operation(SessionParts &parts);

}  // namespace ymap::netconf
