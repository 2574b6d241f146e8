#include "answer.hpp"

#include <vector>

#include "record.hpp"
#include "record_filter.hpp"

namespace yfw {
namespace {

bool holds_value(const vidl_yfw_datatree &node) {
  if (child_count(node) == 0) return has_value(node);
  for (const vidl_yfw_datatree &below : children(node)) {
    if (holds_value(below)) return true;
  }
  return false;
}

void merge_children(Datatree &to, vidl_yfw_datatree &target, const vidl_yfw_datatree &from) {
  for (const vidl_yfw_datatree &below : children(from)) {
    if (!holds_value(below)) continue;
    vidl_yfw_datatree *known = child(target, tag_of(below));
    if (child_count(below) == 0) {
      if (known == nullptr) to.add(&target, tag_of(below), namespace_of(below), value_of(below));
    } else {
      if (known == nullptr) known = to.add(&target, tag_of(below), namespace_of(below));
      merge_children(to, *known, below);
    }
  }
}

/// The child of that name, added where it is missing.
vidl_yfw_datatree *reach(Datatree &tree, vidl_yfw_datatree *parent, const std::string &tag,
                         const std::string &ns) {
  vidl_yfw_datatree *found = child(*parent, tag);
  return found != nullptr ? found : tree.add(parent, tag, ns);
}

vidl_yfw_datatree *find_entry(const vidl_yfw_datatree &list, const Registration &registration,
                              const std::string &instance) {
  for (vidl_yfw_datatree &entry : children(list)) {
    if (tag_of(entry) != registration.list) continue;
    const vidl_yfw_datatree *key = child(entry, registration.key);
    if (key != nullptr && value_of(*key) == instance) return &entry;
  }
  return nullptr;
}

void merge_entry(const Registration &registration, const vidl_yfw_datatree &from, const std::string &instance,
                 Datatree &answer) {
  const std::string &ns = registration.openconfig_ns;
  vidl_yfw_datatree *list =
      reach(answer, reach(answer, answer.root(), registration.top, ns), registration.list_container, ns);
  vidl_yfw_datatree *entry = find_entry(*list, registration, instance);
  if (entry == nullptr) {
    entry = answer.add(list, registration.list, ns);
    vidl_yfw_datatree_set_is_key(answer.add(entry, registration.key, ns, instance));
  }
  merge_children(answer, *entry, from);
}

void copy_selected(const Selected<const vidl_yfw_datatree *> &selected, vidl_yfw_datatree *parent,
                   Datatree &to) {
  if (selected.whole) {
    to.add_copy(parent, selected.node);
    return;
  }
  vidl_yfw_datatree *copy = to.add(parent, tag_of(*selected.node), namespace_of(*selected.node));
  for (const auto &below : selected.children) copy_selected(below, copy, to);
}

}  // namespace

void merge_answer(const Registration &registration, const Datatree &part, const std::string &instance,
                  Datatree &answer) {
  for (const vidl_yfw_datatree &top : children(*part.root())) {
    if (tag_of(top) != registration.top) continue;
    for (const vidl_yfw_datatree &list : children(top)) {
      if (tag_of(list) != registration.list_container) continue;
      for (const vidl_yfw_datatree &entry : children(list)) {
        const vidl_yfw_datatree *key =
            tag_of(entry) == registration.list ? child(entry, registration.key) : nullptr;
        if (key != nullptr && value_of(*key) == instance) merge_entry(registration, entry, instance, answer);
      }
    }
  }
}

Datatree prune_answer(const Datatree &filter, Datatree answer) {
  if (child_count(*filter.root()) == 0) return answer;
  const RecordAdapter adapter;
  const SubtreeFilter<RecordAdapter> subtree(adapter);
  std::vector<const vidl_yfw_datatree *> filters;
  for (const vidl_yfw_datatree &top : children(*filter.root())) filters.push_back(&top);
  Datatree pruned;
  for (const auto &selected : subtree.select(filters, adapter.data_children(answer.root()))) {
    copy_selected(selected, pruned.root(), pruned);
  }
  return pruned;
}

}  // namespace yfw
