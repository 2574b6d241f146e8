/// \file
/// A NETCONF server that knows OpenConfig, in the place of a device of one's own.
#pragma once

#include <string>
#include <vector>

#include "client_session.hpp"
#include "openconfig_request.hpp"
#include "schema.hpp"
#include "session.hpp"
#include "xml_writer.hpp"

namespace ymap::netconf {

/// One session with a server.
class Client {
 public:
  /// Opens the session. `schema` must outlive the object. Throws UsageError.
  Client(const Schema &schema, const ServerAddress &address);

  /// Has the server run a read or an edit of its running datastore. Throws RpcError when the server refuses
  /// it, and UsageError when there is no answer: an edit may then be done or not.
  Answer run(const Request &request);

  /// Confirms the commit of this persist-id, or has it taken back. Throws as run().
  Answer end_commit(const std::string &persist_id, bool cancels);

  /// What this server does less than others, for the user.
  const std::vector<std::string> &warnings() const { return warnings_; }

 private:
  void write_operation(const Request &request, XmlWriter &xml) const;
  Answer exchange(const Request &request);
  Answer exchange(const ClientSession::Write &write);
  Answer edit_to_confirm(const Request &request);
  void require(const char *capability, const char *what) const;

  const Schema &schema_;
  std::vector<std::string> warnings_;
  ClientSession session_;
};

}  // namespace ymap::netconf
