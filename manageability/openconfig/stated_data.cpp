// An edit by default operation "none" names data that must be there; one read tells whether it is.
#include "stated_data.hpp"

#include <string>
#include <string_view>

#include "rpc_error.hpp"
#include "ymap_datatree.h"

namespace ymap {
namespace {

std::string_view text_of(const char *text) {
  return text == nullptr ? std::string_view() : std::string_view(text);
}

uint32_t child_count(const vidl_yfw_datatree *node) {
  return node != nullptr && vidl_yfw_datatree_has_subtrees(node) ? node->subtree_count : 0;
}

bool has_own_operation(const vidl_yfw_datatree &node) {
  return vidl_yfw_datatree_has_operation(&node) && node.operation != YMAP_OP_NONE;
}

class StatedData {
 public:
  explicit StatedData(const Schema &schema) : schema_(schema) {}

  /// The subtree filter of what must be there. Below an operation nothing must; a container is always there.
  void add_filter(const vidl_yfw_datatree *from, const SchemaNode *at, vidl_yfw_datatree *to,
                  yfw::Datatree &filter) const {
    for (uint32_t i = 0; i < child_count(from); ++i) {
      const auto &node = from->subtrees[i];
      const auto *below = schema_.child(at, text_of(node.tag));
      if (!must_exist(node, below)) continue;
      std::optional<std::string_view> value;
      if (below->is_key) value = text_of(node.data);
      add_filter(&node, below, filter.add(to, text_of(node.tag), text_of(node.namespace_), value), filter);
    }
  }

  /// Throws RpcError: data-missing for what `filter` asks and `answer` lacks.
  void check(const vidl_yfw_datatree *filter, const SchemaNode *at, const vidl_yfw_datatree *answer,
             const std::string &path) const {
    for (uint32_t i = 0; i < child_count(filter); ++i) {
      const auto &asked = filter->subtrees[i];
      const auto name = text_of(asked.tag);
      const auto *below = schema_.child(at, name);
      auto here = step(path, schema_.module_name(), name);
      if (const auto *key = key_of(asked, below))
        here = with_key(here, text_of(key->tag), text_of(key->data));
      const auto *found = find(answer, asked, below);
      if (found == nullptr && (below->is_list() || below->is_leaf())) {
        throw RpcError({.tag = "data-missing",
                        .message = std::string(name) +
                                   " does not exist, and the default operation none does not create it",
                        .path = here});
      }
      check(&asked, below, found, here);
    }
  }

 private:
  bool must_exist(const vidl_yfw_datatree &node, const SchemaNode *schema_node) const {
    if (has_own_operation(node) || schema_node == nullptr) return false;
    if (schema_node->is_list() || schema_node->is_leaf()) return true;
    for (uint32_t i = 0; i < child_count(&node); ++i) {
      const auto &below = node.subtrees[i];
      if (must_exist(below, schema_.child(schema_node, text_of(below.tag)))) return true;
    }
    return false;
  }

  const vidl_yfw_datatree *key_of(const vidl_yfw_datatree &entry, const SchemaNode *list) const {
    for (uint32_t i = 0; i < child_count(&entry); ++i) {
      const auto *leaf = schema_.child(list, text_of(entry.subtrees[i].tag));
      if (leaf != nullptr && leaf->is_key) return &entry.subtrees[i];
    }
    return nullptr;
  }

  const vidl_yfw_datatree *find(const vidl_yfw_datatree *parent, const vidl_yfw_datatree &asked,
                                const SchemaNode *node) const {
    for (uint32_t i = 0; i < child_count(parent); ++i) {
      const auto &candidate = parent->subtrees[i];
      if (text_of(candidate.tag) != text_of(asked.tag)) continue;
      if (!node->is_list()) return &candidate;
      const auto *wanted = key_of(asked, node);
      const auto *own = key_of(candidate, node);
      if (wanted != nullptr && own != nullptr && text_of(wanted->data) == text_of(own->data))
        return &candidate;
    }
    return nullptr;
  }

  const Schema &schema_;
};

}  // namespace

void check_stated(const Schema &schema, const yfw::Datatree &stated, yfw::Mapper &mapper) {
  if (child_count(stated.root()) == 0) return;
  mapper.translate_edit(stated);
  const StatedData data(schema);
  yfw::Datatree filter;
  data.add_filter(stated.root(), nullptr, filter.root(), filter);
  if (child_count(filter.root()) == 0) return;
  const auto answer = mapper.read({&filter, YMAP_REQ_GET_CONFIG, 0});
  data.check(filter.root(), nullptr, answer.root(), {});
}

}  // namespace ymap
