/// \file
/// A NETCONF server in the place of a device of one's own.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "memory_file.hpp"
#include "openconfig_request.hpp"
#include "schema.hpp"
#include "server_channel.hpp"
#include "server_hello.hpp"
#include "session.hpp"

struct ly_ctx;
struct nc_rpc;
struct nc_session;

namespace ymap::netconf {

/// One session with a server, over ssh. Errors that are no refusal (the server does not answer, or not in
/// NETCONF) are UsageErrors that name it. One object a process: libnetconf2's messages go to the last one
/// made.
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
  struct ContextDeleter {
    void operator()(ly_ctx *context) const;
  };
  struct SessionDeleter {
    void operator()(nc_session *session) const;
  };

  [[noreturn]] void fail(const std::string &what);
  bool offers(const std::string &capability) const;
  std::string operation(const Request &request) const;
  Answer exchange(const std::string &operation, bool read);
  void open_session();
  uint64_t send(nc_rpc *rpc, Stream::Clock::time_point end);
  std::unique_ptr<XmlDocument> await_reply(Stream::Clock::time_point end);
  void check_reply(const XmlElement &reply, nc_rpc *rpc, uint64_t id);

  const Schema &schema_;
  std::string server_;
  std::vector<std::string> warnings_;
  ServerChannel channel_;
  bool failed_ = false;  ///< so that there is nothing more to say to the server
  ServerHello hello_;
  Framing framing_ = Framing::end_of_message;
  MemoryFile input_;   ///< what libnetconf2 reads: one message at a time, of which it sees the envelope
  MemoryFile output_;  ///< what it writes
  std::unique_ptr<ly_ctx, ContextDeleter> context_;  ///< the protocol's modules: data stays as it was written
  std::unique_ptr<nc_session, SessionDeleter> session_;
};

}  // namespace ymap::netconf
