// OpenConfig data in a message, checked against the schema: edits and filters.
#include "data_parser.hpp"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

#include "operation_words.hpp"

namespace ymap {
namespace {

bool same_element(const XmlElement &one, const XmlElement &other) {
  return one.name() == other.name() && one.ns() == other.ns();
}

/// Walks elements beside the schema. What an edit and a filter have in common is the look-up; what they allow
/// differs.
class DataParser {
 public:
  /// `where` is the path of the element around the data, for what is wrong with the tops.
  DataParser(const Schema &schema, const std::string &where, yfw::Datatree &tree)
      : schema_(schema), where_(where), tree_(tree), ns_(schema.ns()) {}

 protected:
  /// An element that stands where the schema has a node, and its instance path.
  struct Located {
    XmlElement element;
    const lysc_node *node;
    std::string path;
  };

  /// Elements without a namespace match any, in a filter (RFC 6241, section 6.2.1).
  Located locate(const XmlElement &element, const lysc_node *parent, const std::string &path,
                 bool any_namespace) const {
    const std::string name(element.name());
    if (element.ns() != ns_ && !(any_namespace && element.ns().empty())) {
      throw RpcError({.tag = "unknown-namespace",
                      .message = "element " + name + " is of namespace \"" + std::string(element.ns()) +
                                 "\", expected \"" + ns_ + "\"",
                      .path = path.empty() ? where_ : path,
                      .bad_element = name,
                      .bad_namespace = std::string(element.ns())});
    }
    const auto *node = schema_.child(parent, name);
    auto here = step(path, schema_.module_name(), name);
    if (node == nullptr) throw unknown_element(here, name);
    if (is_list(node)) here = with_keys(here, element, node);
    return {element, node, here};
  }

  static void check_shape(const Located &at) {
    const auto children = at.element.children();
    if (is_leaf(at.node)) {
      if (!children.empty())
        throw unknown_element(at.path + "/" + std::string(children.front().name()), children.front().name());
    } else if (!trimmed(at.element.text()).empty()) {
      const std::string name(at.element.name());
      throw RpcError({.tag = "bad-element",
                      .message = "element " + name + " holds text; it may hold elements only",
                      .path = at.path,
                      .bad_element = name});
    }
  }

  [[noreturn]] static void unknown_attribute(const XmlAttribute &attribute, const Located &at,
                                             const std::string &hint) {
    throw RpcError({.tag = "unknown-attribute",
                    .message = "attribute " + attribute.name + " is not known here" + hint,
                    .path = at.path,
                    .bad_attribute = attribute.name,
                    .bad_element = std::string(at.element.name())});
  }

  const Schema &schema() const { return schema_; }
  yfw::Datatree &tree() { return tree_; }
  const std::string &ns() const { return ns_; }

 private:
  /// Only an unmistakable key is worth a predicate.
  std::string with_keys(const std::string &path, const XmlElement &entry, const lysc_node *list) const {
    std::string keyed = path;
    for (const auto *node : schema_.children(list)) {
      if (!is_key(node)) continue;
      std::optional<std::string> value;
      for (const auto &child : entry.children()) {
        if (schema_.child(list, child.name()) != node) continue;
        if (value) return path;
        value = trimmed(child.text());
      }
      if (value && !value->empty()) keyed = with_key(keyed, node_name(node), *value);
    }
    return keyed;
  }

  const Schema &schema_;
  std::string where_;
  yfw::Datatree &tree_;
  std::string ns_;
};

class EditParser : public DataParser {
 public:
  EditParser(const Schema &schema, const std::string &where, DefaultOperation operation, yfw::Datatree &tree)
      : DataParser(schema, where, tree), default_operation_(operation) {}

  /// `stated` takes what an edit by default operation "none" says, all of it.
  void parse(const std::vector<XmlElement> &elements, std::optional<yfw::Datatree> &stated) {
    check_once(elements, nullptr, {});
    std::vector<Node> tops;
    tops.reserve(elements.size());
    for (const auto &element : elements) tops.push_back(check(locate(element, nullptr, {}, false)));
    const bool all = default_operation_ != DefaultOperation::none;
    for (const auto &top : tops)
      if (all || top.has_effect) add(top, tree(), tree().root(), all);
    if (!all) {
      stated.emplace();
      for (const auto &top : tops) add(top, *stated, stated->root(), true);
    }
    // Nothing at all as the new content of the datastore is a content too.
    if (elements.empty() && default_operation_ == DefaultOperation::replace)
      for (const auto *top : schema().children(nullptr))
        tree().add(tree().root(), node_name(top), ns(), std::nullopt, YMAP_OP_REPLACE);
  }

 private:
  /// An element that was checked, with all that is below it.
  struct Node {
    XmlElement element;
    std::optional<uint32_t> operation;  ///< its own
    std::optional<std::string> value;   ///< as the plug-in takes it; a key's as it stands
    bool is_key = false;
    /// By default operation "none": it says how, or one below does. State has no effect, but the refusal of
    /// it must not get lost.
    bool has_effect = false;
    std::vector<Node> children = {};
  };

  static std::optional<uint32_t> own_operation(const XmlElement &element) {
    for (const auto &attribute : element.attributes())
      if (const auto operation = operation_of(attribute.value)) return operation;
    return std::nullopt;
  }

  static void check_attributes(const Located &at) {
    for (const auto &attribute : at.element.attributes()) {
      if (attribute.ns != kNetconfNs || attribute.name != "operation") {
        const bool unprefixed = attribute.name == "operation" && attribute.ns.empty();
        unknown_attribute(attribute, at,
                          unprefixed ? "; operation needs a prefix that stands for " + std::string(kNetconfNs)
                                     : std::string());
      }
      if (own_operation(at.element)) continue;
      throw RpcError({.tag = "bad-attribute",
                      .message = "operation \"" + attribute.value +
                                 "\" is none of merge, create, replace, delete, remove",
                      .path = at.path,
                      .bad_attribute = "operation",
                      .bad_element = std::string(at.element.name())});
    }
  }

  /// A leaf or container stands once. Keys may not either, but that is for the plug-in to say.
  void check_once(const std::vector<XmlElement> &siblings, const lysc_node *parent, const std::string &path) {
    for (auto one = siblings.begin(); one != siblings.end(); ++one) {
      const auto *node = schema().child(parent, one->name());
      if (node == nullptr || is_list(node) || ymap::is_key(node)) continue;
      if (std::none_of(std::next(one), siblings.end(),
                       [&](auto &other) { return same_element(*one, other); }))
        continue;
      const std::string name(one->name());
      throw stands_twice(name, step(path, schema().module_name(), name));
    }
  }

  static RpcError stands_twice(const std::string &name, const std::string &path) {
    return RpcError({.tag = "bad-element",
                     .message = "element " + name + " stands twice; it may stand once",
                     .path = path,
                     .bad_element = name});
  }

  Node check(const Located &at) {
    check_shape(at);
    check_attributes(at);
    Node node = {at.element, own_operation(at.element), std::nullopt, ymap::is_key(at.node)};
    node.has_effect = node.operation.has_value() || !is_config(at.node);
    if (is_leaf(at.node)) {
      if (node.is_key)
        node.value = at.element.text();
      else if (!removed_without_value(node))
        node.value = checked_value(at.node, at.element.text(), {at.element.prefixes()}, at.path);
      return node;
    }
    const auto children = at.element.children();
    std::set<std::string> entries;
    for (const auto &child : children) {
      const auto below = locate(child, at.node, at.path, false);
      node.children.push_back(check(below));
      node.has_effect = node.has_effect || node.children.back().has_effect;
      // An entry is one by its key; without a single one it is for the plug-in to judge.
      if (is_list(below.node) && below.path.ends_with(']') && !entries.insert(below.path).second)
        throw stands_twice(std::string(child.name()), below.path);
    }
    check_once(children, at.node, at.path);
    return node;
  }

  static bool removed_without_value(const Node &leaf) {
    const uint32_t operation = leaf.operation.value_or(YMAP_OP_NONE);
    return (operation == YMAP_OP_DELETE || operation == YMAP_OP_REMOVE) &&
           trimmed(leaf.element.text()).empty();
  }

  /// `all`: what is below takes part whether it says how or not.
  void add(const Node &node, yfw::Datatree &to, vidl_yfw_datatree *parent, bool all) {
    const bool replaced = default_operation_ == DefaultOperation::replace && parent == to.root();
    auto *added = to.add(parent, node.element.name(), ns(), node.value,
                         node.operation.value_or(replaced ? YMAP_OP_REPLACE : YMAP_OP_NONE));
    all = all || node.operation.has_value();
    for (const auto &child : node.children)
      if (all || child.is_key || child.has_effect) add(child, to, added, all);
  }

  DefaultOperation default_operation_;
};

class FilterParser : public DataParser {
 public:
  using DataParser::DataParser;

  bool parse(const std::vector<XmlElement> &elements) {
    bool any = false;
    for (const auto &element : elements) {
      if (is_foreign(element)) continue;
      const auto node = check(locate(element, nullptr, {}, true));
      if (!node.can_match) continue;
      add(node, tree().root());
      any = true;
    }
    return any;
  }

 private:
  /// An element that was checked, with what is below it and can match.
  struct Node {
    XmlElement element;
    std::optional<std::string> value = {};  ///< of a content match, as the plug-in writes values
    bool is_content_match = false;
    bool can_match = true;  ///< there can be data that it selects
    std::vector<Node> children = {};
  };

  /// For another module to select by, if there is one.
  bool is_foreign(const XmlElement &element) const {
    if (!element.ns().empty()) return element.ns() != ns();
    return schema().child(nullptr, element.name()) == nullptr;
  }

  /// A content match leaf is one with a value; white space around it does not count (RFC 6241,
  /// section 6.2.5). A value that is not of its leaf's type matches nothing, and then its siblings select
  /// nothing either.
  Node check(const Located &at) const {
    check_shape(at);
    if (const auto attributes = at.element.attributes(); !attributes.empty())
      unknown_attribute(attributes.front(), at, "; the model has none to select by");
    Node node = {at.element};
    if (is_leaf(at.node)) {
      const auto value = trimmed(at.element.text());
      node.is_content_match = !value.empty();
      if (node.is_content_match) node.value = check_value(at.node, value, {at.element.prefixes()}).text;
      node.can_match = !node.is_content_match || node.value.has_value();
      return node;
    }
    bool content_fails = false;
    bool selects = false;
    bool has_selector = false;
    for (const auto &child : at.element.children()) {
      auto below = check(locate(child, at.node, at.path, true));
      content_fails |= below.is_content_match && !below.can_match;
      selects |= !below.is_content_match && below.can_match;
      has_selector |= !below.is_content_match;
      if (below.can_match) node.children.push_back(std::move(below));
    }
    node.can_match = !content_fails && (selects || !has_selector);
    return node;
  }

  void add(const Node &node, vidl_yfw_datatree *parent) {
    auto *added = tree().add(parent, node.element.name(), ns(), node.value);
    for (const auto &child : node.children) add(child, added);
  }
};

}  // namespace

void parse_edit(const Schema &schema, const XmlElement &around, const std::string &where,
                DefaultOperation operation, yfw::Datatree &tree, std::optional<yfw::Datatree> &stated) {
  EditParser(schema, where, operation, tree).parse(around.children(), stated);
}

bool parse_filter(const Schema &schema, const XmlElement &around, const std::string &where,
                  yfw::Datatree &tree) {
  return FilterParser(schema, where, tree).parse(around.children());
}

std::string checked_value(const lysc_node *leaf, std::string_view value, ValueScope scope,
                          const std::string &path) {
  auto checked = check_value(leaf, value, scope);
  if (!checked.text) throw RpcError({.tag = "invalid-value", .message = checked.reason, .path = path});
  return *checked.text;
}

RpcError unknown_element(const std::string &path, std::string_view name) {
  const std::string element(name);
  return RpcError({.tag = "unknown-element",
                   .message = "the model has no element " + element + " there",
                   .path = path,
                   .bad_element = element});
}

}  // namespace ymap
