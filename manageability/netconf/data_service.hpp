/// \file
/// The data that a server serves, and the operations on it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

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
  /// discard-changes, and where commits can be confirmed cancel-commit. The operation's document must outlive
  /// the action; contents are compact. Throws RpcError.
  virtual DataAction parse(const XmlElement &operation, const std::string &path) = 0;

  virtual Features features() const { return {}; }
  /// Takes back a commit that has waited for its confirmation in vain. Throws device::FolderError.
  virtual void settle() {}
  /// The session that it acts for has ended.
  virtual void end_session() {}

  /// What the last action changed of what runs, where that is not recorded by its own way; at most once.
  virtual std::vector<Change> take_changes() { return {}; }

  /// The session that later requests are of, and who asks in it; both outlive them.
  virtual void act_for(SessionControl &session, const Requester &who) = 0;
  /// Judges and records.
  virtual Guard &guard() = 0;
  /// Whether its actions have that done.
  virtual bool judges_requests() const { return false; }
};

}  // namespace ymap::netconf
