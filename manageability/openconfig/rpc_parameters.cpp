// What an operation may be given, and how it is refused.
#include "rpc_parameters.hpp"

#include <algorithm>
#include <iterator>

#include "printable.hpp"
#include "rpc_error.hpp"
#include "schema.hpp"

namespace ymap {
namespace {

std::string join(std::initializer_list<std::string_view> words) {
  std::string list;
  for (const auto word : words) list.append(list.empty() ? "" : ", ").append(word);
  return list;
}

constexpr std::string_view kWithDefaults = "with-defaults";

/// One more step on an instance path; where the namespace changes it says the module.
std::string step_of(const std::string &path, std::string_view ns, std::string_view parent_ns,
                    std::string_view name) {
  const auto *module = std::ranges::find(kProtocolModules, ns, &ProtocolModule::ns);
  if (ns == parent_ns || module == kProtocolModules.end()) return step(path, kProtocolModule, name);
  return path + "/" + std::string(module->name) + ":" + std::string(name);
}

void check_attributes(const XmlElement &element, const std::string &path) {
  for (const auto &attribute : element.attributes()) {
    const std::string name(element.name());
    throw RpcError({.type = "protocol",
                    .tag = "unknown-attribute",
                    .message = "attribute " + shortened(attribute.name) + " is not known in " + name,
                    .path = path,
                    .bad_attribute = std::string(attribute.name),
                    .bad_element = name});
  }
}

}  // namespace

void refuse(const char *tag, const std::string &message, const std::string &path, std::string_view element,
            const std::string &type) {
  throw RpcError(
      {.type = type, .tag = tag, .message = message, .path = path, .bad_element = std::string(element)});
}

void not_supported(const std::string &what, const std::string &path) {
  refuse("operation-not-supported", what, path);
}

void check_namespace(const XmlElement &element, std::string_view ns, const std::string &path) {
  if (element.ns() == ns) return;
  const std::string name(element.name());
  throw RpcError({.type = "protocol",
                  .tag = "unknown-namespace",
                  .message = "element " + shortened(name) + " is of namespace \"" + shortened(element.ns()) +
                             "\", expected \"" + std::string(ns) + "\"",
                  .path = path,
                  .bad_element = name,
                  .bad_namespace = std::string(element.ns())});
}

Parameters::Parameters(const XmlElement &operation, const std::string &path,
                       std::initializer_list<std::string_view> allowed)
    : ns_(operation.ns()), path_(step_of(path, operation.ns(), kNetconfNs, operation.name())) {
  check_attributes(operation, path_);
  if (!operation.text().empty())
    refuse("bad-element", "the operation holds text; it may hold elements only", path_, operation.name());
  for (const auto &child : operation.children()) {
    check_parameter(child, allowed);
    const std::string name(child.name());
    if (!found_.emplace(name, child).second)
      refuse("bad-element", "parameter " + name + " stands twice", path_of(name), name);
  }
}

void Parameters::check_parameter(const XmlElement &parameter,
                                 std::initializer_list<std::string_view> allowed) const {
  const std::string name(parameter.name());
  check_namespace(parameter, name == kWithDefaults ? kWithDefaultsNs : ns_, path_);
  if (allowed.size() == 0) refuse("unknown-element", "the operation takes no parameters", path_, name);
  if (std::find(allowed.begin(), allowed.end(), parameter.name()) == allowed.end())
    refuse("unknown-element", "parameter " + shortened(name) + " is none of " + join(allowed), path_, name);
  if (name != "filter" && name != "config") check_attributes(parameter, path_of(name));
}

const XmlElement *Parameters::find(const std::string &name) const {
  const auto at = found_.find(name);
  return at == found_.end() ? nullptr : &at->second;
}

const XmlElement &Parameters::require(const std::string &name) const {
  const auto *element = find(name);
  if (element == nullptr) refuse("missing-element", "parameter " + name + " is missing", path_, name);
  return *element;
}

std::string_view Parameters::text(const std::string &name) const {
  const auto *element = find(name);
  if (element == nullptr) return {};
  if (!element->children().empty())
    refuse("bad-element", name + " holds elements; it may hold text only", path_of(name), name);
  return trimmed(element->text());
}

std::string_view Parameters::word(const std::string &name, std::initializer_list<std::string_view> words,
                                  std::string_view otherwise) const {
  if (find(name) == nullptr) return otherwise;
  const auto given = text(name);
  const auto at = std::find(words.begin(), words.end(), given);
  if (at == words.end())
    refuse("invalid-value", name + " \"" + shortened(given) + "\" is none of " + join(words), path_of(name));
  return *at;
}

device::Datastore Parameters::datastore(const std::string &name, Candidate candidate) const {
  const bool both = candidate == Candidate::present;
  const char *known = both ? "running and candidate are the two" : "running is the only one";
  const auto children = require(name).children();
  if (children.empty()) {
    refuse("missing-element",
           name + (both ? " names no datastore; <running/> or <candidate/> stands there"
                        : " names no datastore; <running/> is the one"),
           path_of(name), "running");
  }
  const auto datastore = children.front();
  const std::string word(datastore.name());
  check_namespace(datastore, require(name).ns(), path_of(name));
  if (const auto second = std::next(children.begin()); second != children.end())
    refuse("bad-element", name + " names several datastores", path_of(name), (*second).name());
  const bool is_candidate = word == "candidate";
  if ((is_candidate && !both) || word == "startup" || word == "url")
    not_supported("datastore " + word + " is not supported; " + known, path_of(name));
  if (word != "running" && !is_candidate)
    refuse("unknown-element", "datastore " + shortened(word) + " is not known; " + known, path_of(name),
           word);
  if (!datastore.text().empty() || !datastore.children().empty())
    refuse("bad-element", word + " is empty; it holds nothing", path_of(name) + "/" + word, word);
  return is_candidate ? device::Datastore::candidate : device::Datastore::running;
}

std::string Parameters::path_of(const std::string &name) const {
  return step_of(path_, name == kWithDefaults ? kWithDefaultsNs : ns_, ns_, name);
}

}  // namespace ymap
