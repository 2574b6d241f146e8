// Requests through libnetconf2's client.
#include "client.hpp"

#include <libyang/libyang.h>
#include <nc_client.h>

#include <algorithm>
#include <exception>
#include <new>

#include "client_reply.hpp"
#include "datatree.hpp"
#include "device.hpp"
#include "plugin.hpp"
#include "protocol_modules.hpp"
#include "rpc_error.hpp"
#include "rpc_reply.hpp"
#include "xml_document.hpp"
#include "xml_writer.hpp"
#include "ymap_datatree.h"

namespace ymap::netconf {
namespace {

constexpr const char *kRollback = "rollback-on-error:1.0";
constexpr std::string_view kNotificationNs = "urn:ietf:params:xml:ns:netconf:notification:1.0";  // RFC 5277
constexpr int kAtOnce = 0;  ///< libnetconf2's milliseconds for what is in memory already
constexpr std::chrono::milliseconds kGrace{500};  ///< for a server to say goodbye

/// libnetconf2 tells reasons in messages only; the last one explains a failure.
std::string last_message;

void keep_message(const nc_session *, NC_VERB_LEVEL level, const char *message) {
  if (level == NC_VERB_ERROR) last_message = message;
}

struct RpcDeleter {
  void operator()(nc_rpc *rpc) const { nc_rpc_free(rpc); }
};
using Rpc = std::unique_ptr<nc_rpc, RpcDeleter>;

Rpc make_rpc(const std::string &operation) {
  Rpc rpc(nc_rpc_act_generic_xml(operation.c_str(), NC_PARAMTYPE_DUP_AND_FREE));
  if (!rpc) throw std::bad_alloc();
  return rpc;
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

void Client::ContextDeleter::operator()(ly_ctx *context) const {
  ly_ctx_destroy(context);
}

void Client::SessionDeleter::operator()(nc_session *session) const {
  nc_session_free(session, nullptr);
}

Client::Client(const Schema &schema, const Destination &destination, std::chrono::milliseconds patience)
    : schema_(schema),
      server_(destination.text()),
      channel_(destination, patience),
      input_("netconf-input"),
      output_("netconf-output") {
  nc_verbosity(NC_VERB_ERROR);
  nc_set_print_clb_session(keep_message);
  context_.reset(make_context({protocol_module_folder()}));
  load_protocol_modules(context_.get());
  try {
    open_session();
  } catch (const BadMessage &error) {
    fail(std::string("does not speak NETCONF: ") + error.what());
  } catch (const UsageError &error) {
    fail(error.what());
  }
  if (!hello_.lists_module(schema.module_name()))
    warnings_.push_back(server_ + " does not announce the module " + schema.module_name());
}

// libnetconf2 takes the end of its input for the server's and sends no <close-session> of its own.
Client::~Client() {
  if (failed_) return;
  try {
    const auto end = Stream::Clock::now() + kGrace;
    XmlWriter goodbye;
    goodbye.leaf("close-session", {}, {{"xmlns", std::string(kNetconfNs)}});
    send(make_rpc(goodbye.text()).get(), end);
    channel_.receive(end);
  } catch (const std::exception &) {
    return;  // the end of ssh ends the session too
  }
}

void Client::open_session() {
  const auto end = channel_.end_of_patience();
  const auto hello = channel_.receive(end);
  if (!hello)
    throw UsageError(
        "gives no NETCONF session (ssh -s HOST netconf ended); YMAP_SSH=\"ssh -i KEY\" names a key");
  hello_ = read_hello(hello->root());
  input_.put(framed(bare_hello(hello_), framing_));
  session_.reset(nc_connect_inout(input_.descriptor(), output_.descriptor(), context_.get()));
  if (!session_) throw UsageError("gives no session: " + last_message);
  channel_.send(output_.take(), end);
  if (nc_session_get_version(session_.get()) == 1) framing_ = Framing::chunked;
  channel_.use(framing_);
}

void Client::fail(const std::string &what) {
  failed_ = true;
  throw UsageError("server " + server_ + " " + what);
}

bool Client::offers(const std::string &capability) const {
  return hello_.offers("urn:ietf:params:netconf:capability:" + capability);
}

std::string Client::operation(const Request &request) const {
  const bool edit = request.kind == Request::Kind::edit;
  XmlWriter xml;
  const char *name = edit ? "edit-config" : request.kind == Request::Kind::get ? "get" : "get-config";
  xml.open(name, {{"xmlns", std::string(kNetconfNs)}});
  if (request.kind != Request::Kind::get) {
    xml.open(edit ? "target" : "source");
    xml.leaf("running", {});
    xml.close();
  }
  if (edit && offers(kRollback)) xml.leaf("error-option", "rollback-on-error");
  xml.raw(edit ? native_request(request.kind, request.tree)
               : native_request(request.kind, filter_of(request, schema_)));
  xml.close();
  return xml.text();
}

Answer Client::run(const Request &request) {
  if (request.kind != Request::Kind::edit) return exchange(operation(request), true);
  if (!offers("writable-running:1.0"))
    throw RpcError({.type = "protocol",
                    .tag = "operation-not-supported",
                    .message = "the server does not let clients edit its running datastore (no capability "
                               "writable-running)"});
  try {
    return exchange(operation(request), false);
  } catch (const RpcError &error) {
    if (offers(kRollback)) throw;
    auto fault = error.fault();
    fault.message += " (the server does not promise to undo what came before the error)";
    throw RpcError(std::move(fault));
  }
}

Answer Client::exchange(const std::string &operation, bool read) {
  const auto rpc = make_rpc(operation);
  const auto end = channel_.end_of_patience();
  uint64_t id = 0;
  std::unique_ptr<XmlDocument> reply;
  try {
    id = send(rpc.get(), end);
    reply = await_reply(end);
  } catch (const BadMessage &error) {
    fail(std::string("gives no proper answer: ") + error.what());
  } catch (const UsageError &error) {
    fail(error.what());
  }
  check_reply(reply->root(), rpc.get(), id);

  const auto parts = reply->root().children();
  std::vector<std::string> warnings;
  if (auto fault = read_errors(schema_, parts, warnings)) throw RpcError(std::move(*fault));
  const auto data = std::ranges::find(parts, "data", &XmlElement::name);
  if (data == parts.end() && read) fail("answers a read without data");
  Answer answer;
  if (data != parts.end()) answer = read_data(schema_, data->children());
  answer.warnings.insert(answer.warnings.begin(), warnings.begin(), warnings.end());
  return answer;
}

/// Returns the request's message-id. Throws UsageError.
uint64_t Client::send(nc_rpc *rpc, Stream::Clock::time_point end) {
  last_message.clear();
  uint64_t id = 0;
  if (nc_send_rpc(session_.get(), rpc, kAtOnce, &id) != NC_MSG_RPC)
    throw UsageError("takes no request: " + last_message);
  channel_.send(output_.take(), end);
  return id;
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

/// Has libnetconf2 judge what a reply is made of, and whether it is the one that was asked for. What is in
/// its elements it need not see: it would make schema nodes of those that its context knows.
void Client::check_reply(const XmlElement &reply, nc_rpc *rpc, uint64_t id) {
  input_.put(framed(bare_reply(reply), framing_));
  lyd_node *envelope = nullptr;
  lyd_node *output = nullptr;
  const auto kind = nc_recv_reply(session_.get(), rpc, id, kAtOnce, &envelope, &output);
  const device::Tree envelope_owner(envelope);
  const device::Tree output_owner(output);
  if (kind != NC_MSG_REPLY) fail("gives no proper answer: " + last_message);
}

}  // namespace ymap::netconf
