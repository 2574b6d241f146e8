// The services that add to output trees.
#include <cstring>

#include "request.hpp"

namespace yfw {
namespace {

constexpr uint32_t kNoChild = UINT32_MAX;

bool named(const vidl_yfw_datatree &node, const PathStep &step) {
  if (node.tag == step.text) return true;
  // Texts of one table are alike exactly when their addresses are.
  const PathStep *own = extra(node).step;
  if (own != nullptr && own->table == step.table) return false;
  return node.tag != nullptr && std::strcmp(node.tag, step.text) == 0;
}

/// True when the bits, which tell the steps below one step apart, say that no child has the name.
bool is_new_name(const vidl_yfw_datatree &parent, const PathStep &step) {
  const RecordExtra &kept = extra(parent);
  if (step.bit == 0 || (kept.name_bits & step.bit) != 0 || kept.named != parent.subtree_count) return false;
  return kept.step == step.above && kept.array == parent.subtrees;
}

void note_name(vidl_yfw_datatree &parent, const PathStep &step) {
  RecordExtra &kept = extra(parent);
  if (kept.named + 1 != parent.subtree_count || kept.step != step.above) return;
  kept.name_bits |= step.bit;
  ++kept.named;
}

[[gnu::noinline]] uint32_t search_children(vidl_yfw_datatree &parent, const PathStep &step) {
  const uint32_t count = child_count(parent);
  RecordExtra &kept = extra(parent);
  const auto is_at = [&](uint32_t place) {
    return place - 1 < count && named(parent.subtrees[place - 1], step);
  };
  if (is_at(kept.hint)) return kept.hint - 1;
  if (is_at(kept.selected)) return (kept.hint = kept.selected) - 1;
  for (uint32_t place = count; place > kept.closed; --place) {
    if (is_at(place)) return (kept.hint = place) - 1;
  }
  return kNoChild;
}

/// Index of the child a path component means: of a list its current entry, else the one added last.
inline uint32_t find_child(vidl_yfw_datatree &parent, const PathStep &step) {
  if (is_new_name(parent, step)) return kNoChild;
  const RecordExtra &kept = extra(parent);
  const uint32_t count = child_count(parent);
  const uint32_t hint = kept.hint - 1;
  if (hint < count && parent.subtrees[hint].tag == step.text) return hint;
  // A leaf among leaves, whose tags are the table's own texts: then their addresses tell.
  if (kept.named == count && kept.step == step.above && step.table != nullptr && kept.selected == 0) {
    for (uint32_t i = count; i > kept.closed; --i) {
      if (parent.subtrees[i - 1].tag == step.text) return i - 1;
    }
    return kNoChild;
  }
  return count == 0 ? kNoChild : search_children(parent, step);
}

/// An ancestor mostly has one child, or a list of them.
constexpr uint32_t kAncestorCapacity = 2;
constexpr uint32_t kParentCapacity = 8;

/// Appends a child of any name.
[[gnu::noinline]] vidl_yfw_datatree &add_child(Request &request, vidl_yfw_datatree &parent,
                                               const PathStep &step, const char *ns, uint32_t capacity) {
  vidl_yfw_datatree *node = append_if_room(parent);
  if (node == nullptr) node = request.append_growing(parent, capacity);
  if (step.table != nullptr) {
    set_tag(*node, step.text, request.keep_namespace(ns));
    extra(*node).step = &step;
    note_name(parent, step);
  } else {
    set_tag(*node, request.output_arena().copy(step.text), request.keep_namespace(ns));
  }
  return *node;
}

/// The usual case of add_child(), after a look whether there is such a child: the bits say no, and there is
/// room. Else nullptr, and whether there is one is to be seen.
[[gnu::always_inline]] inline vidl_yfw_datatree *add_new_name(Request &request, vidl_yfw_datatree &parent,
                                                              const PathStep &step, const char *ns,
                                                              uint32_t capacity) {
  RecordExtra &kept = extra(parent);
  if (parent.subtrees == nullptr) begin_children(request.output_arena(), parent, capacity);
  const uint32_t count = parent.subtree_count;
  if (!is_new_name(parent, step) || count >= kept.capacity) return nullptr;
  kept.hint = kept.named = parent.subtree_count = count + 1;
  kept.name_bits |= step.bit;
  vidl_yfw_datatree *node = &parent.subtrees[count];
  clear(*node);
  set_tag(*node, step.text, request.keep_namespace(ns));
  extra(*node).step = &step;
  return node;
}

/// The child of that name, added where it is missing.
inline vidl_yfw_datatree &reach(Request &request, vidl_yfw_datatree &parent, const PathStep &step,
                                const char *ns) {
  if (vidl_yfw_datatree *node = add_new_name(request, parent, step, ns, kAncestorCapacity)) return *node;
  const uint32_t found = find_child(parent, step);
  return found != kNoChild ? parent.subtrees[found] : add_child(request, parent, step, ns, kAncestorCapacity);
}

inline void give_value(Request &request, vidl_yfw_datatree &node, const char *value) {
  set_data(node, request.output_arena().copy(value));
}

inline void take_operation(vidl_yfw_datatree &node, const vidl_yfw_datatree *source) {
  if (source == nullptr) return;
  extra(node).source = source;
  if (vidl_yfw_datatree_has_operation(source)) vidl_yfw_datatree_set_operation(&node, source->operation);
}

/// What an add asks for at the end of its path.
struct Wanted {
  const char *ns;
  const char *value;
  const vidl_yfw_datatree *source;
  int list_flag;  ///< an entry or a whole list: it becomes the list's current entry
  int leaf_flag;  ///< with the other: the whole list
};

/// Gives a new node its value.
[[gnu::always_inline]] inline void give_first_value(Request &request, vidl_yfw_datatree &node,
                                                    const char *value) {
  if (value != nullptr)
    give_value(request, node, value);
  else
    request.note_hollow(node);
}

/// A node that stands already keeps its value, and takes one where it has none.
[[gnu::noinline]] void fill_in(Request &request, vidl_yfw_datatree &node, Wanted wanted) {
  if (wanted.value == nullptr || *wanted.value == '\0' || has_value(node)) return;
  give_value(request, node, wanted.value);
  if (wanted.source != nullptr) vidl_yfw_datatree_set_operation(&node, YMAP_OP_NONE);
  take_operation(node, wanted.source);
}

/// A leaf that may stand already, a whole list, or a list entry.
[[gnu::noinline]] vidl_yfw_datatree &place_any(Request &request, vidl_yfw_datatree &parent, PathStep &step,
                                               Wanted wanted) {
  const bool is_list = wanted.list_flag != 0;
  const uint32_t capacity = is_list ? kAncestorCapacity : kParentCapacity;
  vidl_yfw_datatree *node = add_new_name(request, parent, step, wanted.ns, capacity);
  if (node == nullptr) {
    const uint32_t found = is_list && wanted.leaf_flag == 0 ? kNoChild : find_child(parent, step);
    if (found != kNoChild) {
      fill_in(request, parent.subtrees[found], wanted);
      return parent.subtrees[found];
    }
    node = &add_child(request, parent, step, wanted.ns, capacity);
  }
  take_operation(*node, wanted.source);
  give_first_value(request, *node, wanted.value);
  if (is_list) request.select(parent, parent.subtree_count - 1, step);
  return *node;
}

/// What an add mostly is, a leaf that is new to its parent, is made here; its value last, so that less is
/// kept over the calls for it. The wanted go by value to the rest, and are put together only there.
[[gnu::always_inline]] inline vidl_yfw_datatree &place_last(Request &request, vidl_yfw_datatree &parent,
                                                            PathStep &step, const Wanted &wanted) {
  if (wanted.list_flag == 0) {
    if (vidl_yfw_datatree *node = add_new_name(request, parent, step, wanted.ns, kParentCapacity)) {
      take_operation(*node, wanted.source);
      give_first_value(request, *node, wanted.value);
      return *node;
    }
    if (request.memo.knows(step)) {
      fill_in(request, *step.node, wanted);
      return *step.node;
    }
  }
  vidl_yfw_datatree &node = place_any(request, parent, step, wanted);
  request.memo.note(step, &node);
  return node;
}

/// The record above the last name of a path, with what is missing added.
vidl_yfw_datatree &descend(Request &request, vidl_yfw_datatree &tree, const Path &path, const char *ns) {
  PathStep *const *const last = path.steps.data() + path.steps.size() - 1;
  PathStep *const *step = last;
  while (step != path.steps.data() && !request.memo.knows(*step[-1])) --step;
  vidl_yfw_datatree *node = step == path.steps.data() ? &tree : step[-1]->node;
  for (; step != last; ++step) {
    node = &reach(request, *node, **step, ns);
    request.memo.note(**step, node);
  }
  return *node;
}

inline vidl_yfw_datatree &parent_of(Request &request, vidl_yfw_datatree &tree, const Path &path,
                                    const char *ns) {
  request.memo.look_at(tree);
  const PathStep *above = path.last->above;
  if (above == nullptr) return tree;
  return request.memo.knows(*above) ? *above->node : descend(request, tree, path, ns);
}

[[gnu::always_inline]] inline verrno add_path(Request &request, vidl_yfw_datatree &tree, const char *text,
                                              const Wanted &wanted, vidl_yfw_datatree **created) {
  const Path &path = request.paths().find(text);
  vidl_yfw_datatree *node = nullptr;
  if (path.last != nullptr)
    node = &place_last(request, parent_of(request, tree, path, wanted.ns), *path.last, wanted);
  if (created != nullptr) *created = node;
  return node != nullptr ? YMAP_OK : YMAP_ERR_INVALID_ARGS;
}

/// Apart, so that an add that nobody watches keeps nothing ready for the observer. `value`: as the plug-in
/// gave it.
[[gnu::cold, gnu::noinline]] verrno add_observed(Observer &observer, Request &request,
                                                 vidl_yfw_datatree &tree, const char *path,
                                                 const Wanted &wanted, const char *value,
                                                 vidl_yfw_datatree **created) {
  const verrno status = add_path(request, tree, path, wanted, created);
  observer.added(&tree, path, value, status);
  return status;
}

uint32_t find_entry(vidl_yfw_datatree &parent, const PathStep &list, const char *key_name,
                    const char *key_value) {
  for (uint32_t i = 0; i < child_count(parent); ++i) {
    const vidl_yfw_datatree &entry = parent.subtrees[i];
    if (!named(entry, list)) continue;
    const vidl_yfw_datatree *key = child(entry, key_name);
    if (key != nullptr && value_of(*key) == key_value) return i;
  }
  return kNoChild;
}

verrno search_or_add(Request &request, vidl_yfw_datatree &out, vidl_yfw_datatree **plist,
                     const char *list_path, const char *key_value, const char *key_name, const char *ns) {
  const Path &path = request.paths().find(list_path);
  if (path.last == nullptr) return YMAP_ERR_INVALID_ARGS;
  vidl_yfw_datatree &parent = parent_of(request, out, path, ns);
  const PathStep &list = *path.last;
  const uint32_t found = find_entry(parent, list, key_name, key_value);
  if (found != kNoChild) {
    request.select(parent, found, *path.last);
    *plist = &parent.subtrees[found];
    return YMAP_OK;
  }
  vidl_yfw_datatree &entry = add_child(request, parent, list, ns, kAncestorCapacity);
  vidl_yfw_datatree &key = add_child(request, entry, PathStep{key_name}, ns, kParentCapacity);
  give_value(request, key, key_value);
  vidl_yfw_datatree_set_is_key(&key);
  request.select(parent, child_count(parent) - 1, *path.last);
  *plist = &entry;
  return YMAP_OK;
}

}  // namespace
}  // namespace yfw

using namespace yfw;

verrno yfw_map_datatree_add_path_flagged(yfw_map_ctx *ctx, vidl_yfw_datatree *tree, const char *path,
                                         const char *ns, const char *value, vidl_yfw_datatree *source,
                                         vidl_yfw_datatree **created, int list_flag, int leaf_flag) {
  Request *request = Request::of(ctx);
  if (request == nullptr || tree == nullptr || path == nullptr) {
    if (created != nullptr) *created = nullptr;
    return YMAP_ERR_INVALID_ARGS;
  }
  const bool is_empty = value == nullptr || *value == '\0';
  if (is_empty && source != nullptr) request->note_valueless(*source);
  const char *kept = is_empty && request->is_read() ? nullptr : value;
  if (Observer *observer = current_observer())
    return add_observed(*observer, *request, *tree, path, {ns, kept, source, list_flag, leaf_flag}, value,
                        created);
  return add_path(*request, *tree, path, {ns, kept, source, list_flag, leaf_flag}, created);
}

verrno yfw_map_search_or_add_list(yfw_map_ctx *ctx, vidl_yfw_datatree *out, vidl_yfw_datatree **plist,
                                  const char *list_path, const char *key_value, const char *key_name,
                                  const char *ns) {
  Request *request = Request::of(ctx);
  if (request == nullptr || out == nullptr || plist == nullptr || list_path == nullptr ||
      key_name == nullptr) {
    return YMAP_ERR_INVALID_ARGS;
  }
  // No entry without a key: the native entry is passed over, its siblings are walked.
  if (key_value == nullptr || *key_value == '\0') return YMAP_SKIP_NODE;
  const verrno status = search_or_add(*request, *out, plist, list_path, key_value, key_name, ns);
  if (Observer *observer = current_observer()) observer->selected(list_path, key_value);
  return status;
}
