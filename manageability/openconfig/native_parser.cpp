// Elements of the device's models, as they stand in a message.
#include "native_parser.hpp"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "access_rules.hpp"
#include "operation_words.hpp"
#include "printable.hpp"
#include "rpc_error.hpp"
#include "schema.hpp"
#include "xpath.hpp"
#include "yang.hpp"

namespace ymap {
namespace {

using device::RequestNode;
using Operation = RequestNode::Operation;

/// Of the elements from the top down to one; made where something is wrong with it.
struct Place {
  const XmlElement &element;
  const Place *parent;
};

/// Names as they stand, the module where it changes; keys are left out.
std::string path_of(const Place *place) {
  if (place == nullptr) return {};
  const auto ns = place->element.ns();
  auto path = path_of(place->parent) + "/";
  const auto module = module_of_namespace(ns);
  const bool changes = place->parent == nullptr || place->parent->element.ns() != ns;
  if (changes && !module.empty()) path.append(module).append(":");
  return path + shortened(place->element.name());
}

[[noreturn]] void refuse_attribute(const char *tag, const std::string &message, const Place &at,
                                   const XmlAttribute &attribute) {
  throw RpcError({.tag = tag,
                  .message = message,
                  .path = path_of(&at),
                  .bad_attribute = std::string(attribute.name),
                  .bad_element = std::string(at.element.name())});
}

[[noreturn]] void bad_element(const std::string &message, const Place &at) {
  throw RpcError({.tag = "bad-element",
                  .message = message,
                  .path = path_of(&at),
                  .bad_element = std::string(at.element.name())});
}

void check_text(const Place &at) {
  if (at.element.children().empty() || at.element.text().empty()) return;
  bad_element("element " + shortened(at.element.name()) + " holds text beside elements", at);
}

/// `texts` is where those of access rules go; nullptr in the device's own models.
using Texts = std::deque<std::string> *;

/// As the device takes it.
std::string_view value_of(const XmlElement &leaf, std::string_view text, Texts texts) {
  if (texts == nullptr || leaf.name() != "path") return text;
  const auto prefixes = leaf.text_prefixes();
  return texts->emplace_back(instance_path(trimmed(text), [&](std::string_view prefix) {
    const auto found = std::ranges::find(prefixes, prefix, &XmlPrefix::prefix);
    return std::string(found == prefixes.end() ? std::string_view() : module_of_namespace(found->ns));
  }));
}

RequestNode filter_node(const Place &at, Texts texts) {
  check_text(at);
  if (const auto attributes = at.element.attributes(); !attributes.empty()) {
    refuse_attribute("unknown-attribute",
                     "attribute " + shortened(attributes.front().name) +
                         " is not known here; the model has none to select by",
                     at, attributes.front());
  }
  RequestNode node;
  node.name = at.element.name();
  node.ns = at.element.ns();
  const auto value = trimmed(at.element.text());
  if (!value.empty()) node.value = value_of(at.element, value, texts);
  for (const auto &child : at.element.children()) node.children.push_back(filter_node({child, &at}, texts));
  return node;
}

constexpr std::string_view kYangNs = "urn:ietf:params:xml:ns:yang:1";

/// Of an entry of a list whose order is the user's (RFC 7950, sections 7.7.9 and 7.8.6). False: another
/// attribute.
bool take_place(const Place &at, const XmlAttribute &attribute, RequestNode &node, Texts texts) {
  using Insert = RequestNode::Insert;
  static constexpr std::pair<std::string_view, Insert> words[] = {
      {"first", Insert::first}, {"last", Insert::last}, {"before", Insert::before}, {"after", Insert::after}};
  if (texts == nullptr || attribute.ns != kYangNs) return false;
  if (attribute.name == "value") {
    node.anchor = attribute.value;
    return true;
  }
  if (attribute.name == "key") {
    // The lists have one key, and the device knows no prefixes.
    const auto &entry = texts->emplace_back("/entry" + std::string(attribute.value));
    const auto steps = parse_path(entry);
    if (steps.size() != 1 || steps.front().keys.size() != 1)
      refuse_attribute("bad-attribute", "key \"" + shortened(attribute.value) + "\" is none", at, attribute);
    const auto &[key, value] = steps.front().keys.front();
    node.anchor = texts->emplace_back(with_key({}, key, value));
    return true;
  }
  if (attribute.name != "insert") return false;
  const auto *row = std::ranges::find(words, attribute.value, &std::pair<std::string_view, Insert>::first);
  if (row == std::end(words))
    refuse_attribute("bad-attribute",
                     "insert \"" + shortened(attribute.value) + "\" is none of first, last, before, after",
                     at, attribute);
  node.insert = row->second;
  return true;
}

std::optional<uint32_t> take_attributes(const Place &at, RequestNode &node, Texts texts) {
  std::optional<uint32_t> operation;
  for (const auto &attribute : at.element.attributes()) {
    if (take_place(at, attribute, node, texts)) continue;
    if (attribute.ns != kNetconfNs || attribute.name != "operation") {
      const bool unprefixed = attribute.name == "operation" && attribute.ns.empty();
      refuse_attribute(
          "unknown-attribute",
          "attribute " + shortened(attribute.name) + " is not known here" +
              (unprefixed ? "; operation needs a prefix that stands for " + std::string(kNetconfNs)
                          : std::string()),
          at, attribute);
    }
    operation = operation_of(attribute.value);
    if (operation) continue;
    refuse_attribute(
        "bad-attribute",
        "operation \"" + shortened(attribute.value) + "\" is none of merge, create, replace, delete, remove",
        at, attribute);
  }
  return operation;
}

/// The device's models have no leaf-lists, and the access rules these: of two other leaves with one name one
/// would be lost.
void check_once(const XmlElements &siblings, const Place *parent, Texts texts) {
  std::map<std::pair<std::string_view, std::string_view>, int> counts;
  const auto may_repeat = [&](const XmlElement &leaf) {
    return texts != nullptr && (leaf.name() == "group" || leaf.name() == "user-name");
  };
  for (const auto &one : siblings)
    if (one.children().empty() && !one.text().empty() && !may_repeat(one) &&
        ++counts[{one.name(), one.ns()}] == 2)
      bad_element("element " + shortened(one.name()) + " stands twice; it may stand once", {one, parent});
}

/// `inherited` is the operation of elements that do not say one.
RequestNode edit_node(const Place &at, Operation inherited, Texts texts) {
  check_text(at);
  RequestNode node;
  const auto operation = take_attributes(at, node, texts);
  node.name = at.element.name();
  node.ns = at.element.ns();
  node.operation = operation ? static_cast<Operation>(*operation) : inherited;
  const auto children = at.element.children();
  if (children.empty()) node.value = value_of(at.element, at.element.text(), texts);
  check_once(children, &at, texts);
  // Below an operation nothing need be there that the message does not say so of.
  const auto below = operation                         ? Operation::none
                     : inherited == Operation::replace ? Operation::none
                                                       : inherited;
  for (const auto &child : children) node.children.push_back(edit_node({child, &at}, below, texts));
  return node;
}

/// Of elements that do not say one.
Operation operation_for(DefaultOperation operation) {
  return operation == DefaultOperation::replace ? Operation::replace
         : operation == DefaultOperation::none  ? Operation::stated
                                                : Operation::none;
}

RequestNode removal(std::string_view name, std::string_view ns) {
  RequestNode node;
  node.name = name;
  node.ns = ns;
  node.operation = Operation::remove;
  return node;
}

}  // namespace

std::vector<RequestNode> native_filter(const XmlElements &elements) {
  std::vector<RequestNode> filter;
  for (const auto &element : elements) filter.push_back(filter_node({element, nullptr}, nullptr));
  return filter;
}

std::vector<RequestNode> native_filter_of_all() {
  std::vector<RequestNode> filter;
  for (const auto &top : device::kTopNodes) {
    RequestNode node;
    node.name = top.name;
    node.ns = top.ns;
    filter.push_back(std::move(node));
  }
  return filter;
}

std::vector<RequestNode> native_edit(const XmlElements &elements, DefaultOperation operation) {
  std::vector<RequestNode> edit;
  check_once(elements, nullptr, nullptr);
  for (const auto &element : elements)
    edit.push_back(edit_node({element, nullptr}, operation_for(operation), nullptr));
  if (operation != DefaultOperation::replace) return edit;
  // What the new content lacks goes.
  for (const auto &top : device::kTopNodes) {
    const auto is_top = [&](const RequestNode &node) { return node.name == top.name && node.ns == top.ns; };
    if (!top.is_live && std::ranges::none_of(edit, is_top)) edit.push_back(removal(top.name, top.ns));
  }
  return edit;
}

bool is_of_rules(const XmlElement &element, bool is_filter) {
  return element.ns() == kAccessNs || (is_filter && element.ns().empty() && element.name() == kAccessTop);
}

std::vector<RequestNode> rules_filter(const XmlElements &elements, std::deque<std::string> &texts) {
  std::vector<RequestNode> filter;
  for (const auto &element : elements)
    if (is_of_rules(element, true)) filter.push_back(filter_node({element, nullptr}, &texts));
  return filter;
}

std::vector<RequestNode> rules_edit(const XmlElements &elements, DefaultOperation operation,
                                    std::deque<std::string> &texts) {
  std::vector<RequestNode> edit;
  for (const auto &element : elements)
    if (is_of_rules(element, false))
      edit.push_back(edit_node({element, nullptr}, operation_for(operation), &texts));
  if (operation == DefaultOperation::replace && edit.empty()) edit.push_back(removal(kAccessTop, kAccessNs));
  return edit;
}

XmlWriter::Attributes XmlAnswer::declared(std::string_view ns) const {
  if (!namespaces_.empty() && namespaces_.back() == ns) return {};
  return {{"xmlns", std::string(ns)}};
}

void XmlAnswer::open(const char *name, const char *ns) {
  xml_.open(name, declared(ns));
  namespaces_.emplace_back(ns);
}

void XmlAnswer::leaf(const char *name, const char *ns, const char *value) {
  xml_.leaf(name, value, declared(ns));
}

void XmlAnswer::close() {
  xml_.close();
  namespaces_.pop_back();
}

}  // namespace ymap
