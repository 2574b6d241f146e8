/// \file
/// The data that a server serves, and the operations on it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "guard.hpp"
#include "rpc_parameters.hpp"
#include "rpc_reply.hpp"
#include "session_control.hpp"

namespace ymap::netconf {

/// Runs a request. Throws RpcError, device::FolderError.
using DataAction = std::function<ReplyContent()>;

class DataService {
 public:
  virtual ~DataService() = default;

  /// get, get-config, edit-config or validate, checked and ready to run; with a candidate also commit and
  /// discard-changes. The operation's document must outlive the action; contents are compact. Throws
  /// RpcError.
  virtual DataAction parse(const XmlElement &operation, const std::string &path) = 0;

  virtual Candidate candidate() const { return Candidate::absent; }
  /// Throws RpcError where the datastore is in a state in which it must not be locked (RFC 6241,
  /// section 7.5).
  virtual void check_lockable(device::Datastore /*datastore*/) const {}

  /// The session that later requests are of, and who asks in it; both outlive them.
  virtual void act_for(SessionControl &session, const Requester &who) = 0;
  /// Judges and records.
  virtual Guard &guard() = 0;
  /// Whether its actions have that done.
  virtual bool judges_requests() const { return false; }
};

}  // namespace ymap::netconf
