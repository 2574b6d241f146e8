// One session: hellos, then requests and replies in turn.
#include "server.hpp"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "catalogue.hpp"
#include "hello.hpp"
#include "operations.hpp"
#include "rpc_error.hpp"
#include "rpc_reply.hpp"
#include "server_data.hpp"
#include "sessions.hpp"
#include "transport.hpp"

namespace ymap::netconf {
namespace {

constexpr std::chrono::seconds kHelloPatience{60};

std::string user_name() {
  const passwd *entry = getpwuid(geteuid());
  return entry == nullptr ? std::to_string(geteuid()) : entry->pw_name;
}

/// SSH_CONNECTION is "client port server port".
std::string client_host() {
  const char *connection = std::getenv("SSH_CONNECTION");
  if (connection == nullptr) return {};
  const std::string text(connection);
  return text.substr(0, text.find(' '));
}

/// What a client can do beyond the base is of no interest; an id is the server's to give.
Framing check_hello(const Hello &hello) {
  if (!hello.session_id.empty()) throw BadHello("<hello> holds a <session-id>");
  if (!hello.other.empty()) throw BadHello("<hello> holds a <" + hello.other + ">");
  return agreed_framing(hello);
}

/// For whatever goes wrong with a request; what goes wrong with the session ends it.
Fault fault_of(const std::exception &error) {
  if (const auto *refusal = dynamic_cast<const RpcError *>(&error)) return refusal->fault();
  if (dynamic_cast<const std::bad_alloc *>(&error) != nullptr)
    return {.tag = "resource-denied", .message = "the device is out of memory"};
  Fault fault = {.tag = "operation-failed", .message = error.what()};
  if (const auto *folder = dynamic_cast<const device::FolderError *>(&error)) {
    if (folder->no_room) fault.tag = "resource-denied";
    if (folder->busy) fault.tag = "in-use";
  }
  return fault;
}

class Server {
 public:
  Server(Session &requests, const std::filesystem::path &folder)
      : sessions_(std::in_place, folder, user_name(), client_host()),
        catalogue_(requests.schema()),
        server_data_(catalogue_, *sessions_),
        parts_{requests, *sessions_, catalogue_, server_data_, counters_} {
    requests.act_for(sessions_->id());
  }

  void run() {
    transport_.send(write_hello(catalogue_.capabilities(), sessions_->id()));
    if (!open()) return;
    while (const auto message = transport_.receive()) {
      const auto reply = answer(*message);
      // Its lock and its place are free before the client hears so (RFC 6241, section 7.8).
      if (reply.last) sessions_.reset();
      transport_.send(reply.text);
      if (reply.last) return;
    }
  }

 private:
  struct Reply {
    std::string text;
    bool last = false;  ///< of the session
  };

  /// False: the client is gone already.
  bool open() {
    const auto message = transport_.receive(kHelloPatience);
    if (!message) return false;
    if (message->cut) throw TransportError("the client's <hello> is too big");
    try {
      transport_.use(check_hello(read_hello(XmlDocument(message->text).root())));
    } catch (const BadHello &error) {
      throw TransportError(std::string("the client's ") + error.what());
    } catch (const RpcError &error) {
      throw TransportError("the client's <hello> is not in order: " + error.fault().message);
    }
    return true;
  }

  Reply answer(const Deframer::Message &message) {
    std::optional<RpcMessage> rpc;
    bool understood = false;
    Reply answered;
    try {
      rpc.emplace(message.text);
      if (message.cut) refuse_size();
      const auto action = parse_operation(*rpc, parts_);
      understood = true;
      const auto result = action();
      answered = {reply(rpc->attributes(), result.content, Layout::compact), result.closes};
    } catch (const std::exception &error) {
      const auto attributes = rpc ? rpc->attributes() : std::span<const XmlAttribute>();
      answered = {error_reply(attributes, known_to_client(fault_of(error)), Layout::compact)};
      ++counters_.out_rpc_errors;
    }
    ++(understood ? counters_.in_rpcs : counters_.in_bad_rpcs);
    return answered;
  }

  /// RFC 6241, appendix A: malformed-message must not be sent to clients of base:1.0.
  Fault known_to_client(Fault fault) const {
    if (transport_.framing() == Framing::end_of_message && fault.tag == "malformed-message")
      fault.tag = "operation-failed";
    return fault;
  }

  [[noreturn]] static void refuse_size() {
    throw RpcError(
        {.type = "rpc",
         .tag = "too-big",
         .message = "the message is larger than " + std::to_string(kLargestDocument >> 20U) + " MiB"});
  }

  Transport transport_{STDIN_FILENO, STDOUT_FILENO};
  std::optional<device::Sessions> sessions_;  ///< until the session is closed
  Catalogue catalogue_;
  Counters counters_;
  ServerData server_data_;
  SessionParts parts_;
};

}  // namespace

void serve(Session &requests, const std::filesystem::path &folder) {
  Server(requests, folder).run();
}

}  // namespace ymap::netconf
