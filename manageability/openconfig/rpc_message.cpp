// The envelope of a NETCONF <rpc> and the parameters of its operations (RFC 6241, section 7).
#include <algorithm>
#include <array>
#include <iterator>

#include "data_parser.hpp"
#include "native_parser.hpp"
#include "openconfig_request.hpp"
#include "operation_parameters.hpp"
#include "printable.hpp"
#include "rpc_error.hpp"
#include "rpc_parameters.hpp"

namespace ymap {
namespace {

void read_filter(const Parameters &parameters, const Schema &schema, Request &request) {
  const auto filter = subtree_filter(parameters);
  request.selects_all_rules = !filter;
  if (!filter) return;
  request.selects_nothing = !parse_filter(schema, *filter, parameters.path_of("filter"), request.tree);
  request.rules = rules_filter(filter->children(), request.texts);
}

Request parse_get(const XmlElement &operation, const std::string &path, const Schema &schema,
                  Candidate /*candidate*/) {
  Request request;
  request.kind = Request::Kind::get;
  const Parameters parameters(operation, path, {"filter", "with-defaults"});
  check_with_defaults(parameters);
  read_filter(parameters, schema, request);
  return request;
}

Request parse_get_config(const XmlElement &operation, const std::string &path, const Schema &schema,
                         Candidate candidate) {
  Request request;
  request.kind = Request::Kind::get_config;
  const Parameters parameters(operation, path, {"source", "filter", "with-defaults"});
  request.datastore = parameters.datastore("source", candidate);
  check_with_defaults(parameters);
  read_filter(parameters, schema, request);
  return request;
}

// Every edit is atomic, so all three error options hold: nothing is done after the first error, as there is
// nothing left to do.
Request parse_edit_config(const XmlElement &operation, const std::string &path, const Schema &schema,
                          Candidate candidate) {
  Request request;
  request.kind = Request::Kind::edit;
  const EditParameters edit(operation, path, candidate);
  request.datastore = edit.target;
  request.test_only = edit.test_only;
  parse_edit(schema, edit.config, edit.config_path, edit.default_operation, request.tree, request.stated);
  request.rules = rules_edit(edit.config.children(), edit.default_operation, request.texts);
  return request;
}

/// What is stored is valid, so running is tried by an edit of nothing; a configuration in the request by one
/// that would put it in the place of running (RFC 6241, section 8.6.4.1).
Request parse_validate(const XmlElement &operation, const std::string &path, const Schema &schema,
                       Candidate candidate) {
  Request request;
  request.kind = Request::Kind::edit;
  request.test_only = true;
  request.is_validation = true;
  const ValidateParameters validate(operation, path, candidate);
  request.datastore = validate.source;
  if (!validate.config) return request;
  parse_edit(schema, *validate.config, validate.config_path, DefaultOperation::replace, request.tree,
             request.stated);
  request.rules = rules_edit(validate.config->children(), DefaultOperation::replace, request.texts);
  return request;
}

struct Operation {
  std::string_view name;
  Request (*parse)(const XmlElement &operation, const std::string &path, const Schema &schema,
                   Candidate candidate);
};
constexpr std::array<Operation, 4> kOperations = {{
    {"get", parse_get},
    {"get-config", parse_get_config},
    {"edit-config", parse_edit_config},
    {"validate", parse_validate},
}};

/// RFC 6241, section 4.1.
void check_message_id(const XmlElement &rpc, const std::string &path) {
  const auto attributes = rpc.attributes();
  const bool given = std::ranges::any_of(
      attributes, [](const XmlAttribute &one) { return one.name == "message-id" && one.ns.empty(); });
  if (given) return;
  throw RpcError({.type = "rpc",
                  .tag = "missing-attribute",
                  .message = "an <rpc> needs the attribute message-id",
                  .path = path,
                  .bad_attribute = "message-id",
                  .bad_element = "rpc"});
}

}  // namespace

XmlElement RpcMessage::operation() const {
  if (fault_) throw RpcError(*fault_);
  const auto rpc = document_->root();
  if (rpc.name() != "rpc") {
    refuse("unknown-element", "the message is a <" + shortened(rpc.name()) + ">; it must be an <rpc>", {},
           rpc.name(), "rpc");
  }
  check_namespace(rpc, kNetconfNs, {});
  const auto path = step({}, kProtocolModule, "rpc");
  check_message_id(rpc, path);
  const auto operations = rpc.children();
  if (operations.empty()) refuse("missing-element", "an <rpc> holds exactly one operation", path, {}, "rpc");
  if (const auto second = std::next(operations.begin()); second != operations.end())
    refuse("bad-element", "an <rpc> holds exactly one operation", path, (*second).name(), "rpc");
  return operations.front();
}

std::span<const XmlAttribute> RpcMessage::attributes() const {
  return document_ && document_->root_name() == "rpc" ? document_->root_attributes()
                                                      : std::span<const XmlAttribute>();
}

RpcMessage::RpcMessage(std::string_view text) {
  try {
    document_.emplace(text);
  } catch (const RpcError &error) {
    fault_ = error.fault();
    read_beginning(text);
  }
}

/// As much as the start tag of the <rpc> tells of a message that cannot be read.
void RpcMessage::read_beginning(std::string_view text) {
  const auto begin = text.find("rpc");
  const auto tag = begin == std::string_view::npos ? begin : text.rfind('<', begin);
  const auto end = tag == std::string_view::npos ? tag : text.find('>', tag);
  if (end == std::string_view::npos) return;
  const auto kept = text[end - 1] == '/' ? end - 1 : end;
  try {
    document_.emplace(std::string(text.substr(tag, kept - tag)) + "/>");
  } catch (const RpcError &) {
    return;
  }
}

Request RpcMessage::request(const Schema &schema) const {
  return parse_operation(operation(), step({}, kProtocolModule, "rpc"), schema);
}

Request parse_operation(const XmlElement &operation, const std::string &path, const Schema &schema,
                        Candidate candidate) {
  const auto row = std::ranges::find(kOperations, operation.name(), &Operation::name);
  if (row == kOperations.end() || operation.ns() != kNetconfNs) {
    not_supported("operation " + shortened(operation.name()) + " of namespace \"" +
                      shortened(operation.ns()) + "\" is none of get, get-config, edit-config, validate",
                  path);
  }
  return row->parse(operation, path, schema, candidate);
}

}  // namespace ymap
