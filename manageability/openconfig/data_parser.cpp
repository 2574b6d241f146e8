// OpenConfig data in a message, checked against the schema: edits and filters.
#include "data_parser.hpp"

#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "native_parser.hpp"
#include "operation_words.hpp"
#include "printable.hpp"

namespace ymap {
namespace {

/// The value that holds. Throws RpcError: invalid-value at the path that `path` makes.
template <typename MakePath>
std::string accepted(CheckedValue checked, const MakePath &path) {
  if (checked.text) return std::move(*checked.text);
  throw RpcError({.tag = "invalid-value",
                  .message = checked.reason + " Expected " + checked.expected + ".",
                  .path = path()});
}

/// An element that stands where the schema has a node. Its path is made where something is wrong with it.
struct Located {
  XmlElement element;
  const SchemaNode *node;
  const Located *parent;  ///< nullptr at the top
};

/// The key of an entry, if it is unmistakable; else the empty text. All lists of the model have one key.
std::string_view key_of(const Schema &schema, const Located &entry) {
  std::string_view value;
  bool given = false;
  for (const auto &child : entry.element.children()) {
    const auto *node = schema.child(entry.node, child.name());
    if (node == nullptr || !node->is_key) continue;
    if (given) return {};
    given = true;
    value = trimmed(child.text());
  }
  return value;
}

std::string path_of(const Schema &schema, const Located *at) {
  if (at == nullptr) return {};
  auto path = step(path_of(schema, at->parent), schema.module_name(), at->node->name);
  if (!at->node->is_list()) return path;
  const auto key = key_of(schema, *at);
  return key.empty() ? path : with_key(path, at->node->children.front().name, shortened(key));
}

/// Walks elements beside the schema. What an edit and a filter have in common is the look-up; what they allow
/// differs.
class DataParser {
 public:
  /// `where` is the path of the element around the data, for what is wrong with the tops.
  DataParser(const Schema &schema, const std::string &where, yfw::Datatree &tree)
      : schema_(schema), where_(where), tree_(tree) {}

 protected:
  /// Elements without a namespace match any, in a filter (RFC 6241, section 6.2.1).
  Located locate(const XmlElement &element, const Located *parent, bool any_namespace) const {
    const auto *above = parent == nullptr ? nullptr : parent->node;
    if (element.ns() != ns() && !(any_namespace && element.ns().empty())) {
      throw RpcError({.tag = "unknown-namespace",
                      .message = "element " + shortened(element.name()) + " is of namespace \"" +
                                 shortened(element.ns()) + "\", expected \"" + std::string(ns()) + "\"",
                      .path = parent == nullptr ? where_ : path(parent),
                      .bad_element = std::string(element.name()),
                      .bad_namespace = std::string(element.ns())});
    }
    const auto *node = schema_.child(above, element.name());
    if (node == nullptr) throw unknown_element(step_to(parent, element.name()), element.name());
    return {element, node, parent};
  }

  void check_shape(const Located &at) const {
    const auto children = at.element.children();
    if (at.node->is_leaf()) {
      if (!children.empty()) {
        const auto name = children.front().name();
        throw unknown_element(path(&at) + "/" + shortened(name), name);
      }
    } else if (!at.element.text().empty()) {
      const std::string name(at.element.name());
      throw RpcError({.tag = "bad-element",
                      .message = "element " + name + " holds text; it may hold elements only",
                      .path = path(&at),
                      .bad_element = name});
    }
  }

  [[noreturn]] void unknown_attribute(const XmlAttribute &attribute, const Located &at,
                                      const std::string &hint) const {
    throw RpcError({.tag = "unknown-attribute",
                    .message = "attribute " + shortened(attribute.name) + " is not known here" + hint,
                    .path = path(&at),
                    .bad_attribute = std::string(attribute.name),
                    .bad_element = std::string(at.element.name())});
  }

  const Schema &schema() const { return schema_; }
  yfw::Datatree &tree() { return tree_; }
  std::string_view ns() const { return schema_.ns(); }
  std::string path(const Located *at) const { return path_of(schema_, at); }
  std::string step_to(const Located *parent, std::string_view name) const {
    return step(path(parent), schema_.module_name(), shortened(name));
  }

 private:
  const Schema &schema_;
  const std::string &where_;
  yfw::Datatree &tree_;
};

class EditParser : public DataParser {
 public:
  EditParser(const Schema &schema, const std::string &where, DefaultOperation operation, yfw::Datatree &tree)
      : DataParser(schema, where, tree), default_operation_(operation) {}

  /// `stated` takes what an edit by default operation "none" says, all of it.
  void parse(const XmlElements &elements, std::optional<yfw::Datatree> &stated) {
    check_once(elements, nullptr);
    std::vector<Node> tops;
    for (const auto &element : elements)
      if (!is_of_rules(element, false)) tops.push_back(check(locate(element, nullptr, false)));
    const bool all = default_operation_ != DefaultOperation::none;
    for (const auto &top : tops)
      if (all || top.has_effect) add(top, tree(), tree().root(), all);
    if (!all) {
      stated.emplace();
      for (const auto &top : tops) add(top, *stated, stated->root(), true);
    }
    // Nothing at all as the new content of the datastore is a content too.
    if (tops.empty() && default_operation_ == DefaultOperation::replace)
      for (const auto &top : schema().children(nullptr))
        tree().add(tree().root(), top.name, ns(), std::nullopt, YMAP_OP_REPLACE);
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

  void check_attributes(const Located &at) const {
    for (const auto &attribute : at.element.attributes()) {
      if (attribute.ns != kNetconfNs || attribute.name != "operation") {
        const bool unprefixed = attribute.name == "operation" && attribute.ns.empty();
        unknown_attribute(attribute, at,
                          unprefixed ? "; operation needs a prefix that stands for " + std::string(kNetconfNs)
                                     : std::string());
      }
      if (own_operation(at.element)) continue;
      throw RpcError({.tag = "bad-attribute",
                      .message = "operation \"" + shortened(attribute.value) +
                                 "\" is none of merge, create, replace, delete, remove",
                      .path = path(&at),
                      .bad_attribute = "operation",
                      .bad_element = std::string(at.element.name())});
    }
  }

  /// A leaf or container stands once. Keys may not either, but that is for the plug-in to say.
  void check_once(const XmlElements &siblings, const Located *parent) const {
    std::map<std::pair<std::string_view, std::string_view>, std::size_t> counts;
    for (const auto &one : siblings) ++counts[{one.name(), one.ns()}];
    for (const auto &one : siblings) {
      if (counts[{one.name(), one.ns()}] == 1) continue;
      const auto *node = schema().child(parent == nullptr ? nullptr : parent->node, one.name());
      if (node == nullptr || node->is_list() || node->is_key) continue;
      throw stands_twice(one.name(), step_to(parent, one.name()));
    }
  }

  static RpcError stands_twice(std::string_view element, const std::string &path) {
    const std::string name(element);
    return RpcError({.tag = "bad-element",
                     .message = "element " + name + " stands twice; it may stand once",
                     .path = path,
                     .bad_element = name});
  }

  Node check(const Located &at) const {
    check_shape(at);
    check_attributes(at);
    Node node = {at.element, own_operation(at.element), std::nullopt, at.node->is_key};
    node.has_effect = node.operation.has_value() || !at.node->is_config;
    if (at.node->is_leaf()) {
      const auto text = at.element.text();
      if (node.is_key)
        node.value = text;
      else if (!removed_without_value(node))
        node.value =
            accepted(schema().check_value(at.node, text, at.element.text_ns()), [&] { return path(&at); });
      return node;
    }
    const auto children = at.element.children();
    std::set<std::pair<const SchemaNode *, std::string_view>> entries;
    for (const auto &child : children) {
      const auto below = locate(child, &at, false);
      node.children.push_back(check(below));
      node.has_effect = node.has_effect || node.children.back().has_effect;
      if (!below.node->is_list()) continue;
      // An entry is one by its key; without a single one it is for the plug-in to judge.
      const auto key = key_of(schema(), below);
      if (!key.empty() && !entries.emplace(below.node, key).second)
        throw stands_twice(child.name(), path(&below));
    }
    check_once(children, &at);
    return node;
  }

  static bool removed_without_value(const Node &leaf) {
    const uint32_t operation = leaf.operation.value_or(YMAP_OP_NONE);
    return (operation == YMAP_OP_DELETE || operation == YMAP_OP_REMOVE) && leaf.element.text().empty();
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

  bool parse(const XmlElements &elements) {
    bool any = false;
    for (const auto &element : elements) {
      if (is_foreign(element)) continue;
      const auto node = check(locate(element, nullptr, true));
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
    if (at.node->is_leaf()) {
      const auto value = trimmed(at.element.text());
      node.is_content_match = !value.empty();
      if (node.is_content_match) node.value = schema().check_value(at.node, value, at.element.text_ns()).text;
      node.can_match = !node.is_content_match || node.value.has_value();
      return node;
    }
    bool content_fails = false;
    bool selects = false;
    bool has_selector = false;
    for (const auto &child : at.element.children()) {
      auto below = check(locate(child, &at, true));
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

std::string checked_value(const Schema &schema, const SchemaNode *leaf, std::string_view value,
                          const std::string &path) {
  return accepted(schema.check_value(leaf, value), [&] { return path; });
}

RpcError unknown_element(const std::string &path, std::string_view name) {
  return RpcError({.tag = "unknown-element",
                   .message = "the model has no element " + shortened(name) + " there",
                   .path = path,
                   .bad_element = std::string(name)});
}

}  // namespace ymap
