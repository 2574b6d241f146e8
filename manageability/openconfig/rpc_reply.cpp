// NETCONF replies, errors among them (RFC 6241, section 4.3 and appendix A).
#include "rpc_reply.hpp"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

#include "data_writer.hpp"
#include "operation_words.hpp"
#include "printable.hpp"
#include "xpath.hpp"
#include "ymap_datatree.h"

namespace ymap {
namespace {

constexpr const char *kPrefix = "nc";

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
  if (!fault.path.empty()) {
    const auto [text, declared] = xpath_of(printable(fault.path));
    xml.leaf("error-path", text, declared);
  }
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
  return {ReplyContent::Kind::elements, xml_of(schema, answer.data, layout) + answer.rules};
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
