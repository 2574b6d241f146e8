/// \file
/// A NETCONF server in the place of a device of one's own.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "hello.hpp"
#include "openconfig_request.hpp"
#include "schema.hpp"
#include "server_channel.hpp"
#include "session.hpp"
#include "xml_writer.hpp"

namespace ymap::netconf {

/// One session with a server, over ssh. Errors that are no refusal (the server does not answer, or not in
/// NETCONF) are UsageErrors that name it.
class Client {
 public:
  /// Opens the session. `patience` is how long the login and each answer may take. `schema` must outlive the
  /// object. Throws UsageError.
  Client(const Schema &schema, const Destination &destination, std::chrono::milliseconds patience);
  /// Closes the session.
  ~Client();
  Client(const Client &) = delete;
  Client &operator=(const Client &) = delete;

  /// Has the server run a read or an edit of its running datastore. Throws RpcError when the server refuses
  /// it, and UsageError when there is no answer: an edit may then be done or not.
  Answer run(const Request &request);

  /// What this server does less than others, for the user.
  const std::vector<std::string> &warnings() const { return warnings_; }

 private:
  [[noreturn]] void fail(const std::string &what);
  bool offers(const std::string &capability) const;
  void open_session();
  void write_operation(const Request &request, XmlWriter &xml) const;
  Answer exchange(const Request &request);
  /// Sends an <rpc>, whose operation `write` writes, and returns the reply to it. Throws BadMessage,
  /// UsageError.
  template <typename Write>
  std::unique_ptr<XmlDocument> call(const Write &write, Stream::Clock::time_point end);
  std::unique_ptr<XmlDocument> await_reply(Stream::Clock::time_point end);

  const Schema &schema_;
  std::string server_;
  std::vector<std::string> warnings_;
  ServerChannel channel_;
  bool failed_ = false;  ///< so that there is nothing more to say to the server
  Hello hello_;
  uint64_t last_id_ = 0;  ///< message-id of the last <rpc>
};

}  // namespace ymap::netconf
