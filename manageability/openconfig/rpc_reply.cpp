// NETCONF replies, errors among them (RFC 6241, section 4.3 and appendix A).
#include "rpc_reply.hpp"

#include <libyang/libyang.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <set>
#include <string_view>

#include "printable.hpp"
#include "xml_writer.hpp"
#include "ymap_datatree.h"

namespace ymap {
namespace {

constexpr const char *kPrefix = "nc";

struct PathModule {
  std::string_view module, prefix, ns;
};
constexpr std::array<PathModule, 2> kPathModules = {{
    {"openconfig-optical-amplifier", "oc-opt-amp", YMAP_NS_OPENCONFIG},
    {"ietf-netconf", kPrefix, kNetconfNs},
}};

/// Position after the predicate that begins at `begin`; its quoted value may hold brackets.
std::size_t end_of_predicate(const std::string &path, std::size_t begin) {
  char quote = '\0';
  for (std::size_t at = begin; at < path.size(); ++at) {
    if (quote != '\0') {
      if (path[at] == quote) quote = '\0';
    } else if (path[at] == '\'' || path[at] == '"') {
      quote = path[at];
    } else if (path[at] == ']') {
      return at + 1;
    }
  }
  return path.size();
}

/// An instance path as an XPath: NETCONF has no default namespace in it, so that every name has its prefix.
void write_error_path(const std::string &path, XmlWriter &xml) {
  const auto colon = path.find(':');
  const auto module = colon == std::string::npos ? std::string() : path.substr(1, colon - 1);
  const auto row = std::ranges::find(kPathModules, module, &PathModule::module);
  if (row == kPathModules.end()) return xml.leaf("error-path", path);
  const auto prefix = std::string(row->prefix) + ":";
  std::string xpath = "/" + prefix;
  for (auto at = colon + 1; at < path.size();) {
    const char character = path[at];
    if (character == '[') {
      const auto end = end_of_predicate(path, at);
      xpath.append("[").append(prefix).append(path, at + 1, end - at - 1);
      at = end;
      continue;
    }
    xpath += character;
    if (character == '/') xpath += prefix;
    ++at;
  }
  xml.leaf("error-path", xpath, {{"xmlns:" + std::string(row->prefix), std::string(row->ns)}});
}

void open_reply(const std::vector<XmlAttribute> &attributes, XmlWriter &xml) {
  XmlWriter::Attributes written = {{"xmlns", std::string(kNetconfNs)}};
  std::set<std::string> declared;
  for (const auto &attribute : attributes) {
    if (attribute.prefix.empty()) {
      written.push_back({attribute.name, attribute.value});
      continue;
    }
    if (declared.insert(attribute.prefix).second)
      written.push_back({"xmlns:" + attribute.prefix, attribute.ns});
    written.push_back({attribute.prefix + ":" + attribute.name, attribute.value});
  }
  xml.open("rpc-reply", written);
}

const char *operation_word(uint32_t operation) {
  static constexpr std::array<const char *, 6> words = {nullptr,  "replace", "create",
                                                        "delete", "remove",  "merge"};
  return operation < words.size() ? words[operation] : nullptr;
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
      if (const char *word = operation_word(node->operation))
        attributes.push_back({std::string(kPrefix) + ":operation", word});
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

std::string reply(const std::vector<XmlAttribute> &attributes, const Request &request, const Answer &answer) {
  XmlWriter xml;
  open_reply(attributes, xml);
  if (request.kind == Request::Kind::edit) {
    xml.leaf("ok", {});
  } else if (!answer.data) {
    xml.leaf("data", {});
  } else {
    xml.open("data");
    xml.raw(print_data(answer.data, DataFormat::xml));
    xml.close();
  }
  xml.close();
  return xml.text();
}

std::string error_reply(const std::vector<XmlAttribute> &attributes, const Fault &fault) {
  XmlWriter xml;
  open_reply(attributes, xml);
  xml.open("rpc-error");
  xml.leaf("error-type", fault.type);
  xml.leaf("error-tag", fault.tag);
  xml.leaf("error-severity", "error");
  if (!fault.path.empty()) write_error_path(printable(fault.path), xml);
  xml.leaf("error-message", printable(fault.message), {{"xml:lang", "en"}});
  const std::array<std::pair<const char *, const std::string *>, 3> info = {{
      {"bad-attribute", &fault.bad_attribute},
      {"bad-element", &fault.bad_element},
      {"bad-namespace", &fault.bad_namespace},
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
  return xml.text();
}

std::string native_request(Request::Kind kind, const yfw::Datatree &native) {
  XmlWriter xml;
  const bool edit = kind == Request::Kind::edit;
  const std::string ns(kNetconfNs);
  if (edit)
    xml.open("config", {{"xmlns", ns}, {"xmlns:" + std::string(kPrefix), ns}});
  else
    xml.open("filter", {{"xmlns", ns}, {"type", "subtree"}});
  write_nodes(native.root(), kNetconfNs, xml);
  xml.close();
  return xml.text();
}

std::string print_data(const Data &data, DataFormat format) {
  if (!data) return {};
  char *text = nullptr;
  lyd_print_mem(&text, data.get(), format == DataFormat::xml ? LYD_XML : LYD_JSON, LYD_PRINT_WITHSIBLINGS);
  const std::unique_ptr<char, decltype(&free)> owner(text, &free);
  return text == nullptr ? std::string() : std::string(text);
}

}  // namespace ymap
