// Requests to a NETCONF server.
#include "client.hpp"

#include <algorithm>
#include <charconv>
#include <exception>

#include "client_reply.hpp"
#include "datatree.hpp"
#include "plugin.hpp"
#include "rpc_error.hpp"
#include "rpc_reply.hpp"
#include "xml_document.hpp"
#include "xml_writer.hpp"
#include "ymap_datatree.h"

namespace ymap::netconf {
namespace {

constexpr const char *kRollback = "rollback-on-error:1.0";
constexpr std::string_view kNotificationNs = "urn:ietf:params:xml:ns:netconf:notification:1.0";  // RFC 5277
constexpr std::chrono::milliseconds kGrace{500};  ///< for a server to say goodbye

bool is_session_id(const std::string &text) {
  uint32_t id = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), id);
  return error == std::errc() && stop == text.data() + text.size() && id != 0;
}

/// The list container in the tree of a read_request(); nullptr where it names no entry.
const vidl_yfw_datatree *named_entries(const Request &request) {
  const auto *node = request.tree.root();
  for (int level = 0; level < 2; ++level) {
    if (!vidl_yfw_datatree_has_subtrees(node) || node->subtree_count == 0) return nullptr;
    node = &node->subtrees[0];
  }
  return node;
}

/// The filter of a read: at least the top container, as a server has much else to tell; of state alone, the
/// state of each entry.
yfw::Datatree filter_of(const Request &request, const Schema &schema) {
  const auto &model = yfw::optical_amplifier();
  const auto ns = schema.ns();
  yfw::Datatree filter;
  auto *top = filter.add(filter.root(), model.top, ns);
  const auto *named = named_entries(request);
  if (named == nullptr && !request.state_only) return filter;

  auto *container = filter.add(top, model.list_container, ns);
  if (named == nullptr) {
    auto *entry = filter.add(container, model.list, ns);
    filter.add(entry, model.key, ns);
    filter.add(entry, "state", ns);
    return filter;
  }
  for (uint32_t at = 0; at < named->subtree_count; ++at) {
    auto *entry = filter.add_copy(container, &named->subtrees[at]);
    if (request.state_only) filter.add(entry, "state", ns);
  }
  return filter;
}

}  // namespace

Client::Client(const Schema &schema, const Destination &destination, std::chrono::milliseconds patience)
    : schema_(schema), server_(destination.text()), channel_(destination, patience) {
  try {
    open_session();
  } catch (const BadHello &error) {
    fail(std::string("does not speak NETCONF: its ") + error.what());
  } catch (const BadMessage &error) {
    fail(std::string("does not speak NETCONF: ") + error.what());
  } catch (const UsageError &error) {
    fail(error.what());
  }
  if (!hello_.lists_module(std::string(schema.module_name())))
    warnings_.push_back(server_ + " does not announce the module " + std::string(schema.module_name()));
}

Client::~Client() {
  if (failed_) return;
  try {
    call([](XmlWriter &xml) { xml.leaf("close-session", {}); }, Stream::Clock::now() + kGrace);
  } catch (const std::exception &) {
    return;  // the end of ssh ends the session too
  }
}

void Client::open_session() {
  const auto end = channel_.end_of_patience();
  const auto first = channel_.receive(end);
  if (!first)
    throw UsageError(
        "gives no NETCONF session (ssh -s HOST netconf ended); YMAP_SSH=\"ssh -i KEY\" names a key");
  hello_ = read_hello(first->root());
  if (!is_session_id(hello_.session_id))
    throw BadHello("<hello> has " +
                   (hello_.session_id.empty() ? std::string("no session-id")
                                              : "the session-id \"" + hello_.session_id + "\"") +
                   "; it must have a positive integer");
  const auto framing = agreed_framing(hello_);
  channel_.send(write_hello(base_capabilities(), 0), end);
  channel_.use(framing);
}

void Client::fail(const std::string &what) {
  failed_ = true;
  throw UsageError("server " + server_ + " " + what);
}

bool Client::offers(const std::string &capability) const {
  return hello_.offers("urn:ietf:params:netconf:capability:" + capability);
}

void Client::write_operation(const Request &request, XmlWriter &xml) const {
  const bool edit = request.kind == Request::Kind::edit;
  xml.open(edit ? "edit-config" : request.kind == Request::Kind::get ? "get" : "get-config");
  if (request.kind != Request::Kind::get) {
    xml.open(edit ? "target" : "source");
    xml.leaf("running", {});
    xml.close();
  }
  if (edit && offers(kRollback)) xml.leaf("error-option", "rollback-on-error");
  if (edit)
    write_native_request(request.kind, request.tree, xml);
  else
    write_native_request(request.kind, filter_of(request, schema_), xml);
  xml.close();
}

Answer Client::run(const Request &request) {
  if (request.kind != Request::Kind::edit) return exchange(request);
  if (!offers("writable-running:1.0"))
    throw RpcError({.type = "protocol",
                    .tag = "operation-not-supported",
                    .message = "the server does not let clients edit its running datastore (no capability "
                               "writable-running)"});
  try {
    return exchange(request);
  } catch (const RpcError &error) {
    if (offers(kRollback)) throw;
    auto fault = error.fault();
    fault.message += " (the server does not promise to undo what came before the error)";
    throw RpcError(std::move(fault));
  }
}

Answer Client::exchange(const Request &request) {
  std::unique_ptr<XmlDocument> reply;
  try {
    reply = call([&](XmlWriter &xml) { write_operation(request, xml); }, channel_.end_of_patience());
  } catch (const BadMessage &error) {
    fail(std::string("gives no proper answer: ") + error.what());
  } catch (const UsageError &error) {
    fail(error.what());
  }

  const auto parts = reply->root().children();
  std::vector<std::string> warnings;
  if (auto fault = read_errors(schema_, parts, warnings)) throw RpcError(std::move(*fault));
  const auto data =
      std::find_if(parts.begin(), parts.end(), [](const XmlElement &part) { return part.name() == "data"; });
  if (data == parts.end() && request.kind != Request::Kind::edit) fail("answers a read without data");
  Answer answer;
  if (data != parts.end()) answer = read_data(schema_, (*data).children());
  answer.warnings.insert(answer.warnings.begin(), warnings.begin(), warnings.end());
  return answer;
}

template <typename Write>
std::unique_ptr<XmlDocument> Client::call(const Write &write, Stream::Clock::time_point end) {
  XmlWriter xml(Layout::compact);
  xml.open("rpc", {{"xmlns", std::string(kNetconfNs)}, {"message-id", std::to_string(++last_id_)}});
  write(xml);
  xml.close();
  channel_.send(xml.text(), end);
  auto reply = await_reply(end);
  check_reply(reply->root(), last_id_);
  return reply;
}

/// The next message that is no notification. Throws BadMessage, UsageError.
std::unique_ptr<XmlDocument> Client::await_reply(Stream::Clock::time_point end) {
  while (true) {
    auto message = channel_.receive(end);
    if (!message) throw BadMessage("the connection ended before it");
    const auto root = message->root();
    if (root.name() == "notification" && root.ns() == kNotificationNs) continue;
    if (root.name() == "rpc-reply" && root.ns() == kNetconfNs) return message;
    throw BadMessage("it is a <" + std::string(root.name()) + "> of namespace \"" + std::string(root.ns()) +
                     "\"; it must be an <rpc-reply> of " + std::string(kNetconfNs));
  }
}

}  // namespace ymap::netconf
