// The envelope of a NETCONF <rpc> and the parameters of its operations (RFC 6241, section 7).
#include <algorithm>
#include <array>
#include <initializer_list>
#include <map>

#include "data_parser.hpp"
#include "openconfig_request.hpp"
#include "rpc_error.hpp"

namespace ymap {
namespace {

constexpr std::string_view kModule = "ietf-netconf";

[[noreturn]] void refuse(const char *tag, const std::string &message, const std::string &path,
                         std::string_view element = {}, const std::string &type = "protocol") {
  throw RpcError(
      {.type = type, .tag = tag, .message = message, .path = path, .bad_element = std::string(element)});
}

[[noreturn]] void not_supported(const std::string &what, const std::string &path) {
  refuse("operation-not-supported", what, path);
}

std::string join(std::initializer_list<std::string_view> words) {
  std::string list;
  for (const auto word : words) list.append(list.empty() ? "" : ", ").append(word);
  return list;
}

void check_namespace(const XmlElement &element, const std::string &path) {
  if (element.ns() == kNetconfNs) return;
  const std::string name(element.name());
  throw RpcError({.type = "protocol",
                  .tag = "unknown-namespace",
                  .message = "element " + name + " is of namespace \"" + std::string(element.ns()) +
                             "\", expected \"" + std::string(kNetconfNs) + "\"",
                  .path = path,
                  .bad_element = name,
                  .bad_namespace = std::string(element.ns())});
}

/// The parameters of an operation, each of which may stand once.
class Parameters {
 public:
  Parameters(const XmlElement &operation, const std::string &path,
             std::initializer_list<std::string_view> allowed)
      : path_(step(path, kModule, operation.name())) {
    for (const auto &child : operation.children()) {
      check_namespace(child, path_);
      const std::string name(child.name());
      if (std::find(allowed.begin(), allowed.end(), child.name()) == allowed.end())
        refuse("unknown-element", "parameter " + name + " is none of " + join(allowed), path_, name);
      if (!found_.emplace(name, child).second)
        refuse("bad-element", "parameter " + name + " stands twice", path_of(name), name);
    }
  }

  const XmlElement *find(const std::string &name) const {
    const auto at = found_.find(name);
    return at == found_.end() ? nullptr : &at->second;
  }

  const XmlElement &require(const std::string &name) const {
    const auto *element = find(name);
    if (element == nullptr) refuse("missing-element", "parameter " + name + " is missing", path_, name);
    return *element;
  }

  /// The word that stands in `name`, or `otherwise`; must be one of `words`.
  std::string_view word(const std::string &name, std::initializer_list<std::string_view> words,
                        std::string_view otherwise) const {
    const auto *element = find(name);
    if (element == nullptr) return otherwise;
    const auto at = std::find(words.begin(), words.end(), trimmed(element->text()));
    if (at == words.end()) {
      refuse("invalid-value",
             name + " \"" + std::string(trimmed(element->text())) + "\" is none of " + join(words),
             path_of(name));
    }
    return *at;
  }

  /// <source> or <target>: the device has a running datastore only.
  void require_running(const std::string &name) const {
    const auto children = require(name).children();
    if (children.empty())
      refuse("missing-element", name + " names no datastore; <running/> is the one", path_of(name),
             "running");
    const auto &datastore = children.front();
    const std::string word(datastore.name());
    check_namespace(datastore, path_of(name));
    if (children.size() > 1)
      refuse("bad-element", name + " names several datastores", path_of(name), children[1].name());
    if (word == "candidate" || word == "startup" || word == "url")
      not_supported("datastore " + word + " is not supported; running is the only one", path_of(name));
    if (word != "running")
      refuse("unknown-element", "datastore " + word + " is not known; running is the only one", path_of(name),
             word);
  }

  std::string path_of(const std::string &name) const { return step(path_, kModule, name); }

 private:
  std::string path_;
  std::map<std::string, XmlElement, std::less<>> found_;
};

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
                    .message = "attribute " + attribute.name + " of the filter is not known",
                    .path = path,
                    .bad_attribute = attribute.name,
                    .bad_element = "filter"});
  }
  if (!trimmed(filter->text()).empty()) refuse("bad-element", "the filter holds text", path, "filter");
  request.selects_nothing = !parse_filter(schema, *filter, path, request.tree);
}

Request parse_get(const XmlElement &operation, const std::string &path, const Schema &schema) {
  Request request;
  request.kind = Request::Kind::get;
  read_filter(Parameters(operation, path, {"filter"}), schema, request);
  return request;
}

Request parse_get_config(const XmlElement &operation, const std::string &path, const Schema &schema) {
  Request request;
  request.kind = Request::Kind::get_config;
  const Parameters parameters(operation, path, {"source", "filter"});
  parameters.require_running("source");
  read_filter(parameters, schema, request);
  return request;
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
  if (test == "test-only")
    not_supported("test-option test-only is not supported", parameters.path_of("test-option"));
  if (parameters.find("url") != nullptr)
    not_supported("an edit from a url is not supported", parameters.path_of("url"));
  const auto &config = parameters.require("config");
  if (!trimmed(config.text()).empty())
    refuse("bad-element", "config holds text; it may hold elements only", parameters.path_of("config"),
           "config");
  // An operation is for elements of the data; on <config> it would be lost.
  for (const auto &attribute : config.attributes()) {
    throw RpcError({.type = "protocol",
                    .tag = "unknown-attribute",
                    .message = "attribute " + attribute.name +
                               " is not known in config; operations stand in the elements below it",
                    .path = parameters.path_of("config"),
                    .bad_attribute = attribute.name,
                    .bad_element = "config"});
  }
  const auto default_operation = word == "replace" ? DefaultOperation::replace
                                 : word == "none"  ? DefaultOperation::none
                                                   : DefaultOperation::merge;
  parse_edit(schema, config, parameters.path_of("config"), default_operation, request.tree);
  return request;
}

struct Operation {
  std::string_view name;
  Request (*parse)(const XmlElement &operation, const std::string &path, const Schema &schema);
};
constexpr std::array<Operation, 3> kOperations = {{
    {"get", parse_get},
    {"get-config", parse_get_config},
    {"edit-config", parse_edit_config},
}};

}  // namespace

std::vector<XmlAttribute> RpcMessage::attributes() const {
  const auto root = document_.root();
  if (root.name() != "rpc") return {};
  return root.attributes();
}

Request RpcMessage::request(const Schema &schema) const {
  const auto rpc = document_.root();
  if (rpc.name() != "rpc") {
    refuse("unknown-element", "the message is a <" + std::string(rpc.name()) + ">; it must be an <rpc>", {},
           rpc.name(), "rpc");
  }
  check_namespace(rpc, {});
  const auto path = step({}, kModule, "rpc");
  const auto operations = rpc.children();
  if (operations.size() != 1)
    refuse("malformed-message", "an <rpc> holds exactly one operation", path, {}, "rpc");
  const auto &operation = operations.front();
  const auto row = std::ranges::find(kOperations, operation.name(), &Operation::name);
  if (row == kOperations.end() || operation.ns() != kNetconfNs) {
    not_supported("operation " + std::string(operation.name()) + " of namespace \"" +
                      std::string(operation.ns()) + "\" is none of get, get-config, edit-config",
                  path);
  }
  return row->parse(operation, path, schema);
}

}  // namespace ymap
