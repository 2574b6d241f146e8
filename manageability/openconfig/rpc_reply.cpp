// NETCONF replies, errors among them (RFC 6241, section 4.3 and appendix A).
#include "rpc_reply.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <string_view>

#include "data_writer.hpp"
#include "operation_words.hpp"
#include "printable.hpp"
#include "rpc_parameters.hpp"
#include "yang.hpp"
#include "ymap_datatree.h"

namespace ymap {
namespace {

constexpr const char *kPrefix = "nc";

constexpr ProtocolModule kModel = {"openconfig-optical-amplifier", "oc-opt-amp", YMAP_NS_OPENCONFIG};

std::optional<ProtocolModule> find_module(std::string_view name) {
  if (name == kModel.name) return kModel;
  const auto *row = std::ranges::find(kProtocolModules, name, &ProtocolModule::name);
  if (row != kProtocolModules.end()) return *row;
  for (const auto &native : device::kNativeModules)
    if (name == native.name) return ProtocolModule{native.name, native.prefix, native.ns};
  return std::nullopt;
}

/// Position after the predicate that begins at `begin`. Its quoted value may hold brackets, and in double
/// quotes quotes of both kinds: then it ends with the last one, as the model has no second list below.
std::size_t end_of_predicate(const std::string &path, std::size_t begin) {
  const auto quote = path.find_first_of("'\"", begin);
  if (quote == std::string::npos) return path.size();
  const std::string end = std::string(1, path[quote]) + "]";
  const auto found = path[quote] == '"' ? path.rfind(end) : path.find(end, quote + 1);
  return found == std::string::npos || found <= quote ? path.size() : found + end.size();
}

/// The predicate as XPath takes it, which knows no escapes in a literal.
std::string xpath_predicate(std::string_view predicate) {
  const auto first = predicate.find('"');
  const auto last = predicate.rfind('"');
  if (predicate.find('\'') == std::string_view::npos || first == last) return std::string(predicate);
  const auto value = predicate.substr(first + 1, last - first - 1);
  if (value.find('"') == std::string_view::npos) return std::string(predicate);
  std::string pieces;
  for (const char character : value)
    pieces += character == '"' ? std::string("\", '\"', \"") : std::string(1, character);
  return std::string(predicate.substr(0, first)) + "concat(\"" + pieces + "\")]";
}

void declare(const ProtocolModule &module, XmlWriter::Attributes &declared) {
  const auto name = "xmlns:" + std::string(module.prefix);
  if (std::ranges::find(declared, name, &XmlWriter::Attribute::name) == declared.end())
    declared.push_back({name, std::string(module.ns)});
}

/// An instance path as an XPath: NETCONF has no default namespace in it, so that every name has its prefix.
void write_error_path(const std::string &path, XmlWriter &xml) {
  std::optional<ProtocolModule> module;
  XmlWriter::Attributes declared;
  std::string xpath;
  for (std::size_t at = 0; at < path.size();) {
    if (path[at] == '[' && module) {
      const auto end = end_of_predicate(path, at);
      xpath.append("[")
          .append(module->prefix)
          .append(":")
          .append(xpath_predicate(path.substr(at + 1, end - at - 1)));
      at = end;
      continue;
    }
    const auto end = std::min(path.find_first_of("/[", at + 1), path.size());
    auto name = std::string_view(path).substr(at + 1, end - at - 1);
    if (const auto colon = name.find(':'); colon != std::string_view::npos) {
      module = find_module(name.substr(0, colon));
      name.remove_prefix(colon + 1);
      if (module) declare(*module, declared);
    }
    if (!module) return xml.leaf("error-path", path);
    xpath.append("/").append(module->prefix).append(":").append(name);
    at = end;
  }
  xml.leaf("error-path", xpath, declared);
}

void open_envelope(std::string_view name, std::span<const XmlAttribute> attributes, XmlWriter &xml) {
  XmlWriter::Attributes written = {{"xmlns", std::string(kNetconfNs)}};
  std::set<std::string_view> declared;
  for (const auto &attribute : attributes) {
    const std::string value(attribute.value);
    if (attribute.prefix.empty()) {
      written.push_back({std::string(attribute.name), value});
      continue;
    }
    std::string prefix(attribute.prefix);
    if (declared.insert(attribute.prefix).second)
      written.push_back({"xmlns:" + prefix, std::string(attribute.ns)});
    written.push_back({prefix.append(":").append(attribute.name), value});
  }
  xml.open(name, written);
}

void write_nodes(const vidl_yfw_datatree *parent, std::string_view parent_ns, XmlWriter &xml) {
  if (!vidl_yfw_datatree_has_subtrees(parent)) return;
  for (uint32_t at = 0; at < parent->subtree_count; ++at) {
    const auto *node = &parent->subtrees[at];
    const std::string_view ns = node->namespace_ == nullptr ? "" : node->namespace_;
    const char *tag = node->tag == nullptr ? "" : node->tag;
    XmlWriter::Attributes attributes;
    if (ns != parent_ns) attributes.push_back({"xmlns", std::string(ns)});
    if (vidl_yfw_datatree_has_operation(node)) {
      if (const auto word = operation_word(node->operation); !word.empty())
        attributes.push_back({std::string(kPrefix) + ":operation", std::string(word)});
    }
    if (vidl_yfw_datatree_has_subtrees(node) && node->subtree_count > 0) {
      xml.open(tag, attributes);
      write_nodes(node, ns, xml);
      xml.close();
    } else {
      xml.leaf(tag, vidl_yfw_datatree_has_data(node) && node->data != nullptr ? node->data : "", attributes);
    }
  }
}

}  // namespace

std::string reply(std::span<const XmlAttribute> attributes, const ReplyContent &content, Layout layout) {
  XmlWriter xml(layout);
  open_envelope("rpc-reply", attributes, xml);
  XmlWriter::Attributes of_data;
  if (content.data_ns != kNetconfNs) of_data.push_back({"xmlns", std::string(content.data_ns)});
  if (content.kind == ReplyContent::Kind::ok) {
    xml.leaf("ok", {});
  } else if (content.kind == ReplyContent::Kind::text || content.data.empty()) {
    xml.leaf("data", content.data, of_data);
  } else {
    xml.open("data", of_data);
    xml.raw(content.data);
    xml.close();
  }
  xml.close();
  return xml.take();
}

std::string error_reply(std::span<const XmlAttribute> attributes, const Fault &fault, Layout layout) {
  XmlWriter xml(layout);
  open_envelope("rpc-reply", attributes, xml);
  xml.open("rpc-error");
  xml.leaf("error-type", fault.type);
  xml.leaf("error-tag", fault.tag);
  xml.leaf("error-severity", "error");
  if (!fault.app_tag.empty()) xml.leaf("error-app-tag", fault.app_tag);
  if (!fault.path.empty()) write_error_path(printable(fault.path), xml);
  xml.leaf("error-message", printable(fault.message), {{"xml:lang", "en"}});
  const std::string holder = fault.session_id == 0 ? std::string() : std::to_string(fault.session_id);
  const std::array<std::pair<const char *, const std::string *>, 4> info = {{
      {"bad-attribute", &fault.bad_attribute},
      {"bad-element", &fault.bad_element},
      {"bad-namespace", &fault.bad_namespace},
      {"session-id", &holder},
  }};
  const auto given = [](const auto &row) { return !row.second->empty(); };
  if (std::ranges::any_of(info, given)) {
    xml.open("error-info");
    for (const auto &[name, text] : info)
      if (!text->empty()) xml.leaf(name, printable(*text));
    xml.close();
  }
  xml.close();
  xml.close();
  return xml.take();
}

ReplyContent content_of(const Schema &schema, const Request &request, const Answer &answer, Layout layout) {
  if (request.kind == Request::Kind::edit) return {};
  return {ReplyContent::Kind::elements, xml_of(schema, answer.data, layout)};
}

void write_native_request(Request::Kind kind, const yfw::Datatree &native, XmlWriter &xml) {
  const bool edit = kind == Request::Kind::edit;
  const std::string ns(kNetconfNs);
  if (edit)
    xml.open("config", {{"xmlns", ns}, {"xmlns:" + std::string(kPrefix), ns}});
  else
    xml.open("filter", {{"xmlns", ns}, {"type", "subtree"}});
  write_nodes(native.root(), kNetconfNs, xml);
  xml.close();
}

std::string native_request(Request::Kind kind, const yfw::Datatree &native) {
  XmlWriter xml;
  write_native_request(kind, native, xml);
  return xml.take();
}

}  // namespace ymap
