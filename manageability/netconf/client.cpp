// Requests to a NETCONF server.
#include "client.hpp"

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

Client::Client(const Schema &schema, const ServerAddress &address) : schema_(schema), session_(address) {
  const std::string module(schema.module_name());
  if (!session_.hello().lists_module(module))
    warnings_.push_back(session_.server() + " does not announce the module " + module);
}

void Client::write_operation(const Request &request, XmlWriter &xml) const {
  const bool edit = request.kind == Request::Kind::edit;
  xml.open(edit ? "edit-config" : request.kind == Request::Kind::get ? "get" : "get-config");
  if (request.kind != Request::Kind::get) {
    xml.open(edit ? "target" : "source");
    xml.leaf(request.commit ? "candidate" : "running", {});
    xml.close();
  }
  if (request.test_only) xml.leaf("test-option", "test-only");
  if (edit && session_.offers(kRollback)) xml.leaf("error-option", "rollback-on-error");
  if (edit)
    write_native_request(request.kind, request.tree, xml);
  else
    write_native_request(request.kind, filter_of(request, schema_), xml);
  xml.close();
}

Answer Client::run(const Request &request) {
  if (request.kind != Request::Kind::edit) return exchange(request);
  if (!request.commit) require("writable-running:1.0", "does not let clients edit its running datastore");
  if (request.test_only) require("validate:1.1", "cannot try an edit without making it");
  try {
    return request.commit ? edit_to_confirm(request) : exchange(request);
  } catch (const RpcError &error) {
    if (session_.offers(kRollback)) throw;
    auto fault = error.fault();
    fault.message += " (the server does not promise to undo what came before the error)";
    throw RpcError(std::move(fault));
  }
}

void Client::require(const char *capability, const char *what) const {
  if (session_.offers(capability)) return;
  throw RpcError({.type = "protocol",
                  .tag = "operation-not-supported",
                  .message = std::string("the server ") + what + " (no capability " + capability + ")"});
}

namespace {

ClientSession::Write lock_of_candidate(const char *operation) {
  return [=](XmlWriter &xml) {
    xml.open(operation);
    xml.open("target");
    xml.leaf("candidate", {});
    xml.close();
    xml.close();
  };
}

}  // namespace

/// A commit of the candidate; running alone has none.
Answer Client::edit_to_confirm(const Request &request) {
  require("candidate:1.0", "has no edits that are to be confirmed");
  require("confirmed-commit:1.1", "has no edits that are to be confirmed");
  const auto &confirmation = *request.commit->to_confirm;
  exchange(lock_of_candidate("lock"));
  try {
    auto answer = exchange(request);
    const auto commit = [&](bool follows_up) {
      return exchange([&](XmlWriter &xml) {
        xml.open("commit");
        xml.leaf("confirmed", {});
        xml.leaf("confirm-timeout", std::to_string(confirmation.timeout.count()));
        xml.leaf("persist", *confirmation.persist);
        if (follows_up) xml.leaf("persist-id", *confirmation.persist);
        xml.close();
      });
    };
    Answer committed;
    try {
      committed = commit(false);
    } catch (const RpcError &refusal) {
      // Perhaps the one before waits still, which only its id tells.
      try {
        committed = commit(true);
      } catch (const RpcError &) {
        throw refusal;
      }
    }
    answer.warnings.insert(answer.warnings.end(), committed.warnings.begin(), committed.warnings.end());
    exchange(lock_of_candidate("unlock"));
    return answer;
  } catch (const RpcError &) {
    // With its lock go the candidate's changes (RFC 6241, section 8.3.5.2).
    exchange(lock_of_candidate("unlock"));
    throw;
  }
}

Answer Client::end_commit(const std::string &persist_id, bool cancels) {
  require("confirmed-commit:1.1", "has no commits that are to be confirmed");
  return exchange([&](XmlWriter &xml) {
    xml.open(cancels ? "cancel-commit" : "commit");
    xml.leaf("persist-id", persist_id);
    xml.close();
  });
}

Answer Client::exchange(const ClientSession::Write &write) {
  const auto reply = session_.call(write);
  std::vector<std::string> warnings;
  if (auto fault = read_errors(reply->root().children(), warnings, openconfig_paths(schema_)))
    throw RpcError(std::move(*fault));
  return {{}, std::move(warnings), {}};
}

Answer Client::exchange(const Request &request) {
  const auto reply = session_.call([&](XmlWriter &xml) { write_operation(request, xml); });
  const auto parts = reply->root().children();
  std::vector<std::string> warnings;
  if (auto fault = read_errors(parts, warnings, openconfig_paths(schema_))) throw RpcError(std::move(*fault));
  const auto data = data_of(parts);
  if (!data && request.kind != Request::Kind::edit) session_.fail("answers a read without data");
  Answer answer;
  if (data) answer = read_data(schema_, data->children());
  answer.warnings.insert(answer.warnings.begin(), warnings.begin(), warnings.end());
  return answer;
}

}  // namespace ymap::netconf
