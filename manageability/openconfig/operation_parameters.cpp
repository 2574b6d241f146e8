// Checks the parameters of operations on data.
#include "operation_parameters.hpp"

#include <charconv>
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

namespace {

/// A text of any kind; white space around it is part of it.
std::optional<std::string> persist_text(const Parameters &parameters, const std::string &name) {
  const auto *element = parameters.find(name);
  if (element == nullptr) return std::nullopt;
  parameters.text(name);  // no elements in it
  return std::string(element->text());
}

}  // namespace

device::Commit parse_commit(const XmlElement &operation, const std::string &path) {
  const Parameters parameters(operation, path, {"confirmed", "confirm-timeout", "persist", "persist-id"});
  device::Commit commit;
  commit.persist_id = persist_text(parameters, "persist-id");
  if (parameters.find("confirmed") != nullptr) {
    if (!parameters.text("confirmed").empty())
      refuse("bad-element", "confirmed is empty; it holds nothing", parameters.path_of("confirmed"),
             "confirmed");
    commit.to_confirm.emplace();
    commit.to_confirm->persist = persist_text(parameters, "persist");
  }
  for (const char *name : {"confirm-timeout", "persist"}) {
    if (parameters.find(name) == nullptr) continue;
    if (!commit.to_confirm)
      refuse("missing-element",
             std::string(name) + " is of a commit that is to be confirmed; confirmed is missing",
             parameters.path(), "confirmed");
  }
  if (parameters.find("confirm-timeout") != nullptr) {
    const auto text = parameters.text("confirm-timeout");
    uint32_t seconds = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size() || seconds == 0)
      refuse("invalid-value",
             "confirm-timeout \"" + shortened(text) + "\" is no number of seconds from 1 to 4294967295",
             parameters.path_of("confirm-timeout"));
    commit.to_confirm->timeout = std::chrono::seconds(seconds);
  }
  return commit;
}

std::optional<std::string> parse_cancel_commit(const XmlElement &operation, const std::string &path) {
  return persist_text(Parameters(operation, path, {"persist-id"}), "persist-id");
}

}  // namespace ymap
