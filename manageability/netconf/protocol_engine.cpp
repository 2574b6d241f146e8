// Requests and replies through libnetconf2.
#include "protocol_engine.hpp"

#include <libnetconf2/log.h>
#include <libnetconf2/messages_server.h>
#include <libnetconf2/session_server.h>
#include <libyang/libyang.h>

#include <iostream>
#include <new>

#include "device.hpp"
#include "printable.hpp"
#include "rpc_error.hpp"
#include "rpc_reply.hpp"
#include "transport.hpp"

namespace ymap::netconf {
namespace {

void print_message(const nc_session * /*session*/, NC_VERB_LEVEL /*level*/, const char *message) {
  std::cerr << "ymap: " << printable(message) << "\n";
}

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

}  // namespace

void ProtocolEngine::PollDeleter::operator()(nc_pollsession *poll) const {
  nc_ps_clear(poll, 1, nullptr);
  nc_ps_free(poll);
}

ProtocolEngine::ProtocolEngine(ly_ctx *context)
    : context_(context), input_("netconf-input"), output_("netconf-output") {
  nc_verbosity(NC_VERB_ERROR);
  nc_set_print_clb_session(print_message);
  // These two the library would answer itself.
  for (const char *path : {"/ietf-netconf:close-session", "/ietf-netconf-monitoring:get-schema"}) {
    auto *rpc = const_cast<lysc_node *>(lys_find_path(context_, nullptr, path, 0));
    rpc->priv = reinterpret_cast<void *>(static_cast<nc_rpc_clb>(answer));
  }
  nc_set_global_rpc_clb(answer);
  if (nc_server_init(context_) != 0) throw UsageError("the NETCONF library cannot be used");
  poll_.reset(nc_ps_new());
  if (!poll_) throw std::bad_alloc();
}

ProtocolEngine::~ProtocolEngine() {
  poll_.reset();
  nc_server_destroy();
}

Framing ProtocolEngine::open(const std::string &hello, const std::string &user) {
  input_.put(framed(hello, Framing::end_of_message));
  if (nc_accept_inout(input_.descriptor(), output_.descriptor(), user.c_str(), &session_) != NC_MSG_HELLO)
    throw TransportError("the client's <hello> is not in order");
  output_.take();  // the library's own <hello>, which knows no number but its own for the session
  nc_session_set_data(session_, this);
  nc_ps_add_session(poll_.get(), session_);
  framing_ = nc_session_get_version(session_) == 1 ? Framing::chunked : Framing::end_of_message;
  return framing_;
}

ProtocolEngine::Reply ProtocolEngine::run(const std::string &request, const Action &action) {
  input_.put(framed(request, framing_));
  action_ = &action;
  const int events = nc_ps_poll(poll_.get(), 0, nullptr);
  action_ = nullptr;
  Reply reply;
  reply.bytes = output_.take();
  // What the library cannot read it refuses in words that no client can use.
  if ((events & NC_PSPOLL_BAD_RPC) != 0) {
    const char *reason = ly_errmsg(context_);
    throw RpcError({.type = "rpc",
                    .tag = "malformed-message",
                    .message = reason == nullptr ? "the message cannot be read" : reason});
  }
  reply.refused = (events & NC_PSPOLL_REPLY_ERROR) != 0;
  reply.last = (events & (NC_PSPOLL_SESSION_TERM | NC_PSPOLL_ERROR)) != 0;
  return reply;
}

nc_server_reply *ProtocolEngine::answer(lyd_node *rpc, nc_session *session) {
  return static_cast<const ProtocolEngine *>(nc_session_get_data(session))->answer(rpc);
}

// No exception may pass through the library.
nc_server_reply *ProtocolEngine::answer(lyd_node *rpc) const {
  try {
    const auto result = (*action_)();
    if (result.kind == Result::Kind::close) nc_session_set_term_reason(session_, NC_SESSION_TERM_CLOSED);
    if (result.kind == Result::Kind::ok || result.kind == Result::Kind::close) return nc_server_reply_ok();
    lyd_node *operation = nullptr;
    lyd_new_inner(nullptr, rpc->schema->module, rpc->schema->name, 0, &operation);
    const auto type = result.kind == Result::Kind::xml ? LYD_ANYDATA_XML : LYD_ANYDATA_STRING;
    if (operation == nullptr ||
        lyd_new_any(operation, nullptr, "data", result.data.c_str(), 0, type, 1, nullptr) != LY_SUCCESS) {
      lyd_free_all(operation);
      throw std::bad_alloc();
    }
    return nc_server_reply_data(operation, NC_WD_EXPLICIT, NC_PARAMTYPE_FREE);
  } catch (const std::exception &failure) {
    return error(fault_of(failure));
  }
}

// The library's own functions for errors can neither declare the prefixes of a path nor a bad-element without
// its kind of error; so it is given the whole element.
nc_server_reply *ProtocolEngine::error(const Fault &fault) const {
  const auto text = error_reply({}, fault);
  lyd_node *reply = nullptr;
  lyd_parse_data_mem(context_, text.c_str(), LYD_XML, LYD_PARSE_ONLY | LYD_PARSE_OPAQ, 0, &reply);
  lyd_node *element = lyd_child(reply);
  if (element == nullptr) return nullptr;
  lyd_unlink_tree(element);
  lyd_free_all(reply);
  return nc_server_reply_err(element);
}

}  // namespace ymap::netconf
