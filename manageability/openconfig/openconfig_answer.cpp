// Framework answers to OpenConfig data; what the model does not take is left out with a warning.
#include "openconfig_answer.hpp"

#include <libyang/libyang.h>

#include <string_view>

#include "ymap_datatree.h"

namespace ymap {
namespace {

class AnswerBuilder {
 public:
  explicit AnswerBuilder(const Schema &schema) : schema_(schema) {}

  Answer build(const vidl_yfw_datatree *root) {
    add_children(root, nullptr, nullptr, {});
    validate();
    return std::move(answer_);
  }

 private:
  void warn(const std::string &path, const std::string &reason) {
    answer_.warnings.push_back("left out " + path + ": " + reason);
  }

  void add_children(const vidl_yfw_datatree *from, const lysc_node *schema_parent, lyd_node *parent,
                    const std::string &path) {
    if (!vidl_yfw_datatree_has_subtrees(from)) return;
    for (uint32_t at = 0; at < from->subtree_count; ++at)
      add(from->subtrees[at], schema_parent, parent, path);
  }

  void add(const vidl_yfw_datatree &from, const lysc_node *schema_parent, lyd_node *parent,
           const std::string &parent_path) {
    const std::string_view tag = from.tag == nullptr ? "" : from.tag;
    auto path = step(parent_path, schema_.module_name(), tag);
    const auto *node = schema_.child(schema_parent, tag);
    if (node == nullptr) return warn(path, "the model has no such element");
    lyd_node *made = nullptr;
    if (is_leaf(node)) {
      if (!is_key(node)) add_leaf(from, parent, path);
      return;
    }
    if (is_list(node)) {
      const auto *key = key_value(from, node);
      if (key == nullptr) return warn(path, "the entry has no key");
      path = with_key(path, node_name(lysc_node_child(node)), key);
      if (lyd_new_list(parent, schema_.module(), from.tag, 0, &made, key) != LY_SUCCESS)
        return warn(path, reason());
    } else if (lyd_new_inner(parent, schema_.module(), from.tag, 0, &made) != LY_SUCCESS) {
      return warn(path, reason());
    }
    if (parent == nullptr) append(made);
    add_children(&from, node, made, path);
  }

  void add_leaf(const vidl_yfw_datatree &from, lyd_node *parent, const std::string &path) {
    if (!vidl_yfw_datatree_has_data(&from) || from.data == nullptr || *from.data == '\0') return;
    if (lyd_new_term(parent, schema_.module(), from.tag, from.data, 0, nullptr) != LY_SUCCESS)
      warn(path, reason());
  }

  /// All lists of the model have one key, and YANG puts keys first.
  static const char *key_value(const vidl_yfw_datatree &entry, const lysc_node *list) {
    const auto key = node_name(lysc_node_child(list));
    for (uint32_t at = 0; at < entry.subtree_count; ++at) {
      const auto &leaf = entry.subtrees[at];
      if (leaf.tag != nullptr && key == leaf.tag && leaf.data != nullptr && *leaf.data != '\0')
        return leaf.data;
    }
    return nullptr;
  }

  void append(lyd_node *top) {
    lyd_node *first = nullptr;
    lyd_insert_sibling(answer_.data.get(), top, &first);
    static_cast<void>(answer_.data.release());
    answer_.data.reset(first);
  }

  /// A key refers to config/name, so an answer without that leaf is a part that cannot hold on its own; all
  /// others are valid data or the device is at fault.
  void validate() {
    if (!answer_.data || !names_complete(answer_.data.get())) return;
    // On a copy: validation adds the containers that nobody asked for.
    lyd_node *copy = nullptr;
    lyd_dup_siblings(answer_.data.get(), nullptr, LYD_DUP_RECURSIVE, &copy);
    const auto status = lyd_validate_module(&copy, schema_.module(), 0, nullptr);
    lyd_free_all(copy);
    if (status != LY_SUCCESS) answer_.warnings.push_back("the answer is not valid data: " + reason());
  }

  static bool names_complete(const lyd_node *first) {
    const lyd_node *node = nullptr;
    LY_LIST_FOR(first, node) {
      if (is_list(node->schema)) {
        const auto path = std::string("config/").append(node_name(lysc_node_child(node->schema)));
        if (lyd_find_path(node, path.c_str(), 0, nullptr) != LY_SUCCESS) return false;
      } else if (!names_complete(lyd_child(node))) {
        return false;
      }
    }
    return true;
  }

  std::string reason() const {
    const char *message = ly_errmsg(schema_.context());
    return message == nullptr ? "no reason given" : message;
  }

  const Schema &schema_;
  Answer answer_;
};

}  // namespace

Answer openconfig_answer(const Schema &schema, const vidl_yfw_datatree *root) {
  return AnswerBuilder(schema).build(root);
}

}  // namespace ymap
