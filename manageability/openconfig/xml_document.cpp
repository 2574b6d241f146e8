// XML from outside, its size and depth limited before libyang parses it.
#include "xml_document.hpp"

#include <libyang/libyang.h>

#include <algorithm>
#include <memory>
#include <new>
#include <set>
#include <utility>

#include "rpc_error.hpp"
#include "yang.hpp"

namespace ymap {
namespace {

[[noreturn]] void malformed(const std::string &reason) {
  throw RpcError({.type = "rpc", .tag = "malformed-message", .message = reason});
}

[[noreturn]] void too_big(const std::string &reason) {
  throw RpcError({.type = "rpc", .tag = "too-big", .message = reason});
}

/// End of the start tag that begins at `begin`: the position of its '>', or npos. Quoted values may hold '>'.
std::size_t end_of_tag(std::string_view xml, std::size_t begin) {
  char quote = '\0';
  for (std::size_t at = begin; at < xml.size(); ++at) {
    const char character = xml[at];
    if (quote != '\0') {
      if (character == quote) quote = '\0';
    } else if (character == '"' || character == '\'') {
      quote = character;
    } else if (character == '>') {
      return at;
    }
  }
  return std::string_view::npos;
}

/// Whether a start tag declares a default namespace, be it none.
bool declares_default(std::string_view tag) {
  constexpr std::string_view white = " \t\r\n", name = "xmlns";
  for (std::size_t at = 0; at < tag.size(); ++at) {
    if (tag[at] == '"' || tag[at] == '\'') {
      at = tag.find(tag[at], at + 1);
      if (at == std::string_view::npos) return false;
    } else if (white.find(tag[at]) != std::string_view::npos && tag.substr(at + 1).starts_with(name)) {
      const auto next = tag.find_first_not_of(white, at + 1 + name.size());
      if (next != std::string_view::npos && tag[next] == '=') return true;
    }
  }
  return false;
}

/// libyang descends into elements by recursion and searches for the place of every new element and attribute,
/// so depth and numbers are limited before it sees the text. An unfinished construct ends the count and is
/// left for the parser to report. Returned is the text without comments and processing instructions, which
/// libyang takes for an error in front of a value, and with the default namespace said to be none where the
/// root element leaves it unsaid: libyang wants it declared before it takes an element without a namespace.
std::string prepared(std::string_view xml) {
  if (xml.size() > kLargestDocument)
    too_big("the message is larger than " + std::to_string(kLargestDocument >> 20U) + " MiB");
  if (xml.find('\0') != std::string_view::npos) malformed("the message contains a NUL character");
  struct Opaque {
    std::string_view begin, end;
    bool is_content;
  };
  static constexpr Opaque opaque[] = {
      {"<!--", "-->", false}, {"<![CDATA[", "]]>", true}, {"<?", "?>", false}};

  std::string content;
  std::size_t kept = 0;  // up to here `xml` is in `content`, or left out of it
  std::size_t depth = 0;
  std::size_t elements = 0;
  for (std::size_t at = xml.find('<'); at != std::string_view::npos; at = xml.find('<', at)) {
    const auto rest = xml.substr(at);
    const auto skipped =
        std::ranges::find_if(opaque, [&](const Opaque &row) { return rest.starts_with(row.begin); });
    if (skipped != std::end(opaque)) {
      const auto end = xml.find(skipped->end, at + skipped->begin.size());
      if (end == std::string_view::npos) break;
      const auto next = end + skipped->end.size();
      if (!skipped->is_content) {
        content.append(xml.substr(kept, at - kept));
        kept = next;
      }
      at = next;
      continue;
    }
    if (rest.starts_with("<!")) malformed("a document type declaration is not allowed in a NETCONF message");
    const auto end = end_of_tag(xml, at);
    if (std::min(end, xml.size()) - at > kLongestTag)
      too_big("a tag of the message is longer than " + std::to_string(kLongestTag) + " bytes");
    if (end == std::string_view::npos) break;
    if (rest.starts_with("</")) {
      if (depth > 0) --depth;
    } else if (++elements == 1 && !declares_default(xml.substr(at, end - at))) {
      const auto end_of_name = std::min(xml.find_first_of(" \t\r\n/>", at), end);
      if (end_of_name > at + 1) {
        content.append(xml.substr(kept, end_of_name - kept)).append(" xmlns=\"\"");
        kept = end_of_name;
      }
      if (xml[end - 1] != '/') ++depth;
    } else if (elements > kMostElements) {
      too_big("the message has more than " + std::to_string(kMostElements) + " elements");
    } else if (xml[end - 1] != '/' && ++depth > kDeepestElement) {
      malformed("elements are nested deeper than " + std::to_string(kDeepestElement) + " levels");
    }
    at = end + 1;
  }
  return content.append(xml.substr(kept));
}

void check_attributes(const XmlElement &element) {
  std::set<std::pair<std::string, std::string>> names;
  for (const auto &attribute : element.attributes()) {
    if (!names.emplace(attribute.ns, attribute.name).second)
      malformed("attribute " + attribute.name + " stands twice in element " + std::string(element.name()));
  }
  for (const auto &child : element.children()) check_attributes(child);
}

/// A context without modules: beside a schema libyang would turn the elements that it knows into schema nodes
/// at once, in the middle of a tree of opaque ones. One for all documents, as to make it costs more than to
/// parse a message.
ly_ctx *bare_context() {
  static const std::unique_ptr<ly_ctx, decltype(&ly_ctx_destroy)> context = [] {
    ly_ctx *made = nullptr;
    if (ly_ctx_new(nullptr, LY_CTX_NO_YANGLIBRARY, &made) != LY_SUCCESS) throw std::bad_alloc();
    return std::unique_ptr<ly_ctx, decltype(&ly_ctx_destroy)>(made, &ly_ctx_destroy);
  }();
  return context.get();
}

std::string_view view(const char *text) {
  return text == nullptr ? std::string_view() : std::string_view(text);
}

}  // namespace

XmlElement::XmlElement(const lyd_node *node) : node_(reinterpret_cast<const lyd_node_opaq *>(node)) {}

std::string_view XmlElement::name() const {
  return view(node_->name.name);
}
std::string_view XmlElement::ns() const {
  return view(node_->name.module_ns);
}
std::string_view XmlElement::text() const {
  return view(node_->value);
}
const void *XmlElement::prefixes() const {
  return node_->val_prefix_data;
}

std::vector<XmlElement> XmlElement::children() const {
  std::vector<XmlElement> elements;
  for (const lyd_node *child = node_->child; child != nullptr; child = child->next)
    elements.emplace_back(child);
  return elements;
}

std::vector<XmlAttribute> XmlElement::attributes() const {
  std::vector<XmlAttribute> found;
  for (const lyd_attr *attribute = node_->attr; attribute != nullptr; attribute = attribute->next) {
    found.push_back({std::string(view(attribute->name.prefix)), std::string(view(attribute->name.module_ns)),
                     std::string(view(attribute->name.name)), std::string(view(attribute->value))});
  }
  return found;
}

void XmlDocument::TreeDeleter::operator()(lyd_node *tree) const {
  lyd_free_all(tree);
}

void check_limits(std::string_view text) {
  prepared(text);
}

XmlDocument::XmlDocument(std::string_view text) {
  constexpr std::string_view byte_order_mark = "\xef\xbb\xbf";
  if (text.starts_with(byte_order_mark)) text.remove_prefix(byte_order_mark.size());
  if (trimmed(text).empty()) malformed("the message is empty; it must be one <rpc> element");
  text_ = prepared(text);

  const device::LogScope log;
  ly_ctx *context = bare_context();
  // It lives long, and keeps what went wrong with the documents before.
  ly_err_clean(context, nullptr);
  lyd_node *tree = nullptr;
  const auto status =
      lyd_parse_data_mem(context, text_.c_str(), LYD_XML, LYD_PARSE_ONLY | LYD_PARSE_OPAQ, 0, &tree);
  tree_.reset(tree);
  if (status != LY_SUCCESS) {
    const char *reason = ly_errmsg(context);
    const char *place = ly_errpath(context);
    malformed("not well-formed XML: " + std::string(view(reason)) + " " + std::string(view(place)));
  }
  if (tree == nullptr) malformed("the message holds no element; it must be one <rpc> element");
  if (tree->next != nullptr) malformed("the message holds several root elements; it must be one <rpc>");
  check_attributes(root());
}

XmlDocument::~XmlDocument() = default;

XmlElement XmlDocument::root() const {
  return XmlElement(tree_.get());
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view white = " \t\r\n";
  const auto first = text.find_first_not_of(white);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(white) - first + 1);
}

}  // namespace ymap
