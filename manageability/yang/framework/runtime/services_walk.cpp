// The services that follow the walk: names, walk path, lists, expansions, error paths.
#include <cstring>

#include "request.hpp"

using namespace yfw;

namespace {

/// Notes that a leaf of an entry, which ought to repeat its key, says something else.
[[gnu::noinline]] void note_mismatch(Request &request, const char *container, const vidl_yfw_datatree &leaf,
                                     const vidl_yfw_datatree &key) {
  const std::string tag(tag_of(key));
  const std::string path = std::string(container) + "/" + tag;
  request.errors.reason(path + " '" + leaf.data + "' differs from the key " + tag + " '" + key.data +
                        "'; both must be the same");
  std::vector<std::string> tags = request.walk_tags();
  tags.insert(tags.end(), {container, tag});
  request.errors.noted(request.state(), request.walk_text() + "/" + path, std::move(tags));
}

}  // namespace

// ---- Names and request kinds ----------------------------------------------------------------------

int yfw_map_do_these_match(const char *a, const char *b) {
  if (a == nullptr || b == nullptr || *a != *b) return 0;
  return std::strcmp(a, b) == 0 ? 1 : 0;
}

int yfw_map_is_request_delete(const vidl_yfw_datatree *node) {
  return node != nullptr && is_deletion(*node) ? 1 : 0;
}

int yfw_map_is_request_add(yfw_map_ctx *, const vidl_yfw_datatree *node) {
  return node != nullptr && vidl_yfw_datatree_has_operation(node) && node->operation == YMAP_OP_CREATE ? 1
                                                                                                       : 0;
}

// ---- Walk path and lists --------------------------------------------------------------------------

void yfw_map_add_to_node_hierarchy(yfw_map_ctx *ctx, vidl_yfw_datatree *node, uint32_t kind) {
  if (Request *request = Request::of(ctx)) request->enter(node, kind);
}

void yfw_map_remove_from_node_hierarchy(yfw_map_ctx *ctx, vidl_yfw_datatree *node) {
  if (Request *request = Request::of(ctx)) request->leave(node);
}

verrno yfw_map_update_current_list_node(yfw_map_ctx *ctx, const char *list_path) {
  Request *request = Request::of(ctx);
  if (request == nullptr || list_path == nullptr) return YMAP_ERR_INVALID_ARGS;
  request->update_current(list_path);
  return YMAP_OK;
}

verrno yfw_map_get_node_info(yfw_map_ctx *ctx, const char *list_path, const char *key_name,
                             const char **value) {
  if (value == nullptr) return YMAP_ERR_INVALID_ARGS;
  *value = nullptr;
  Request *request = Request::of(ctx);
  if (request == nullptr || list_path == nullptr || key_name == nullptr) return YMAP_ERR_INVALID_ARGS;
  const vidl_yfw_datatree *entry = request->current(list_path);
  const vidl_yfw_datatree *key = entry == nullptr ? nullptr : child(*entry, key_name);
  if (key == nullptr || key->data == nullptr) return YMAP_ERR_LIST_KEY;
  *value = key->data;
  return YMAP_OK;
}

verrno yfw_map_check_oc_leafref(yfw_map_ctx *ctx, const char *list_path, const char *container,
                                const char *key_tag, vidl_yfw_datatree *entry) {
  Request *request = Request::of(ctx);
  if (request == nullptr || list_path == nullptr || container == nullptr || key_tag == nullptr ||
      entry == nullptr) {
    return YMAP_ERR_INVALID_ARGS;
  }
  const vidl_yfw_datatree *key = child(*entry, key_tag);
  if (key == nullptr || !has_value(*key)) return YMAP_OK;  // the key rule judges that
  for (const vidl_yfw_datatree &holder : children(*entry)) {
    if (!has_tag(holder, container)) continue;
    const vidl_yfw_datatree *target = child(holder, key_tag);
    if (target == nullptr || !has_value(*target) || same_text(target->data, key->data)) continue;
    note_mismatch(*request, container, *target, *key);
    return YMAP_ERR_INVALID_VALUE;
  }
  return YMAP_OK;
}

void yfw_add_to_output_list_ctx(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *) {
  if (Request *request = Request::of(ctx)) request->open_output(node);
}

void yfw_remove_from_output_list_ctx(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *) {
  if (Request *request = Request::of(ctx)) request->close_output(node);
}

// ---- Expansion stack ------------------------------------------------------------------------------

void yfw_map_util_itree_stack_push(yfw_map_ctx *ctx, vidl_yfw_datatree *nodes, uint32_t count,
                                   yfw_itree_callback callback) {
  if (Request *request = Request::of(ctx)) request->expand({nodes, count, callback});
}

void yfw_map_util_itree_stack_pop(yfw_map_ctx *ctx) {
  Request *request = Request::of(ctx);
  if (request != nullptr && !request->expansions().empty()) request->expansions().pop_back();
}

void yfw_map_util_itree_stack_peak(yfw_map_ctx *ctx, yfw_itree_entry *out) {
  if (out == nullptr) return;
  Request *request = Request::of(ctx);
  *out =
      request != nullptr && !request->expansions().empty() ? request->expansions().back() : yfw_itree_entry{};
}

uint32_t yfw_map_util_itree_stack_size(yfw_map_ctx *ctx) {
  Request *request = Request::of(ctx);
  return request == nullptr ? 0 : static_cast<uint32_t>(request->expansions().size());
}

// ---- Errors ---------------------------------------------------------------------------------------

void yfw_oc_error_path(yfw_map_ctx *ctx) {
  Request *request = Request::of(ctx);
  if (request != nullptr && !request->in_fill()) request->note_error_path();
}
