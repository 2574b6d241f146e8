// The walking patterns of the native direction; see no_walk.h.
#include "no_walk.h"

#include "children.h"
#include "request.h"
#include "trace.h"

namespace ymap {

namespace {

// The row of a child among those of its parent that count, or nullptr.
const NoRow *find_row(const NoRow &parent, const NoRow *end, const char *tag) {
  for (const NoRow *row = parent.children; row != end; ++row)
    if (yfw_map_do_these_match(tag, row->tag) != 0) return row;
  return nullptr;
}

verrno dispatch_child(yfw_map_ctx *ctx, const NoRow &row, const NoRow *end, vidl_yfw_datatree *child,
                      vidl_yfw_datatree *out) {
  const char *tag = vidl_yfw_datatree_get_tag(child);
  if (tag == nullptr) {
    ERR(ctx, row.name, "Tag name is not available!");
    return YMAP_ERR_BAD_NODE;
  }
  const NoRow *known = find_row(row, end, tag);
  if (known != nullptr) {
    if (known->is_key) vidl_yfw_datatree_set_is_key(child);
    const verrno status = known->walk(ctx, *known, child, out);
    const bool drops_entry = status == YMAP_SKIP_NODE && known->walk == walk_no_list_entry;
    return drops_entry ? YMAP_OK : status;
  }
  if (yfw_map_do_these_match(row.module->ns, vidl_yfw_datatree_get_namespace(child)) != 0) {
    TRC(ctx, row.name, "Unsupported tag. Ignoring.");
    return YMAP_OK;
  }
  return row.augments(ctx, child, out);
}

verrno dispatch(yfw_map_ctx *ctx, const NoRow &row, const Children &children, vidl_yfw_datatree *out) {
  // In operational modules only reads of state know any child.
  const bool knows_any = !row.module->reads_state_only || request_type(ctx) == YMAP_REQ_GET;
  const NoRow *const end = row.children + (knows_any ? row.child_count : 0);
  verrno status = YMAP_OK;
  vidl_yfw_datatree *const last = children.array + children.count;
  for (vidl_yfw_datatree *child = children.array; child != last && status == YMAP_OK; ++child)
    status = dispatch_child(ctx, row, end, child, out);
  return status;
}

void mark_keys(const NoRow &row, const Children &children) {
  for (uint32_t i = 0; i < children.count; ++i)
    for (const char *const *key = row.key_tags; *key != nullptr; ++key)
      if (yfw_map_do_these_match(vidl_yfw_datatree_get_tag(&children.array[i]), *key) != 0)
        vidl_yfw_datatree_set_is_key(&children.array[i]);
}

}  // namespace

verrno walk_no_container(yfw_map_ctx *ctx, const NoRow &row, vidl_yfw_datatree *node,
                         vidl_yfw_datatree *out) {
  verrno status = YMAP_OK;
  Children children;
  if (!begin_walk(ctx, node, out, row.name, children, status)) return status;

  yfw_map_add_to_node_hierarchy(ctx, node, YMAP_WALK_CONTAINER);
  status = row.cont_handler(ctx, node, children.count, out);
  if (status == YMAP_OK) status = dispatch(ctx, row, children, out);
  yfw_map_remove_from_node_hierarchy(ctx, node);
  TRC(ctx, row.name, "End");
  return status;
}

verrno walk_no_list_entry(yfw_map_ctx *ctx, const NoRow &row, vidl_yfw_datatree *node,
                          vidl_yfw_datatree *out) {
  verrno status = YMAP_OK;
  Children children;
  if (!begin_walk(ctx, node, out, row.name, children, status)) return status;
  if (children.count == 0) ERR(ctx, row.name, "No keys specified with a list node.");

  yfw_map_add_to_node_hierarchy(ctx, node, YMAP_WALK_LIST_ENTRY);
  status = yfw_map_update_current_list_node(ctx, row.list_path);
  if (status == YMAP_OK) {
    mark_keys(row, children);
    status = row.handler(ctx, node, out);
    if (status == YMAP_SKIP_NODE) {
      yfw_map_remove_from_node_hierarchy(ctx, node);
      TRC(ctx, row.name, "End");
      return YMAP_SKIP_NODE;
    }
  }

  // What the leaves add lands in the output entry that the handler selected: the bracket tells the framework
  // so.
  const yfw_map_state &state = state_of(ctx);
  const uint8_t before = state.output_list_count;
  yfw_add_to_output_list_ctx(ctx, node, out);
  const uint8_t after = state.output_list_count;
  if (status == YMAP_OK) status = dispatch(ctx, row, children, out);
  yfw_map_remove_from_node_hierarchy(ctx, node);
  if (before < after) yfw_remove_from_output_list_ctx(ctx, node, out);
  TRC(ctx, row.name, "End");
  return status;
}

verrno walk_no_leaf(yfw_map_ctx *ctx, const NoRow &row, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  assert(NULL != ctx);
  TRC(ctx, row.name, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, row.name);
  if (vidl_yfw_datatree_has_status(node) && vidl_yfw_datatree_get_status(node) == YMAP_NODE_XPATH_ERROR) {
    TRC(ctx, row.name, "got xpath error node ");
    state_of(ctx).pass_flags |= YMAP_PASS_XPATH_ERROR;
  }
  const verrno status = row.handler(ctx, node, out);
  TRC(ctx, row.name, "End");
  return status;
}

verrno walk_no_augment(yfw_map_ctx *ctx, const NoRow &top, vidl_yfw_datatree *node, vidl_yfw_datatree *out,
                       NodeFunction *augments, const char *function) {
  verrno status = YMAP_OK;
  Children children;
  if (!begin_walk(ctx, node, out, function, children, status)) return status;
  const char *tag = vidl_yfw_datatree_get_tag(node);
  if (tag == nullptr) {
    ERR(ctx, function, "Tag name is not available!");
    TRC(ctx, function, "End");
    return YMAP_ERR_BAD_NODE;
  }

  TRC(ctx, function, "Processing tag '%s'", tag);
  if (yfw_map_do_these_match(tag, top.tag) != 0) {
    status = top.walk(ctx, top, node, out);
  } else if (yfw_map_do_these_match(top.module->ns, vidl_yfw_datatree_get_namespace(node)) != 0) {
    TRC(ctx, function, "Unsupported tag. Ignoring.");
  } else {
    status = augments(ctx, node, out);
  }
  TRC(ctx, function, "End");
  return status;
}

}  // namespace ymap
