// XML filters over libyang trees.
#include "data_filter.hpp"

#include <cstddef>
#include <new>

#include "compiled_schema.hpp"
#include "data_writer.hpp"
#include "libyang_versions.hpp"
#include "subtree_filter.hpp"

namespace ymap::netconf {
namespace {

/// Elements without a namespace match any (RFC 6241, section 6.2.1).
bool names(const XmlElement &filter, std::string_view ns, std::string_view name) {
  return filter.name() == name && (filter.ns().empty() || filter.ns() == ns);
}

/// Of the server's own data; it is compared with many.
constexpr std::size_t kLongestValue = 4096;

struct Adapter {
  using Filter = XmlElement;
  using Data = const lyd_node *;

  XmlElements filter_children(Filter filter) const { return filter.children(); }
  std::vector<const lyd_node *> data_children(Data node) const {
    std::vector<const lyd_node *> children;
    for (const lyd_node *child = lyd_child(node); child != nullptr; child = child->next)
      children.push_back(child);
    return children;
  }
  bool same_node(Filter filter, Data node) const {
    return names(filter, node->schema->module->ns, node->schema->name);
  }
  bool is_content_match(Filter filter) const { return !filter.text().empty(); }
  bool equal(Filter filter, Data leaf) const {
    if (filter.text().size() > kLongestValue) return false;
    const auto value = check_value(leaf->schema, trimmed(filter.text()), filter.text_ns());
    return value.text && *value.text == plain_value(leaf->schema, lyd_get_value(leaf));
  }
  bool is_leaf(Data node) const { return (node->schema->nodetype & LYD_NODE_TERM) != 0; }
  bool is_key(Data, Data child) const { return lysc_is_key(child->schema); }
};

/// The copy is linked below `parent`, if there is one.
lyd_node *copy(const yfw::Selected<const lyd_node *> &selected, lyd_node *parent) {
  lyd_node *node = nullptr;
  // The keys of an entry come with it.
  libyang::duplicate(selected.node, parent, selected.whole ? LYD_DUP_RECURSIVE : 0, &node);
  if (node == nullptr) throw std::bad_alloc();
  for (const auto &child : selected.children)
    if (!lysc_is_key(child.node->schema)) copy(child, node);
  return node;
}

}  // namespace

bool selects_top(const XmlElements &filter, std::string_view ns, std::string_view name) {
  for (const auto &element : filter)
    if (names(element, ns, name)) return true;
  return false;
}

std::string select(const XmlElements &filter, const lyd_node *data) {
  std::vector<const lyd_node *> tops;
  for (const lyd_node *node = data; node != nullptr; node = node->next) tops.push_back(node);
  const Adapter adapter;
  std::string text;
  for (const auto &selected : yfw::SubtreeFilter(adapter).select({filter.begin(), filter.end()}, tops))
    text += print_data(device::Tree(copy(selected, nullptr)).get());
  return text;
}

}  // namespace ymap::netconf
