// XML from outside, parsed by libyang without a schema.
#include "xml_document.hpp"

#include <memory>
#include <new>
#include <set>
#include <utility>

#include "libyang_versions.hpp"
#include "xml_intake.hpp"
#include "yang.hpp"

namespace ymap {
namespace {

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
    if (libyang::new_context(&made) != LY_SUCCESS) throw std::bad_alloc();
    return std::unique_ptr<ly_ctx, decltype(&ly_ctx_destroy)>(made, &ly_ctx_destroy);
  }();
  return context.get();
}

std::string_view view(const char *text) {
  return text == nullptr ? std::string_view() : std::string_view(text);
}

const lyd_node_opaq *leading_text(const lyd_node_opaq *element) {
  const auto *first = reinterpret_cast<const lyd_node_opaq *>(element->child);
  return first != nullptr && view(first->name.module_ns) == kLeadingText ? first : nullptr;
}

}  // namespace

XmlElement::XmlElement(const lyd_node *node) : node_(reinterpret_cast<const lyd_node_opaq *>(node)) {}

std::string_view XmlElement::name() const {
  return view(node_->name.name);
}
std::string_view XmlElement::ns() const {
  const auto ns = view(node_->name.module_ns);
  return ns == kNoNamespace ? std::string_view() : ns;
}
std::string_view XmlElement::text() const {
  // Whether a value of nothing but white space is kept is different from version to version.
  const auto *leading = leading_text(node_);
  const auto value = view(leading != nullptr ? leading->value : node_->value);
  return trimmed(value).empty() ? std::string_view() : value;
}
const void *XmlElement::prefixes() const {
  return node_->val_prefix_data;
}

std::vector<XmlElement> XmlElement::children() const {
  std::vector<XmlElement> elements;
  const lyd_node *first = leading_text(node_) == nullptr ? node_->child : node_->child->next;
  for (const lyd_node *child = first; child != nullptr; child = child->next) elements.emplace_back(child);
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

XmlDocument::XmlDocument(std::string_view text) {
  constexpr std::string_view byte_order_mark = "\xef\xbb\xbf";
  if (text.starts_with(byte_order_mark)) text.remove_prefix(byte_order_mark.size());
  if (trimmed(text).empty()) malformed("the message is empty; it must be one element");
  const auto prepared = prepared_xml(text);

  const device::LogScope log;
  ly_ctx *context = bare_context();
  // It lives long, and keeps what went wrong with the documents before.
  ly_err_clean(context, nullptr);
  lyd_node *tree = nullptr;
  const auto status =
      lyd_parse_data_mem(context, prepared.c_str(), LYD_XML, LYD_PARSE_ONLY | LYD_PARSE_OPAQ, 0, &tree);
  tree_.reset(tree);
  if (status != LY_SUCCESS) {
    const auto reason = view(ly_errmsg(context));
    const auto line = libyang::error_place(context).line;
    // Of some bytes that are not UTF-8 it tells neither.
    not_well_formed(reason.empty() ? "it holds what is no character"
                                   : std::string(reason) + " Line number " + std::to_string(line) + ".");
  }
  if (tree == nullptr) malformed("the message holds no element; it must be one");
  if (tree->next != nullptr) malformed("the message holds several root elements; it must be one");
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
