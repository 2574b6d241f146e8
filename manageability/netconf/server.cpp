// One session: hellos, then requests and replies in turn.
#include "server.hpp"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

#include "catalogue.hpp"
#include "framing.hpp"
#include "operations.hpp"
#include "protocol_engine.hpp"
#include "rpc_error.hpp"
#include "rpc_reply.hpp"
#include "server_data.hpp"
#include "sessions.hpp"
#include "transport.hpp"
#include "xml_writer.hpp"

namespace ymap::netconf {
namespace {

constexpr std::chrono::seconds kHelloPatience{60};
constexpr std::string_view kBase10 = "urn:ietf:params:netconf:base:1.0";
constexpr std::string_view kBase11 = "urn:ietf:params:netconf:base:1.1";

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

std::string hello(const std::vector<std::string> &capabilities, uint32_t session_id) {
  XmlWriter xml;
  xml.open("hello", {{"xmlns", std::string(kNetconfNs)}});
  xml.open("capabilities");
  for (const auto &capability : capabilities) xml.leaf("capability", capability);
  xml.close();
  xml.leaf("session-id", std::to_string(session_id));
  xml.close();
  return xml.text();
}

/// RFC 6241, section 8.1: what ends a session before it has begun. What the client can do beyond the base is
/// of no interest. Throws TransportError.
void check_hello(const XmlElement &root) {
  const auto refuse = [](const std::string &reason) {
    throw TransportError("the client's <hello> " + reason);
  };
  if (root.name() != "hello" || root.ns() != kNetconfNs)
    throw TransportError("the client's first message is a <" + std::string(root.name()) +
                         ">; it must be a <hello> of namespace " + std::string(kNetconfNs));
  bool base = false;
  for (const auto &child : root.children()) {
    if (child.name() != "capabilities") refuse("holds a <" + std::string(child.name()) + ">");
    for (const auto &capability : child.children()) {
      const auto uri = trimmed(capability.text());
      base = base || uri == kBase10 || uri == kBase11;
    }
  }
  if (!base) refuse("offers neither base:1.0 nor base:1.1");
}

class Server {
 public:
  Server(Session &requests, const std::filesystem::path &folder, const std::filesystem::path &models)
      : sessions_(std::in_place, folder, user_name(), client_host()),
        catalogue_(models, requests.schema().module_name()),
        server_data_(catalogue_, *sessions_),
        parts_{requests, *sessions_, catalogue_, server_data_, counters_} {
    requests.act_for(sessions_->id());
  }

  void run() {
    transport_.write(framed(hello(catalogue_.capabilities(), sessions_->id()), framing_));
    ProtocolEngine engine(catalogue_.context());
    if (!open(engine)) return;
    while (const auto message = receive(std::nullopt)) {
      const auto reply = answer(engine, *message);
      // Its lock and its place are free before the client hears so (RFC 6241, section 7.8).
      if (reply.last) sessions_.reset();
      transport_.write(reply.bytes);
      if (reply.last) return;
    }
  }

 private:
  /// Nothing when the client ends its stream between two messages.
  std::optional<Deframer::Message> receive(std::optional<std::chrono::milliseconds> patience) {
    while (true) {
      if (auto message = deframer_.next()) return message;
      const auto bytes = transport_.read(patience);
      if (bytes.empty()) {
        if (deframer_.idle()) return std::nullopt;
        throw TransportError("the client went away in the middle of a message");
      }
      deframer_.feed(bytes);
    }
  }

  /// False: the client is gone already.
  bool open(ProtocolEngine &engine) {
    const auto message = receive(kHelloPatience);
    if (!message) return false;
    if (message->cut) throw TransportError("the client's <hello> is too big");
    try {
      const XmlDocument document(message->text);
      check_hello(document.root());
      framing_ = engine.open(document.text(), user_name());
    } catch (const RpcError &error) {
      throw TransportError("the client's <hello> is not in order: " + error.fault().message);
    }
    deframer_.use(framing_);
    return true;
  }

  ProtocolEngine::Reply answer(ProtocolEngine &engine, const Deframer::Message &message) {
    std::vector<XmlAttribute> attributes;
    ProtocolEngine::Reply reply;
    try {
      if (message.cut) refuse_size();
      const RpcMessage rpc(message.text);
      attributes = rpc.attributes();
      const auto action = parse_operation(rpc, parts_);
      reply = engine.run(bare_request(attributes, rpc.operation()), action);
      ++counters_.in_rpcs;
    } catch (const RpcError &error) {
      ++counters_.in_bad_rpcs;
      if (attributes.empty()) attributes = attributes_of_broken(message.text);
      reply.bytes = framed(error_reply(attributes, known_to_client(error.fault())), framing_);
      reply.refused = true;
    }
    if (reply.refused) ++counters_.out_rpc_errors;
    return reply;
  }

  /// RFC 6241, appendix A: malformed-message must not be sent to clients of base:1.0.
  Fault known_to_client(Fault fault) const {
    if (framing_ == Framing::end_of_message && fault.tag == "malformed-message")
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
  Framing framing_ = Framing::end_of_message;
  Deframer deframer_{kLargestDocument};
};

}  // namespace

void serve(Session &requests, const std::filesystem::path &folder, const std::filesystem::path &models) {
  Server(requests, folder, models).run();
}

}  // namespace ymap::netconf
