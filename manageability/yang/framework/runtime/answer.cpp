// Moves the parts of an answer together and prunes it in place.
#include "answer.hpp"

#include <algorithm>
#include <vector>

#include "record_filter.hpp"
#include "tree_store.hpp"

namespace yfw {
namespace {

/// False when nothing is left.
bool keep_values(vidl_yfw_datatree &node) {
  if (child_count(node) == 0) return has_value(node);
  filter_children(node, keep_values);
  return child_count(node) != 0;
}

/// Moves what `target` lacks out of `from`.
void merge_children(Arena &arena, vidl_yfw_datatree &target, vidl_yfw_datatree &from) {
  for (vidl_yfw_datatree &below : children(from)) {
    vidl_yfw_datatree *known = child(target, below.tag);
    if (known == nullptr)
      *append_child(arena, target) = below;
    else if (child_count(below) != 0)
      merge_children(arena, *known, below);
  }
}

/// The child of that name, added where it is missing.
vidl_yfw_datatree *reach(Datatree &tree, vidl_yfw_datatree *parent, const std::string &tag,
                         const std::string &ns) {
  vidl_yfw_datatree *found = child(*parent, tag);
  return found != nullptr ? found : add_alias(tree, parent, tag.c_str(), ns.c_str());
}

/// The key leaf of an entry of that key, or nullptr.
vidl_yfw_datatree *find_key(const vidl_yfw_datatree &entry, const Registration &registration,
                            const std::string &instance) {
  if (!has_tag(entry, registration.list)) return nullptr;
  vidl_yfw_datatree *key = child(entry, registration.key);
  return key != nullptr && same_text(key->data == nullptr ? "" : key->data, instance.c_str()) ? key : nullptr;
}

void merge_entry(const Registration &registration, vidl_yfw_datatree &from, vidl_yfw_datatree *key,
                 const std::string &instance, Datatree &answer) {
  const std::string &ns = registration.openconfig_ns;
  vidl_yfw_datatree *list =
      reach(answer, reach(answer, answer.root(), registration.top, ns), registration.list_container, ns);
  // A key stands before the other leaves of its entry (RFC 7950, section 7.8.5).
  std::rotate(from.subtrees, key, key + 1);
  vidl_yfw_datatree_set_is_key(from.subtrees);
  Arena &arena = store_of(answer).arena;
  for (vidl_yfw_datatree &entry : children(*list)) {
    if (find_key(entry, registration, instance) != nullptr) return merge_children(arena, entry, from);
  }
  *append_child(arena, *list) = from;
}

void prune(vidl_yfw_datatree &parent, const std::vector<Selected<const vidl_yfw_datatree *>> &selection) {
  auto next = selection.begin();
  filter_children(parent, [&](vidl_yfw_datatree &node) {
    if (next == selection.end() || next->node != &node) return false;
    if (!next->whole) prune(node, next->children);
    ++next;
    return true;
  });
}

}  // namespace

void drop_hollow(Datatree &answer) {
  filter_children(*answer.root(), keep_values);
}

void merge_answer(const Registration &registration, Datatree part, const std::string &instance,
                  Datatree &answer) {
  for (const vidl_yfw_datatree &top : children(*part.root())) {
    if (!has_tag(top, registration.top)) continue;
    for (const vidl_yfw_datatree &list : children(top)) {
      if (!has_tag(list, registration.list_container)) continue;
      for (vidl_yfw_datatree &entry : children(list)) {
        if (vidl_yfw_datatree *key = find_key(entry, registration, instance))
          merge_entry(registration, entry, key, instance, answer);
      }
    }
  }
  adopt(answer, std::move(part));
}

void prune_answer(const Datatree &filter, Datatree &answer) {
  if (child_count(*filter.root()) == 0) return;
  const RecordAdapter adapter;
  std::vector<const vidl_yfw_datatree *> filters;
  for (const vidl_yfw_datatree &top : children(*filter.root())) filters.push_back(&top);
  prune(*answer.root(),
        SubtreeFilter<RecordAdapter>(adapter).select(filters, adapter.data_children(answer.root())));
}

}  // namespace yfw
