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

  /// What this server does less than others, for the user.
  const std::vector<std::string> &warnings() const { return warnings_; }

 private:
  void write_operation(const Request &request, XmlWriter &xml) const;
  Answer exchange(const Request &request);

  const Schema &schema_;
  std::vector<std::string> warnings_;
  ClientSession session_;
};

}  // namespace ymap::netconf
