// Trees as leaves with paths, and what differs; trees without what a user may not read.
#include "changes.hpp"

#include <algorithm>
#include <iterator>
#include <set>
#include <string_view>
#include <utility>

#include "printable.hpp"
#include "ymap_datatree.h"

namespace ymap {
namespace {

using device::PlainNode;

void add_leaves(const Schema &schema, const Data &data, const std::string &parent, Leaves &leaves) {
  for (const auto &node : data) {
    if (!node.schema->is_config) continue;
    auto path = step(parent, schema.module_name(), node.schema->name);
    if (node.schema->is_leaf()) {
      leaves.values.emplace(std::move(path), node.value);
      continue;
    }
    if (node.schema->is_list())
      path = with_key(path, node.children.front().schema->name, node.children.front().value);
    add_leaves(schema, node.children, path, leaves);
  }
}

/// The lists of the access rules whose order says something.
bool is_ordered(std::string_view name) {
  return name == "rule-list" || name == "rule";
}

void add_leaves(const std::vector<PlainNode> &nodes, const std::string &parent, Leaves &leaves) {
  for (const auto &node : nodes) {
    auto path = parent + "/" + node.name;
    // Leaf-lists, of which there are these.
    const std::string_view name = node.name;
    if (name == "user-name" || (name == "group" && node.is_leaf)) path = with_key(path, ".", node.value);
    if (node.is_leaf) {
      leaves.values.emplace(std::move(path), node.value);
      continue;
    }
    if (!node.children.empty() && node.children.front().is_key)
      path = with_key(path, node.children.front().name, node.children.front().value);
    if (is_ordered(name)) leaves.orders[parent + "/" + node.name].push_back(node.children.front().value);
    add_leaves(node.children, path, leaves);
  }
}

/// Whether `path` is at `top` or below it.
bool is_within(std::string_view path, std::string_view top) {
  return path.starts_with(top) && (path.size() == top.size() || path[top.size()] == '/');
}

void erase_within(Leaves &leaves, const std::string &top) {
  auto &values = leaves.values;
  for (auto at = values.lower_bound(top); at != values.end() && at->first.starts_with(top);)
    at = is_within(at->first, top) ? values.erase(at) : std::next(at);
}

/// Of the entries that both orders have.
std::vector<std::string> common(const std::vector<std::string> &order,
                                const std::vector<std::string> &other) {
  const std::set<std::string_view> others(other.begin(), other.end());
  std::vector<std::string> both;
  std::ranges::copy_if(order, std::back_inserter(both),
                       [&](const std::string &key) { return others.contains(key); });
  return both;
}

std::string joined(const std::vector<std::string> &texts) {
  std::string all;
  for (const auto &text : texts) all.append(all.empty() ? "" : ", ").append(text);
  return all;
}

std::string_view text_of(const char *text) {
  return text == nullptr ? std::string_view() : std::string_view(text);
}

class Prediction {
 public:
  Prediction(const Schema &schema, Leaves &leaves) : schema_(schema), leaves_(leaves) {}

  void apply(const vidl_yfw_datatree &node, const SchemaNode *parent, const std::string &parent_path) {
    const auto *schema = schema_.child(parent, text_of(node.tag));
    if (schema == nullptr) return;
    auto path = step(parent_path, schema_.module_name(), schema->name);
    if (schema->is_list())
      path = with_key(path, schema->children.front().name, shortened(key_of(node, *schema)));
    const auto operation = vidl_yfw_datatree_has_operation(&node) ? node.operation : YMAP_OP_NONE;
    const bool removes = operation == YMAP_OP_DELETE || operation == YMAP_OP_REMOVE;
    if (removes || operation == YMAP_OP_REPLACE) erase_within(leaves_, path);
    if (removes) return;
    if (schema->is_leaf()) {
      leaves_.values[path] = shortened(text_of(vidl_yfw_datatree_has_data(&node) ? node.data : nullptr));
      return;
    }
    if (!vidl_yfw_datatree_has_subtrees(&node)) return;
    for (uint32_t at = 0; at < node.subtree_count; ++at) apply(node.subtrees[at], schema, path);
  }

 private:
  static std::string_view key_of(const vidl_yfw_datatree &entry, const SchemaNode &list) {
    if (!vidl_yfw_datatree_has_subtrees(&entry)) return {};
    for (uint32_t at = 0; at < entry.subtree_count; ++at)
      if (text_of(entry.subtrees[at].tag) == list.children.front().name)
        return text_of(entry.subtrees[at].data);
    return {};
  }

  const Schema &schema_;
  Leaves &leaves_;
};

/// Adds a step to a path while it lives, with a key of its own: that of the node may move meanwhile.
class Deeper {
 public:
  Deeper(DataPath &path, PathStep step) : path_(path) {
    if (!step.keys.empty()) {
      key_ = step.keys.front().second;
      step.keys.front().second = key_;
    }
    path_.push_back(std::move(step));
  }
  ~Deeper() { path_.pop_back(); }
  Deeper(const Deeper &) = delete;
  Deeper &operator=(const Deeper &) = delete;

 private:
  DataPath &path_;
  std::string key_;
};

PathStep step_of(const Schema &schema, const DataNode &node) {
  PathStep made = {schema.module_name(), node.schema->name};
  if (node.schema->is_list() && !node.children.empty())
    made.keys = {{node.children.front().schema->name, node.children.front().value}};
  return made;
}

PathStep step_of(const PlainNode &node) {
  PathStep made = {kAccessModule, node.name};
  if (!node.children.empty() && node.children.front().is_key)
    made.keys = {{node.children.front().name, node.children.front().value}};
  return made;
}

bool is_key(const DataNode &node) {
  return node.schema->is_key;
}
bool is_key(const PlainNode &node) {
  return node.is_key;
}

/// Those of `nodes` stay for which `keeps` is true, which may change them.
template <typename Node, typename Keeps>
void keep_if(std::vector<Node> &nodes, const Keeps &keeps) {
  std::vector<Node> kept;
  kept.reserve(nodes.size());
  for (auto &node : nodes)
    if (keeps(node)) kept.push_back(std::move(node));
  nodes = std::move(kept);
}

/// An entry is nothing without its key.
template <typename Node, typename MakeStep>
void prune_below(const Rights &rights, std::vector<Node> &nodes, DataPath &path, const MakeStep &make_step) {
  keep_if(nodes, [&](Node &node) {
    const Deeper deeper(path, make_step(node));
    if (!rights.can_read(path)) return false;
    const bool is_entry = !path.back().keys.empty();
    if (node.children.empty()) return true;
    prune_below(rights, node.children, path, make_step);
    return !node.children.empty() && (!is_entry || is_key(node.children.front()));
  });
}

class SecretMatches {
 public:
  SecretMatches(const Schema &schema, const Rights &rights) : schema_(schema), rights_(rights) {}

  void drop(const vidl_yfw_datatree *filter, Data &data) {
    if (!vidl_yfw_datatree_has_subtrees(filter)) return;
    for (uint32_t at = 0; at < filter->subtree_count; ++at) {
      const auto &one = filter->subtrees[at];
      keep_if(data, [&](DataNode &node) {
        if (node.schema->is_leaf() || node.schema->name != text_of(one.tag)) return true;
        const Deeper deeper(path_, step_of(schema_, node));
        if (matches_secret(one)) return false;
        const auto count = node.children.size();
        drop(&one, node.children);
        // What holds nothing any more but its key was there for what it held.
        return node.children.size() == count ||
               !std::ranges::all_of(node.children,
                                    [](const DataNode &child) { return child.schema->is_key; });
      });
    }
  }

 private:
  /// Whether a child of the filter node is a value of a leaf that cannot be read.
  bool matches_secret(const vidl_yfw_datatree &filter) {
    if (!vidl_yfw_datatree_has_subtrees(&filter)) return false;
    for (uint32_t at = 0; at < filter.subtree_count; ++at) {
      const auto &leaf = filter.subtrees[at];
      if (!vidl_yfw_datatree_has_data(&leaf) || text_of(leaf.data).empty()) continue;
      const Deeper deeper(path_, {schema_.module_name(), text_of(leaf.tag)});
      if (!rights_.can_read(path_)) return true;
    }
    return false;
  }

  const Schema &schema_;
  const Rights &rights_;
  DataPath path_;
};

/// Of an edit of access rules: the key of their lists is the name.
Leaves leaves_of_children(const std::vector<device::RequestNode> &edit, const std::string &parent) {
  Leaves leaves;
  for (const auto &node : edit) {
    auto path = step(parent, kAccessModule, node.name);
    const auto key = std::ranges::find(node.children, "name", &device::RequestNode::name);
    if (node.name == "user-name" || (node.name == "group" && node.children.empty()))
      path = with_key(path, ".", node.value.value_or(""));
    else if (key != node.children.end())
      path = with_key(path, "name", shortened(key->value.value_or("")));
    if (node.children.empty())
      leaves.values.emplace(path, shortened(node.value.value_or("")));
    else
      leaves.values.merge(leaves_of_children(node.children, path).values);
  }
  return leaves;
}

}  // namespace

Leaves leaves_of(const Schema &schema, const Data &data) {
  Leaves leaves;
  add_leaves(schema, data, {}, leaves);
  return leaves;
}

Leaves leaves_of(const std::vector<PlainNode> &rules) {
  Leaves leaves;
  add_leaves(rules, step({}, kAccessModule, kAccessTop), leaves);
  return leaves;
}

Leaves after_edit(const Schema &schema, Leaves before, const yfw::Datatree &edit) {
  Prediction prediction(schema, before);
  const auto *root = edit.root();
  if (!vidl_yfw_datatree_has_subtrees(root)) return before;
  for (uint32_t at = 0; at < root->subtree_count; ++at) prediction.apply(root->subtrees[at], nullptr, {});
  return before;
}

Leaves leaves_of(const std::vector<device::RequestNode> &edit) {
  return leaves_of_children(edit, {});
}

std::vector<Change> changes_between(const Leaves &before, const Leaves &after) {
  std::vector<Change> changes;
  for (const auto &[path, value] : before.values) {
    const auto now = after.values.find(path);
    if (now == after.values.end())
      changes.push_back({path, Access::remove, value, std::nullopt});
    else if (now->second != value)
      changes.push_back({path, Access::update, value, now->second});
  }
  for (const auto &[path, value] : after.values)
    if (!before.values.contains(path)) changes.push_back({path, Access::create, std::nullopt, value});
  for (const auto &[path, order] : before.orders) {
    const auto now = after.orders.find(path);
    if (now != after.orders.end() && common(order, now->second) != common(now->second, order))
      changes.push_back({path, Access::update, joined(order), joined(now->second)});
  }
  std::ranges::sort(changes, {}, &Change::path);
  return changes;
}

void prune(const Schema &schema, const Rights &rights, Data &data) {
  DataPath path;
  prune_below(rights, data, path, [&](const DataNode &node) { return step_of(schema, node); });
}

void prune(const Rights &rights, std::vector<PlainNode> &rules) {
  DataPath path = {{kAccessModule, kAccessTop}};
  if (!rights.can_read(path)) return rules.clear();
  prune_below(rights, rules, path, [](const PlainNode &node) { return step_of(node); });
}

void drop_secret_matches(const Schema &schema, const Rights &rights, const yfw::Datatree &filter,
                         Data &data) {
  SecretMatches(schema, rights).drop(filter.root(), data);
}

}  // namespace ymap
