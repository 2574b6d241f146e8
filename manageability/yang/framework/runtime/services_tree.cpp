// The services that add to output trees.
#include <cstring>

#include "request.hpp"

namespace yfw {
namespace {

constexpr uint32_t kNoChild = UINT32_MAX;

bool named(const vidl_yfw_datatree &node, PathName name, const PathTable &table) {
  if (node.tag == name.text) return true;
  if (name.bit != 0 && extra(node).names == &table) return false;
  return node.tag != nullptr && std::strcmp(node.tag, name.text) == 0;
}

/// True when the bits say that no child has the name.
bool is_new_name(const vidl_yfw_datatree &parent, uint32_t count, PathName name) {
  const RecordExtra &kept = extra(parent);
  return (kept.name_bits & name.bit) == 0 && kept.named == count && kept.array == parent.subtrees &&
         name.bit != 0;
}

void note_name(vidl_yfw_datatree &parent, PathName name) {
  RecordExtra &kept = extra(parent);
  if (name.bit == 0 || kept.named + 1 != parent.subtree_count) return;
  kept.name_bits |= name.bit;
  ++kept.named;
}

uint32_t search_children(vidl_yfw_datatree &parent, PathName name, const PathTable &table) {
  const uint32_t count = child_count(parent);
  RecordExtra &kept = extra(parent);
  const auto is_at = [&](uint32_t place) {
    return place - 1 < count && named(parent.subtrees[place - 1], name, table);
  };
  if (is_at(kept.hint)) return kept.hint - 1;
  if (is_at(kept.selected)) return (kept.hint = kept.selected) - 1;
  for (uint32_t place = count; place > kept.closed; --place) {
    if (is_at(place)) return (kept.hint = place) - 1;
  }
  return kNoChild;
}

/// Index of the child a path component means: of a list its current entry, else the one added last.
inline uint32_t find_child(Request &request, vidl_yfw_datatree &parent, PathName name) {
  const uint32_t count = child_count(parent);
  if (count == 0 || is_new_name(parent, count, name)) return kNoChild;
  const uint32_t hint = extra(parent).hint - 1;
  if (hint < count && parent.subtrees[hint].tag == name.text) return hint;
  return search_children(parent, name, request.paths());
}

/// An ancestor mostly has one child, or a list of them.
constexpr uint32_t kAncestorCapacity = 2;
constexpr uint32_t kParentCapacity = 8;

[[gnu::always_inline]] inline vidl_yfw_datatree &add_child(Request &request, vidl_yfw_datatree &parent,
                                                           PathName name, const char *ns, uint32_t capacity) {
  Grown grown;
  Arena &arena = request.output_arena();
  vidl_yfw_datatree *node = append_child(arena, parent, &grown, capacity);
  request.follow(grown);
  set_tag(*node, name.bit != 0 ? name.text : arena.copy(name.text), request.keep_namespace(ns));
  if (name.bit != 0) extra(*node).names = &request.paths();
  note_name(parent, name);
  return *node;
}

inline void give_value(Request &request, vidl_yfw_datatree &node, const char *value) {
  set_data(node, request.output_arena().copy(value));
}

void take_operation(vidl_yfw_datatree &node, const vidl_yfw_datatree *source) {
  if (source == nullptr) return;
  extra(node).source = source;
  if (vidl_yfw_datatree_has_operation(source)) vidl_yfw_datatree_set_operation(&node, source->operation);
}

/// What an add asks for at the end of its path.
struct Wanted {
  const char *ns;
  const char *value;
  const vidl_yfw_datatree *source;
  bool always_new;  ///< a list entry
  bool list;        ///< an entry or a whole list: it becomes the list's current entry
};

inline vidl_yfw_datatree &place_last(Request &request, vidl_yfw_datatree &parent, PathName name,
                                     const Wanted &wanted) {
  const uint32_t found = wanted.always_new ? kNoChild : find_child(request, parent, name);
  if (found != kNoChild) {
    vidl_yfw_datatree &node = parent.subtrees[found];
    if (!has_value(node) && wanted.value != nullptr && *wanted.value != '\0') {
      give_value(request, node, wanted.value);
      if (wanted.source != nullptr) vidl_yfw_datatree_set_operation(&node, YMAP_OP_NONE);
      take_operation(node, wanted.source);
    }
    return node;
  }
  vidl_yfw_datatree &node =
      add_child(request, parent, name, wanted.ns, wanted.list ? kAncestorCapacity : kParentCapacity);
  if (wanted.value != nullptr) give_value(request, node, wanted.value);
  take_operation(node, wanted.source);
  if (wanted.list) request.select(parent, child_count(parent) - 1);
  return node;
}

/// The record above the last name of a path, with what is missing added.
vidl_yfw_datatree &descend(Request &request, vidl_yfw_datatree &tree, const Path &path, const char *ns) {
  std::size_t depth = request.cache.start(&tree, path);
  vidl_yfw_datatree *node = depth == 0 ? &tree : request.cache.above(depth);
  for (; depth + 1 < path.names.size(); ++depth) {
    const PathName name = path.names[depth];
    const uint32_t found = find_child(request, *node, name);
    node =
        found != kNoChild ? &node->subtrees[found] : &add_child(request, *node, name, ns, kAncestorCapacity);
    request.cache.step(depth + 1, node);
  }
  return *node;
}

verrno add_path(Request &request, vidl_yfw_datatree &tree, const char *text, const Wanted &wanted,
                vidl_yfw_datatree **created) {
  const Path &path = request.paths().find(text);
  if (path.names.empty()) return YMAP_ERR_INVALID_ARGS;
  vidl_yfw_datatree *known = request.cache.parent(&tree, path);
  vidl_yfw_datatree &parent = known != nullptr ? *known : descend(request, tree, path, wanted.ns);
  vidl_yfw_datatree &node = place_last(request, parent, path.names.back(), wanted);
  if (created != nullptr) *created = &node;
  return YMAP_OK;
}

uint32_t find_entry(Request &request, vidl_yfw_datatree &parent, PathName list, const char *key_name,
                    const char *key_value) {
  for (uint32_t i = 0; i < child_count(parent); ++i) {
    const vidl_yfw_datatree &entry = parent.subtrees[i];
    if (!named(entry, list, request.paths())) continue;
    const vidl_yfw_datatree *key = child(entry, key_name);
    if (key != nullptr && value_of(*key) == key_value) return i;
  }
  return kNoChild;
}

verrno search_or_add(Request &request, vidl_yfw_datatree &out, vidl_yfw_datatree **plist,
                     const char *list_path, const char *key_value, const char *key_name, const char *ns) {
  const Path &path = request.paths().find(list_path);
  if (path.names.empty()) return YMAP_ERR_INVALID_ARGS;
  vidl_yfw_datatree &parent = descend(request, out, path, ns);
  const PathName list = path.names.back();
  const uint32_t found = find_entry(request, parent, list, key_name, key_value);
  if (found != kNoChild) {
    request.select(parent, found);
    *plist = &parent.subtrees[found];
    return YMAP_OK;
  }
  vidl_yfw_datatree &entry = add_child(request, parent, list, ns, kAncestorCapacity);
  vidl_yfw_datatree &key = add_child(request, entry, {key_name, 0}, ns, kParentCapacity);
  give_value(request, key, key_value);
  vidl_yfw_datatree_set_is_key(&key);
  request.select(parent, child_count(parent) - 1);
  *plist = &entry;
  return YMAP_OK;
}

}  // namespace
}  // namespace yfw

using namespace yfw;

verrno yfw_map_datatree_add_path_flagged(yfw_map_ctx *ctx, vidl_yfw_datatree *tree, const char *path,
                                         const char *ns, const char *value, vidl_yfw_datatree *source,
                                         vidl_yfw_datatree **created, int list_flag, int leaf_flag) {
  if (created != nullptr) *created = nullptr;
  Request *request = Request::of(ctx);
  if (request == nullptr || tree == nullptr || path == nullptr) return YMAP_ERR_INVALID_ARGS;
  const Wanted wanted{ns, value, source, list_flag != 0 && leaf_flag == 0, list_flag != 0};
  const verrno status = add_path(*request, *tree, path, wanted, created);
  if (Observer *observer = current_observer()) observer->added(tree, path, value, status);
  return status;
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
