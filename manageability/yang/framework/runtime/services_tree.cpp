#include <cstring>

#include "request.hpp"
#include "trace_log.hpp"

namespace yfw {
namespace {

/// One component of a path, and where it ends.
struct Component {
  std::string_view name;
  const char *end;
};

Component next_component(const char *path) {
  while (*path == '/') ++path;
  const char *end = path;
  while (*end != '\0' && *end != '/') ++end;
  return {{path, static_cast<std::size_t>(end - path)}, end};
}

bool is_last(const Component &component) {
  const char *rest = component.end;
  while (*rest == '/') ++rest;
  return *rest == '\0';
}

bool named(const vidl_yfw_datatree &node, std::string_view name) {
  return node.tag != nullptr && std::strncmp(node.tag, name.data(), name.size()) == 0 &&
         node.tag[name.size()] == '\0';
}

constexpr uint32_t kNoChild = UINT32_MAX;

/// Index of the child a path component means: of a list its current entry, else the one added last.
uint32_t find_child(vidl_yfw_datatree &parent, std::string_view name) {
  const uint32_t count = child_count(parent);
  RecordExtra &kept = extra(parent);
  for (const uint32_t likely : {kept.hint, kept.selected}) {
    if (likely == 0 || likely > count || !named(parent.subtrees[likely - 1], name)) continue;
    kept.hint = likely;
    return likely - 1;
  }
  for (uint32_t i = count; i > kept.closed; --i) {
    if (!named(parent.subtrees[i - 1], name)) continue;
    kept.hint = i;
    return i - 1;
  }
  return kNoChild;
}

vidl_yfw_datatree &add_child(Request &request, vidl_yfw_datatree &parent, std::string_view name,
                             const char *ns) {
  RecordExtra &kept = extra(parent);
  Arena &arena = kept.magic == kRecordMagic && kept.arena != nullptr ? *kept.arena : request.arena;
  Grown grown;
  vidl_yfw_datatree *node = append_child(arena, parent, &grown);
  request.follow(grown);
  set_tag(*node, arena.copy(name), ns == nullptr ? nullptr : arena.share(ns));
  return *node;
}

void give_value(vidl_yfw_datatree &node, const char *value) {
  set_data(node, extra(node).arena->copy(value));
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

vidl_yfw_datatree &place_last(Request &request, vidl_yfw_datatree &parent, std::string_view name,
                              const Wanted &wanted) {
  const uint32_t found = wanted.always_new ? kNoChild : find_child(parent, name);
  if (found != kNoChild) {
    vidl_yfw_datatree &node = parent.subtrees[found];
    if (!has_value(node) && wanted.value != nullptr && *wanted.value != '\0') {
      give_value(node, wanted.value);
      if (wanted.source != nullptr) vidl_yfw_datatree_set_operation(&node, YMAP_OP_NONE);
      take_operation(node, wanted.source);
    }
    return node;
  }
  vidl_yfw_datatree &node = add_child(request, parent, name, wanted.ns);
  if (wanted.value != nullptr) give_value(node, wanted.value);
  take_operation(node, wanted.source);
  if (wanted.list) request.select(parent, child_count(parent) - 1);
  return node;
}

/// The record of all components but the last, with what is missing added; `last` receives the last.
vidl_yfw_datatree *descend(Request &request, vidl_yfw_datatree *tree, const char *path, const char *ns,
                           Component &last) {
  const PathCache::Start start = request.cache.start(tree, path);
  vidl_yfw_datatree *node = start.node;
  last = next_component(start.rest);
  while (!is_last(last)) {
    if (last.name.empty()) return nullptr;
    const uint32_t found = find_child(*node, last.name);
    node = found != kNoChild ? &node->subtrees[found] : &add_child(request, *node, last.name, ns);
    request.cache.step(path, last.end, node);
    last = next_component(last.end);
  }
  return last.name.empty() ? nullptr : node;
}

verrno add_path(Request &request, vidl_yfw_datatree *tree, const char *path, const Wanted &wanted,
                vidl_yfw_datatree **created) {
  Component last{};
  vidl_yfw_datatree *parent = descend(request, tree, path, wanted.ns, last);
  if (parent == nullptr) return YMAP_ERR_INVALID_ARGS;
  vidl_yfw_datatree &node = place_last(request, *parent, last.name, wanted);
  if (created != nullptr) *created = &node;
  return YMAP_OK;
}

uint32_t find_entry(vidl_yfw_datatree &parent, std::string_view list, const char *key_name,
                    const char *key_value) {
  for (uint32_t i = 0; i < child_count(parent); ++i) {
    const vidl_yfw_datatree &entry = parent.subtrees[i];
    if (!named(entry, list)) continue;
    const vidl_yfw_datatree *key = child(entry, key_name);
    if (key != nullptr && value_of(*key) == key_value) return i;
  }
  return kNoChild;
}

verrno search_or_add(Request &request, vidl_yfw_datatree *out, vidl_yfw_datatree **plist,
                     const char *list_path, const char *key_value, const char *key_name, const char *ns) {
  Component last{};
  vidl_yfw_datatree *parent = descend(request, out, list_path, ns, last);
  if (parent == nullptr) return YMAP_ERR_INVALID_ARGS;
  const uint32_t found = find_entry(*parent, last.name, key_name, key_value);
  if (found != kNoChild) {
    request.select(*parent, found);
    *plist = &parent->subtrees[found];
    return YMAP_OK;
  }
  vidl_yfw_datatree &entry = add_child(request, *parent, last.name, ns);
  vidl_yfw_datatree &key = add_child(request, entry, key_name, ns);
  give_value(key, key_value);
  vidl_yfw_datatree_set_is_key(&key);
  request.select(*parent, child_count(*parent) - 1);
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
  const verrno status = add_path(*request, tree, path, wanted, created);
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
  const verrno status = search_or_add(*request, out, plist, list_path, key_value, key_name, ns);
  if (Observer *observer = current_observer()) observer->selected(list_path, key_value);
  return status;
}
