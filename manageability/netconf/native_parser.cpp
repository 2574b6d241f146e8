// Elements of the device's models, as they stand in a message.
#include "native_parser.hpp"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "operation_words.hpp"
#include "printable.hpp"
#include "rpc_error.hpp"
#include "schema.hpp"
#include "yang.hpp"

namespace ymap::netconf {
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
  const auto *module = std::ranges::find(device::kNativeModules, ns, &device::NativeModule::ns);
  const bool changes = place->parent == nullptr || place->parent->element.ns() != ns;
  if (changes && module != std::end(device::kNativeModules)) path.append(module->name).append(":");
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

RequestNode filter_node(const Place &at) {
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
  if (!value.empty()) node.value = value;
  for (const auto &child : at.element.children()) node.children.push_back(filter_node({child, &at}));
  return node;
}

std::optional<uint32_t> own_operation(const Place &at) {
  std::optional<uint32_t> operation;
  for (const auto &attribute : at.element.attributes()) {
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

/// The models have no leaf-lists: of two leaves with one name one would be lost.
void check_once(const XmlElements &siblings, const Place *parent) {
  std::map<std::pair<std::string_view, std::string_view>, int> counts;
  for (const auto &one : siblings)
    if (one.children().empty() && !one.text().empty() && ++counts[{one.name(), one.ns()}] == 2)
      bad_element("element " + shortened(one.name()) + " stands twice; it may stand once", {one, parent});
}

/// `inherited` is the operation of elements that do not say one.
RequestNode edit_node(const Place &at, Operation inherited) {
  check_text(at);
  RequestNode node;
  const auto operation = own_operation(at);
  node.name = at.element.name();
  node.ns = at.element.ns();
  node.operation = operation ? static_cast<Operation>(*operation) : inherited;
  const auto children = at.element.children();
  if (children.empty()) node.value = at.element.text();
  check_once(children, &at);
  // Below an operation nothing need be there that the message does not say so of.
  const auto below = operation                         ? Operation::none
                     : inherited == Operation::replace ? Operation::none
                                                       : inherited;
  for (const auto &child : children) node.children.push_back(edit_node({child, &at}, below));
  return node;
}

}  // namespace

std::vector<RequestNode> native_filter(const XmlElements &elements) {
  std::vector<RequestNode> filter;
  for (const auto &element : elements) filter.push_back(filter_node({element, nullptr}));
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
  const auto inherited = operation == DefaultOperation::replace ? Operation::replace
                         : operation == DefaultOperation::none  ? Operation::stated
                                                                : Operation::none;
  std::vector<RequestNode> edit;
  check_once(elements, nullptr);
  for (const auto &element : elements) edit.push_back(edit_node({element, nullptr}, inherited));
  if (operation != DefaultOperation::replace) return edit;
  // What the new content lacks goes.
  for (const auto &top : device::kTopNodes) {
    const auto is_top = [&](const RequestNode &node) { return node.name == top.name && node.ns == top.ns; };
    if (top.is_live || std::ranges::any_of(edit, is_top)) continue;
    RequestNode node;
    node.name = top.name;
    node.ns = top.ns;
    node.operation = Operation::remove;
    edit.push_back(std::move(node));
  }
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

}  // namespace ymap::netconf
