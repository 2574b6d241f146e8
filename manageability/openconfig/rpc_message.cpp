// The envelope of a NETCONF <rpc> and the parameters of its operations (RFC 6241, section 7).
#include <algorithm>
#include <array>
#include <iterator>

#include "data_parser.hpp"
#include "openconfig_request.hpp"
#include "printable.hpp"
#include "rpc_error.hpp"
#include "rpc_parameters.hpp"

namespace ymap {
namespace {

void read_filter(const Parameters &parameters, const Schema &schema, Request &request) {
  const auto *filter = parameters.find("filter");
  if (filter == nullptr) return;
  const auto path = parameters.path_of("filter");
  for (const auto &attribute : filter->attributes()) {
    const bool own = attribute.ns.empty() || attribute.ns == kNetconfNs;
    if (own && attribute.name == "type" && attribute.value == "subtree") continue;
    if (own && (attribute.name == "type" || attribute.name == "select"))
      not_supported("filters are of type \"subtree\" only", path);
    throw RpcError({.type = "protocol",
                    .tag = "unknown-attribute",
                    .message = "attribute " + shortened(attribute.name) + " of the filter is not known",
                    .path = path,
                    .bad_attribute = std::string(attribute.name),
                    .bad_element = "filter"});
  }
  if (!filter->text().empty()) refuse("bad-element", "the filter holds text", path, "filter");
  request.selects_nothing = !parse_filter(schema, *filter, path, request.tree);
}

/// Data is reported as it was set (RFC 6243, section 2.3), which is all that the model needs: it has no
/// defaults.
void check_with_defaults(const Parameters &parameters) {
  parameters.word("with-defaults", {"explicit"}, "explicit");
}

Request parse_get(const XmlElement &operation, const std::string &path, const Schema &schema) {
  Request request;
  request.kind = Request::Kind::get;
  const Parameters parameters(operation, path, {"filter", "with-defaults"});
  check_with_defaults(parameters);
  read_filter(parameters, schema, request);
  return request;
}

Request parse_get_config(const XmlElement &operation, const std::string &path, const Schema &schema) {
  Request request;
  request.kind = Request::Kind::get_config;
  const Parameters parameters(operation, path, {"source", "filter", "with-defaults"});
  parameters.require_running("source");
  check_with_defaults(parameters);
  read_filter(parameters, schema, request);
  return request;
}

void read_config(const XmlElement &config, const std::string &path, DefaultOperation operation,
                 const Schema &schema, Request &request) {
  if (!config.text().empty())
    refuse("bad-element", "config holds text; it may hold elements only", path, "config");
  // An operation is for elements of the data; on <config> it would be lost.
  for (const auto &attribute : config.attributes()) {
    throw RpcError({.type = "protocol",
                    .tag = "unknown-attribute",
                    .message = "attribute " + shortened(attribute.name) +
                               " is not known in config; operations stand in the elements below it",
                    .path = path,
                    .bad_attribute = std::string(attribute.name),
                    .bad_element = "config"});
  }
  parse_edit(schema, config, path, operation, request.tree, request.stated);
}

// Every edit is atomic, so all three error options hold: nothing is done after the first error, as there is
// nothing left to do.
Request parse_edit_config(const XmlElement &operation, const std::string &path, const Schema &schema) {
  Request request;
  request.kind = Request::Kind::edit;
  const Parameters parameters(
      operation, path, {"target", "default-operation", "test-option", "error-option", "config", "url"});
  parameters.require_running("target");
  const auto word = parameters.word("default-operation", {"merge", "replace", "none"}, "merge");
  const auto test = parameters.word("test-option", {"test-then-set", "set", "test-only"}, "set");
  parameters.word("error-option", {"stop-on-error", "continue-on-error", "rollback-on-error"},
                  "stop-on-error");
  request.test_only = test == "test-only";
  if (parameters.find("url") != nullptr)
    not_supported("an edit from a url is not supported", parameters.path_of("url"));
  const auto &config = parameters.require("config");
  const auto default_operation = word == "replace" ? DefaultOperation::replace
                                 : word == "none"  ? DefaultOperation::none
                                                   : DefaultOperation::merge;
  read_config(config, parameters.path_of("config"), default_operation, schema, request);
  return request;
}

/// What is stored is valid, so running is tried by an edit of nothing; a configuration in the request by one
/// that would put it in the place of running (RFC 6241, section 8.6.4.1).
Request parse_validate(const XmlElement &operation, const std::string &path, const Schema &schema) {
  Request request;
  request.kind = Request::Kind::edit;
  request.test_only = true;
  const Parameters parameters(operation, path, {"source"});
  const auto children = parameters.require("source").children();
  if (children.empty() || std::next(children.begin()) != children.end() ||
      children.front().name() != "config" || children.front().ns() != kNetconfNs) {
    parameters.require_running("source");
    return request;
  }
  read_config(children.front(), parameters.path_of("source") + "/config", DefaultOperation::replace, schema,
              request);
  return request;
}

struct Operation {
  std::string_view name;
  Request (*parse)(const XmlElement &operation, const std::string &path, const Schema &schema);
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

Request parse_operation(const XmlElement &operation, const std::string &path, const Schema &schema) {
  const auto row = std::ranges::find(kOperations, operation.name(), &Operation::name);
  if (row == kOperations.end() || operation.ns() != kNetconfNs) {
    not_supported("operation " + shortened(operation.name()) + " of namespace \"" +
                      shortened(operation.ns()) + "\" is none of get, get-config, edit-config, validate",
                  path);
  }
  return row->parse(operation, path, schema);
}

}  // namespace ymap
