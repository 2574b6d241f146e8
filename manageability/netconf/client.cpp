// Requests through libnetconf2's client.
#include "client.hpp"

#include <fcntl.h>
#include <libyang/libyang.h>
#include <nc_client.h>
#include <unistd.h>

#include <csignal>

#include "client_reply.hpp"
#include "datatree.hpp"
#include "deadline.hpp"
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

/// libnetconf2 tells reasons in messages only; the last one explains a failure.
std::string last_message;

void keep_message(const nc_session *, NC_VERB_LEVEL level, const char *message) {
  if (level == NC_VERB_ERROR) last_message = message;
}

/// While a server is spoken to, its end must show as an error and not end the tool; afterwards a closed pipe
/// on standard output does again.
class WithoutSigpipe {
 public:
  WithoutSigpipe() : before_(std::signal(SIGPIPE, SIG_IGN)) {}
  ~WithoutSigpipe() { std::signal(SIGPIPE, before_); }
  WithoutSigpipe(const WithoutSigpipe &) = delete;
  WithoutSigpipe &operator=(const WithoutSigpipe &) = delete;

 private:
  void (*before_)(int);
};

struct RpcDeleter {
  void operator()(nc_rpc *rpc) const { nc_rpc_free(rpc); }
};

std::vector<XmlElement> elements(const lyd_node *first) {
  std::vector<XmlElement> list;
  for (const lyd_node *node = first; node != nullptr; node = node->next) list.emplace_back(node);
  return list;
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
  const WithoutSigpipe scope;
  nc_session_free(session, nullptr);
}

Client::Client(const Schema &schema, const Destination &destination, std::chrono::milliseconds patience)
    : schema_(schema), server_(destination.text()), patience_(patience), ssh_(destination) {
  nc_verbosity(NC_VERB_ERROR);
  nc_set_print_clb_session(keep_message);
  try {
    hello_ = read_hello(ssh_.from_server(), patience);
  } catch (const UsageError &error) {
    fail(error.what());
  }
  if (!hello_.lists_module(schema.module_name()))
    warnings_.push_back(server_ + " does not announce the module " + schema.module_name());

  context_.reset(make_context({protocol_module_folder()}));
  load_protocol_modules(context_.get());

  // libnetconf2 reads the hello from a pipe; then the server takes the pipe's place.
  const auto hello = bare_hello(hello_);
  const auto written = write(input_[Pipe::writing], hello.data(), hello.size());
  const WithoutSigpipe scope;
  if (written == static_cast<ssize_t>(hello.size()))
    session_.reset(nc_connect_inout(input_[Pipe::reading], ssh_.to_server(), context_.get()));
  if (!session_ || dup3(ssh_.from_server(), input_[Pipe::reading], O_CLOEXEC) < 0)
    fail("gives no session: " + last_message);
  input_.shut(Pipe::writing);
}

Client::~Client() = default;

void Client::fail(const std::string &what) const {
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
  const WithoutSigpipe scope;
  const int timeout = static_cast<int>(patience_.count());
  const Deadline deadline(input_[Pipe::reading], patience_);
  last_message.clear();
  const std::unique_ptr<nc_rpc, RpcDeleter> rpc(
      nc_rpc_act_generic_xml(operation.c_str(), NC_PARAMTYPE_CONST));
  uint64_t id = 0;
  if (!rpc || nc_send_rpc(session_.get(), rpc.get(), timeout, &id) != NC_MSG_RPC)
    fail("takes no request: " + last_message);
  lyd_node *envelope = nullptr;
  lyd_node *output = nullptr;
  NC_MSG_TYPE kind = NC_MSG_NOTIF;
  while (kind == NC_MSG_NOTIF)
    kind = nc_recv_reply(session_.get(), rpc.get(), id, timeout, &envelope, &output);
  const device::Tree envelope_owner(envelope);
  const device::Tree output_owner(output);
  if (kind == NC_MSG_WOULDBLOCK || (kind != NC_MSG_REPLY && deadline.passed())) fail(too_late(patience_));
  if (kind != NC_MSG_REPLY) fail("gives no proper answer: " + last_message);

  std::vector<std::string> warnings;
  if (auto fault = read_errors(schema_, elements(lyd_child(envelope)), warnings))
    throw RpcError(std::move(*fault));
  Answer answer;
  const lyd_node *data = output == nullptr ? nullptr : lyd_child(output);
  if (data == nullptr && read) fail("answers a read without data");
  if (data != nullptr && data->schema != nullptr && (data->schema->nodetype & LYD_NODE_ANY) != 0) {
    const auto *any = reinterpret_cast<const lyd_node_any *>(data);
    if (any->value_type == LYD_ANYDATA_DATATREE) answer = read_data(schema_, elements(any->value.tree));
  }
  answer.warnings.insert(answer.warnings.begin(), warnings.begin(), warnings.end());
  return answer;
}

}  // namespace ymap::netconf
