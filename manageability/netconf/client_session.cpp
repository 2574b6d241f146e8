// Hellos, then requests and replies in turn.
#include "client_session.hpp"

#include <charconv>
#include <exception>

#include "client_reply.hpp"
#include "xml_document.hpp"

namespace ymap::netconf {
namespace {

constexpr std::string_view kNotificationNs = "urn:ietf:params:xml:ns:netconf:notification:1.0";  // RFC 5277
constexpr std::chrono::milliseconds kGrace{500};  ///< for a server to say goodbye

/// 0 for what is no session-id.
uint32_t session_id(const std::string &text) {
  uint32_t id = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), id);
  return error == std::errc() && stop == text.data() + text.size() ? id : 0;
}

}  // namespace

ClientSession::ClientSession(const ServerAddress &address)
    : server_(address.destination.text()), channel_(address.destination, address.patience, address.log) {
  try {
    open();
  } catch (const BadHello &error) {
    fail(std::string("does not speak NETCONF: its ") + error.what());
  } catch (const BadMessage &error) {
    fail(std::string("does not speak NETCONF: ") + error.what());
  } catch (const UsageError &error) {
    fail(error.what());
  }
}

ClientSession::~ClientSession() {
  if (failed_) return;
  try {
    exchange({[](XmlWriter &xml) { xml.leaf("close-session", {}); }}, Stream::Clock::now() + kGrace);
  } catch (const std::exception &) {
    return;  // the end of ssh ends the session too
  }
}

void ClientSession::open() {
  const auto end = channel_.end_of_patience();
  const auto first = channel_.receive(end);
  if (!first)
    throw UsageError(
        "gives no NETCONF session (ssh -s HOST netconf ended); YMAP_SSH=\"ssh -i KEY\" names a key");
  hello_ = read_hello(first->root());
  id_ = session_id(hello_.session_id);
  if (id_ == 0)
    throw BadHello("<hello> has " +
                   (hello_.session_id.empty() ? std::string("no session-id")
                                              : "the session-id \"" + hello_.session_id + "\"") +
                   "; it must have a positive integer");
  const auto framing = agreed_framing(hello_);
  channel_.send(write_hello(base_capabilities(), 0), end);
  channel_.use(framing);
}

void ClientSession::fail(const std::string &what) {
  failed_ = true;
  throw UsageError("server " + server_ + " " + what);
}

bool ClientSession::offers(std::string_view capability) const {
  return hello_.offers("urn:ietf:params:netconf:capability:" + std::string(capability));
}

std::unique_ptr<XmlDocument> ClientSession::call(const Write &write) {
  return std::move(call(std::vector{write}).front());
}

std::vector<std::unique_ptr<XmlDocument>> ClientSession::call(const std::vector<Write> &writes) {
  const auto lost = [this](const std::string &what, bool sent) {
    failed_ = true;
    return ConnectionLost("server " + server_ + " gives no proper answer: " + what, sent);
  };
  if (channel_.is_ended()) throw lost("it has ended the connection", false);
  const auto sent_before = last_id_;
  try {
    return exchange(writes, channel_.end_of_patience());
  } catch (const ConnectionEnded &error) {
    throw lost(error.what(), last_id_ != sent_before);
  } catch (const BadMessage &error) {
    fail(std::string("gives no proper answer: ") + error.what());
  } catch (const UsageError &error) {
    fail(error.what());
  }
}

std::vector<std::unique_ptr<XmlDocument>> ClientSession::exchange(const std::vector<Write> &writes,
                                                                  Stream::Clock::time_point end) {
  auto expected = last_id_;
  for (const auto &write : writes) {
    const auto id = last_id_ + 1;
    XmlWriter xml(Layout::compact);
    xml.open("rpc", {{"xmlns", std::string(kNetconfNs)}, {"message-id", std::to_string(id)}});
    write(xml);
    xml.close();
    channel_.send(xml.text(), end);
    last_id_ = id;
  }
  std::vector<std::unique_ptr<XmlDocument>> replies;
  while (replies.size() < writes.size()) {
    replies.push_back(await_reply(end));
    check_reply(replies.back()->root(), ++expected);
  }
  return replies;
}

/// The next message that is no notification. Throws BadMessage, UsageError.
std::unique_ptr<XmlDocument> ClientSession::await_reply(Stream::Clock::time_point end) {
  while (true) {
    auto message = channel_.receive(end);
    if (!message) throw ConnectionEnded("the connection ended before it");
    const auto root = message->root();
    if (root.name() == "notification" && root.ns() == kNotificationNs) continue;
    if (root.name() == "rpc-reply" && root.ns() == kNetconfNs) return message;
    throw BadMessage("it is a <" + std::string(root.name()) + "> of namespace \"" + std::string(root.ns()) +
                     "\"; it must be an <rpc-reply> of " + std::string(kNetconfNs));
  }
}

}  // namespace ymap::netconf
