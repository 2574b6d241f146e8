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
    xml.leaf("running", {});
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
  if (!session_.offers("writable-running:1.0"))
    throw RpcError({.type = "protocol",
                    .tag = "operation-not-supported",
                    .message = "the server does not let clients edit its running datastore (no capability "
                               "writable-running)"});
  if (request.test_only && !session_.offers("validate:1.1"))
    throw RpcError(
        {.type = "protocol",
         .tag = "operation-not-supported",
         .message = "the server cannot try an edit without making it (no capability validate:1.1)"});
  try {
    return exchange(request);
  } catch (const RpcError &error) {
    if (session_.offers(kRollback)) throw;
    auto fault = error.fault();
    fault.message += " (the server does not promise to undo what came before the error)";
    throw RpcError(std::move(fault));
  }
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
