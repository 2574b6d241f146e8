// One session: hellos, then requests and replies in turn.
#include "server.hpp"

#include <unistd.h>

#include <cstdlib>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hello.hpp"
#include "operations.hpp"
#include "rpc_error.hpp"
#include "rpc_reply.hpp"
#include "server_data.hpp"
#include "subscription.hpp"
#include "transport.hpp"

namespace ymap::netconf {
namespace {

constexpr std::chrono::seconds kHelloPatience{60};
/// A notification is read within this, or the session ends.
constexpr std::chrono::seconds kReadingPatience{5};

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
  explicit Server(const Service &service)
      : who_(requester()),
        session_(service.enter({who_.user(), who_.peer})),
        catalogue_(service.modules),
        server_data_(catalogue_, *session_, datastores(service.data), service.data.guard().folder()),
        subscriber_(service.data.guard(), who_, [this](const std::string &message) { notify(message); }),
        parts_{service.data, *session_, catalogue_, server_data_, counters_, who_, subscriber_} {
    who_.session = session_->id();
    service.data.act_for(*session_, who_);
    note("session-start");
  }
  ~Server() {
    end();
    note("session-end", ended_by_);
  }
  Server(const Server &) = delete;
  Server &operator=(const Server &) = delete;

  /// Throws what ends the session out of order.
  void run() {
    try {
      serve();
    } catch (const SessionKilled &killed) {
      ended_by_ = "killed" + (killed.by == 0 ? std::string() : " " + std::to_string(killed.by));
      throw;
    } catch (const TransportError &error) {
      if (error.kind == TransportError::Kind::timeout) ended_by_ = "timeout";
      if (error.kind == TransportError::Kind::bad_hello) ended_by_ = "bad-hello";
      throw;
    } catch (...) {
      ended_by_ = "other";
      throw;
    }
  }

 private:
  struct Reply {
    std::string text;
    bool last = false;  ///< of the session
  };

  void serve() {
    transport_.send(write_hello(catalogue_.capabilities(), session_->id()));
    if (!open()) return;
    transport_.attend(&subscriber_);
    while (const auto message = next_message()) {
      const auto reply = answer(*message);
      // Its lock and its place are free before the client hears so (RFC 6241, section 7.8).
      if (reply.last) end();
      transport_.send(reply.text);
      if (!reply.last) continue;
      ended_by_ = "closed";
      return;
    }
  }

  void notify(const std::string &message) {
    transport_.send(message, kReadingPatience);
    ++counters_.out_notifications;
  }

  /// Of the session among those of its device.
  void end() {
    if (!session_) return;
    session_.reset();
    parts_.data.end_session();
  }

  static std::vector<device::Datastore> datastores(const DataService &data) {
    std::vector<device::Datastore> all = {device::Datastore::running};
    if (data.features().candidate == Candidate::present) all.push_back(device::Datastore::candidate);
    return all;
  }

  /// False: the client is gone already.
  bool open() {
    const auto message = transport_.receive(kHelloPatience);
    if (!message) return false;
    if (message->cut)
      throw TransportError("the client's <hello> is too big", TransportError::Kind::bad_hello);
    try {
      transport_.use(check_hello(read_hello(XmlDocument(message->text).root())));
    } catch (const BadHello &error) {
      throw TransportError(std::string("the client's ") + error.what(), TransportError::Kind::bad_hello);
    } catch (const RpcError &error) {
      throw TransportError("the client's <hello> is not in order: " + error.fault().message,
                           TransportError::Kind::bad_hello);
    }
    return true;
  }

  std::optional<Deframer::Message> next_message() {
    transport_.watch(session_->lifeline());
    return transport_.receive();
  }

  Reply answer(const Deframer::Message &message) {
    std::shared_ptr<const RpcMessage> rpc;
    bool understood = false;
    Reply answered;
    try {
      rpc = parts_.message = std::make_shared<const RpcMessage>(message.text);
      if (message.cut) refuse_size();
      const auto action = parse_operation(parts_);
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

  static Requester requester() {
    auto who = Requester::of_process("netconf");
    who.peer = client_host();
    return who;
  }

  /// A session that is killed without warning leaves no word of its end.
  void note(const char *what, const std::string &how = {}) const {
    parts_.data.guard().note(who_, {what, Asked::Weight::change, how});
  }

  Requester who_;
  Transport transport_{STDIN_FILENO, STDOUT_FILENO};
  std::unique_ptr<SessionControl> session_;  ///< until the session is closed
  Catalogue catalogue_;
  Counters counters_;
  ServerData server_data_;
  Subscriber subscriber_;
  SessionParts parts_;
  std::string ended_by_ = "dropped";  ///< see RecordEntry
};

}  // namespace

void serve(const Service &service) {
  Server(service).run();
}

}  // namespace ymap::netconf
