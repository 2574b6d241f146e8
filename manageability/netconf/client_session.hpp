/// \file
/// A NETCONF session as its client has it, over ssh, whatever the models are.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hello.hpp"
#include "rpc_error.hpp"
#include "server_channel.hpp"
#include "xml_writer.hpp"

namespace ymap::netconf {

/// The server is gone, or ended the connection: there will be no answer to the last request.
struct ConnectionLost : UsageError {
  ConnectionLost(const std::string &message, bool sent) : UsageError(message), was_sent(sent) {}
  bool was_sent;  ///< false: the server has not got the request
};

/// How a server is reached.
struct ServerAddress {
  Destination destination;
  std::chrono::milliseconds patience;  ///< how long the login and each answer may take
  MessageLog log = MessageLog::nothing;
};

/// Errors that are no refusal (the server does not answer, or not in NETCONF) are UsageErrors that name the
/// server; after one of these there is nothing more to ask it.
class ClientSession {
 public:
  /// Opens the session. Throws UsageError.
  explicit ClientSession(const ServerAddress &address);
  /// Closes the session.
  ~ClientSession();
  ClientSession(const ClientSession &) = delete;
  ClientSession &operator=(const ClientSession &) = delete;

  /// For messages.
  const std::string &server() const { return server_; }
  const Hello &hello() const { return hello_; }
  /// Of the session, as the server gave it.
  uint32_t id() const { return id_; }
  /// Names a capability of RFC 6241 with its version, such as "candidate:1.0".
  bool offers(std::string_view capability) const;

  using Write = std::function<void(XmlWriter &)>;
  /// Sends an <rpc>, whose operation `write` writes, and returns the reply to it, an <rpc-reply> that is in
  /// order (see check_reply()). Throws UsageError, ConnectionLost among them.
  std::unique_ptr<XmlDocument> call(const Write &write);
  /// Sends several, one behind the other without waiting, and returns their replies. Throws as call().
  std::vector<std::unique_ptr<XmlDocument>> call(const std::vector<Write> &writes);

  /// Throws a UsageError with the server's name before `what`, and gives the session up.
  [[noreturn]] void fail(const std::string &what);
  /// What the server's messages come from, to see its end by.
  int descriptor() const { return channel_.descriptor(); }

 private:
  void open();
  std::vector<std::unique_ptr<XmlDocument>> exchange(const std::vector<Write> &writes,
                                                     Stream::Clock::time_point end);
  std::unique_ptr<XmlDocument> await_reply(Stream::Clock::time_point end);

  std::string server_;
  ServerChannel channel_;
  bool failed_ = false;
  Hello hello_;
  uint32_t id_ = 0;
  uint64_t last_id_ = 0;  ///< message-id of the last <rpc>
};

}  // namespace ymap::netconf
