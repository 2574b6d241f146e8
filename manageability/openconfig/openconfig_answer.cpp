// Framework answers to OpenConfig data; what the model does not take is left out with a warning.
#include "openconfig_answer.hpp"

#include <libyang/libyang.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "data_writer.hpp"
#include "ymap_datatree.h"

namespace ymap {
namespace {

std::string_view text_of(const char *text) {
  return text == nullptr ? std::string_view() : std::string_view(text);
}

class AnswerBuilder {
 public:
  explicit AnswerBuilder(const Schema &schema) : schema_(schema) {}

  Answer build(const vidl_yfw_datatree *root) {
    add_children(*root, nullptr, answer_.data);
    return std::move(answer_);
  }

 private:
  /// A node under construction. Its path is made where something is wrong below it.
  struct Place {
    const SchemaNode *schema;
    std::string_view key;
    const Place *parent;
  };

  std::string path_of(const Place *place) const {
    if (place == nullptr) return {};
    auto path = step(path_of(place->parent), schema_.module_name(), place->schema->name);
    return place->key.empty() ? path : with_key(path, place->schema->children.front().name, place->key);
  }

  void warn(const Place *parent, std::string_view tag, const std::string &reason) {
    answer_.warnings.push_back("left out " + step(path_of(parent), schema_.module_name(), tag) + ": " +
                               reason);
  }

  void add_children(const vidl_yfw_datatree &from, const Place *place, Data &to) {
    if (!vidl_yfw_datatree_has_subtrees(&from)) return;
    to.reserve(to.size() + from.subtree_count);
    for (uint32_t at = 0; at < from.subtree_count; ++at) add(from.subtrees[at], place, to);
    // The plug-in's answers come module by module.
    if (!std::ranges::is_sorted(to, std::ranges::less(), &DataNode::schema))
      std::ranges::stable_sort(to, std::ranges::less(), &DataNode::schema);
  }

  void add(const vidl_yfw_datatree &from, const Place *parent, Data &to) {
    const auto tag = text_of(from.tag);
    const auto *node = schema_.child(parent == nullptr ? nullptr : parent->schema, tag);
    if (node == nullptr) return warn(parent, tag, "the model has no such element");
    if (node->is_leaf()) {
      if (!node->is_key) add_leaf(*node, value_of(from), parent, to);
      return;
    }
    Place place = {node, {}, parent};
    DataNode made = {node};
    if (node->is_list()) {
      place.key = key_value(from, *node);
      if (place.key.empty()) return warn(parent, tag, "the entry has no key");
      if (!add_leaf(node->children.front(), place.key, &place, made.children)) return;
    }
    add_children(from, &place, made.children);
    to.push_back(std::move(made));
  }

  bool add_leaf(const SchemaNode &leaf, std::string_view value, const Place *parent, Data &to) {
    if (value.empty()) return false;
    auto checked = schema_.check_value(&leaf, value);
    if (checked.text)
      to.push_back({&leaf, std::move(*checked.text)});
    else
      warn(parent, leaf.name, checked.reason);
    return checked.text.has_value();
  }

  static std::string_view value_of(const vidl_yfw_datatree &leaf) {
    return vidl_yfw_datatree_has_data(&leaf) ? text_of(leaf.data) : std::string_view();
  }

  /// All lists of the model have one key, and YANG puts keys first.
  static std::string_view key_value(const vidl_yfw_datatree &entry, const SchemaNode &list) {
    for (uint32_t at = 0; at < entry.subtree_count; ++at) {
      const auto &leaf = entry.subtrees[at];
      if (text_of(leaf.tag) == list.children.front().name && !text_of(leaf.data).empty()) return leaf.data;
    }
    return {};
  }

  const Schema &schema_;
  Answer answer_;
};

/// A key refers to config/name, so that an answer without this leaf is a part that cannot hold on its own;
/// all others are valid data or their maker is at fault.
bool names_complete(const Data &siblings) {
  return std::ranges::all_of(siblings, [](const DataNode &node) {
    if (!node.schema->is_list()) return names_complete(node.children);
    const auto config = std::ranges::find_if(
        node.children, [](const DataNode &child) { return child.schema->name == "config"; });
    return config != node.children.end() && std::ranges::any_of(config->children, [&](const DataNode &leaf) {
             return leaf.schema->name == node.schema->children.front().name;
           });
  });
}

}  // namespace

Answer openconfig_answer(const Schema &schema, const vidl_yfw_datatree *root) {
  return AnswerBuilder(schema).build(root);
}

void validate(const Schema &schema, Answer &answer) {
  if (answer.data.empty() || !names_complete(answer.data)) return;
  const auto &yang = schema.yang();
  auto tree = libyang_data(schema, answer.data);
  auto *first = tree.release();
  const auto status = lyd_validate_module(&first, yang.module(), 0, nullptr);
  tree.reset(first);
  const char *reason = ly_errmsg(yang.context());
  if (status != LY_SUCCESS)
    answer.warnings.push_back(std::string("the answer is not valid data: ") +
                              (reason == nullptr ? "no reason given" : reason));
}

}  // namespace ymap
