/// \file
/// libnetconf2's server side: requests in their envelope in, replies out.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "framing.hpp"
#include "memory_file.hpp"
#include "rpc_error.hpp"

struct ly_ctx;
struct lyd_node;
struct nc_pollsession;
struct nc_server_reply;
struct nc_session;

namespace ymap::netconf {

/// What a request has as its answer.
struct Result {
  enum class Kind { ok, xml, text, close };
  Kind kind = Kind::ok;
  std::string data = {};  ///< content of <data>: elements (xml) or characters (text)
};
/// Runs a request. Throws RpcError, device::FolderError.
using Action = std::function<Result()>;

/// One session of libnetconf2. The library reads and writes files in memory, one message at a time, so that
/// it never waits for a client and never sees half a message. Its context holds the protocol's modules only:
/// data in <config> and <filter> then stays as the client wrote it, to be judged elsewhere. One object a
/// process.
class ProtocolEngine {
 public:
  /// `context` holds the protocol's modules and must outlive the object. Throws UsageError.
  explicit ProtocolEngine(ly_ctx *context);
  ~ProtocolEngine();
  ProtocolEngine(const ProtocolEngine &) = delete;
  ProtocolEngine &operator=(const ProtocolEngine &) = delete;

  /// Opens the session with the client's <hello>; both framings are settled by it. Throws TransportError.
  Framing open(const std::string &hello, const std::string &user);

  struct Reply {
    std::string bytes;     ///< framed
    bool refused = false;  ///< an <rpc-error>
    bool last = false;     ///< the session is closed
  };
  /// Has the <rpc> `message` parsed, calls `action` for it, and puts the result, or what it throws, in a
  /// reply. Throws RpcError where the library cannot read the message.
  Reply run(const std::string &request, const Action &action);

 private:
  struct PollDeleter {
    void operator()(nc_pollsession *poll) const;
  };

  static nc_server_reply *answer(lyd_node *rpc, nc_session *session);
  nc_server_reply *answer(lyd_node *rpc) const;
  nc_server_reply *error(const Fault &fault) const;

  ly_ctx *context_;
  MemoryFile input_;
  MemoryFile output_;
  std::unique_ptr<nc_pollsession, PollDeleter> poll_;
  nc_session *session_ = nullptr;  ///< freed by `poll_`
  Framing framing_ = Framing::end_of_message;
  const Action *action_ = nullptr;
};

}  // namespace ymap::netconf
