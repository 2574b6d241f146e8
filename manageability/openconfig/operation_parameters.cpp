// Checks the parameters of operations on data.
#include "operation_parameters.hpp"

#include <iterator>

#include "printable.hpp"
#include "rpc_error.hpp"

namespace ymap {
namespace {

/// An operation is for elements of the data; on <config> it would be lost.
void check_config(const XmlElement &config, const std::string &path) {
  if (!config.text().empty())
    refuse("bad-element", "config holds text; it may hold elements only", path, "config");
  for (const auto &attribute : config.attributes()) {
    throw RpcError({.type = "protocol",
                    .tag = "unknown-attribute",
                    .message = "attribute " + shortened(attribute.name) +
                               " is not known in config; operations stand in the elements below it",
                    .path = path,
                    .bad_attribute = std::string(attribute.name),
                    .bad_element = "config"});
  }
}

/// <config> of an <edit-config>, once everything in front of it was judged.
XmlElement required_config(const Parameters &parameters) {
  if (parameters.find("url") != nullptr)
    not_supported("an edit from a url is not supported", parameters.path_of("url"));
  return parameters.require("config");
}

}  // namespace

std::optional<XmlElement> subtree_filter(const Parameters &parameters) {
  const auto *filter = parameters.find("filter");
  if (filter == nullptr) return std::nullopt;
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
  return *filter;
}

void check_with_defaults(const Parameters &parameters) {
  parameters.word("with-defaults", {"explicit"}, "explicit");
}

EditParameters::EditParameters(const XmlElement &operation, const std::string &path, Candidate candidate)
    : config(operation) {
  const Parameters parameters(
      operation, path, {"target", "default-operation", "test-option", "error-option", "config", "url"});
  target = parameters.datastore("target", candidate);
  const auto word = parameters.word("default-operation", {"merge", "replace", "none"}, "merge");
  const auto test = parameters.word("test-option", {"test-then-set", "set", "test-only"}, "set");
  parameters.word("error-option", {"stop-on-error", "continue-on-error", "rollback-on-error"},
                  "stop-on-error");
  default_operation = word == "replace" ? DefaultOperation::replace
                      : word == "none"  ? DefaultOperation::none
                                        : DefaultOperation::merge;
  test_only = test == "test-only";
  config = required_config(parameters);
  config_path = parameters.path_of("config");
  check_config(config, config_path);
}

ValidateParameters::ValidateParameters(const XmlElement &operation, const std::string &path,
                                       Candidate candidate) {
  const Parameters parameters(operation, path, {"source"});
  const auto children = parameters.require("source").children();
  const bool is_config = !children.empty() && std::next(children.begin()) == children.end() &&
                         children.front().name() == "config" && children.front().ns() == kNetconfNs;
  if (!is_config) {
    source = parameters.datastore("source", candidate);
    return;
  }
  config = children.front();
  config_path = parameters.path_of("source") + "/config";
  check_config(*config, config_path);
}

}  // namespace ymap
