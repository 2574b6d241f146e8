// Containers and leaves of the OpenConfig direction.
#include "on_walk.h"

#include "request.h"
#include "trace.h"
#include "utility.h"

namespace ymap {

void clear_leaf_seen(yfw_map_state &state) {
  state.leaf_seen &= ~(YMAP_LEAF_ALL_VALUED | YMAP_LEAF_UNVALUED | YMAP_LEAF_VALUED);
}

ImpliedRemove::ImpliedRemove(vidl_yfw_datatree *node)
    : node_(node),
      changed_(vidl_yfw_datatree_get_operation(node) == YMAP_OP_DELETE &&
               yfw_map_is_request_delete(node) != 0) {
  if (changed_) vidl_yfw_datatree_set_operation(node_, YMAP_OP_REMOVE);
}

void ImpliedRemove::restore() {
  if (changed_) vidl_yfw_datatree_set_operation(node_, YMAP_OP_DELETE);
}

verrno refuse_unsupported(yfw_map_ctx *ctx, const char *tag, const char *function) {
  ERR(ctx, function, "Unsupported tag is specified in the request.");
  if (is_read(request_type(ctx))) return YMAP_OK;
  set_err_tag(ctx, tag, owner_walker);
  yfw_oc_error_path(ctx);
  return YMAP_ERR_UNSUPPORTED_TAG;
}

const OnRow *find_row(const char *tag, const OnRow *rows, size_t count) {
  for (const OnRow *row = rows, *end = rows + count; row != end; ++row)
    if (yfw_map_do_these_match(tag, row->tag) != 0) return row;
  return nullptr;
}

bool is_openconfig(const vidl_yfw_datatree *child) {
  return yfw_map_do_these_match(YMAP_NS_OPENCONFIG, vidl_yfw_datatree_get_namespace(child)) != 0;
}

namespace {

enum class Variant { config, state };

// One walk of a container: the state of the pattern between its steps.
struct ContainerWalk {
  yfw_map_ctx *ctx;
  const OnRow &row;
  Variant variant;
  vidl_yfw_datatree *node;
  vidl_yfw_datatree *out;
  yfw_map_state &state;
  uint32_t type;
  Children children;  // what this pass walks
  Children saved;     // what a replace hides in its first pass
  bool two_passes = false;
};

verrno dispatch(const ContainerWalk &walk) {
  verrno status = YMAP_OK;
  for (uint32_t i = 0; i < walk.children.count && status == YMAP_OK; ++i) {
    vidl_yfw_datatree *child = &walk.children.array[i];
    const char *tag = vidl_yfw_datatree_get_tag(child);
    if (tag == nullptr) {
      ERR(walk.ctx, walk.row.name, "Tag name is not available!");
      return YMAP_ERR_BAD_NODE;
    }
    const bool walks_children = walk.variant == Variant::config || walk.type == YMAP_REQ_GET;
    const OnRow *row = walks_children ? find_row(tag, walk.row.children, walk.row.child_count) : nullptr;
    if (row != nullptr)
      status = row->walk(walk.ctx, *row, child, walk.out);
    else if (is_openconfig(child))
      status = refuse_unsupported(walk.ctx, tag, walk.row.name);
    else
      status = walk.row.augments(walk.ctx, child, walk.out);
  }
  return status;
}

// Walks the node again as each of its own children, so that all below it is read or deleted.
void fill(const ContainerWalk &walk) {
  const bool opened = walk.state.final_pass != 1;
  if (opened) walk.state.final_pass = 1;
  ImpliedRemove implied(walk.node);
  if (walk.variant == Variant::config || walk.type == YMAP_REQ_GET)
    for (const OnRow *row = walk.row.children, *end = row + walk.row.child_count; row != end; ++row)
      row->walk(walk.ctx, *row, walk.node, walk.out);
  implied.restore();
  walk.row.augments(walk.ctx, walk.node, walk.out);
  if (opened) walk.state.final_pass = 0;
  clear_leaf_seen(walk.state);
}

void end_pass(const ContainerWalk &walk) {
  yfw_map_state &state = walk.state;
  if ((state.leaf_seen & (YMAP_LEAF_VALUED | YMAP_LEAF_UNVALUED)) == YMAP_LEAF_VALUED) {
    state.leaf_seen |= YMAP_LEAF_ALL_VALUED;
    state.leaf_seen &= ~(YMAP_LEAF_VALUED | YMAP_LEAF_UNVALUED);
  }
  if (walk.children.count != 0 && (state.leaf_seen & YMAP_LEAF_ALL_VALUED) == 0) return;
  if (is_read(walk.type) || (walk.variant == Variant::config && yfw_map_is_request_delete(walk.node) != 0))
    fill(walk);
}

// The first pass of a replace removes: the children are hidden until it is over.
void open_replace(ContainerWalk &walk, const Children &own) {
  vidl_yfw_datatree_set_operation(walk.node, YMAP_OP_REMOVE);
  walk.state.pass_flags |= YMAP_PASS_FIRST;
  walk.saved = own;
  vidl_yfw_datatree_clear_subtrees(walk.node);
  walk.two_passes = true;
  walk.children.count = 0;
}

void restore(ContainerWalk &walk) {
  vidl_yfw_datatree_set_operation(walk.node, YMAP_OP_NONE);
  walk.state.pass_flags |= YMAP_PASS_SECOND;
  walk.state.pass_flags &= ~YMAP_PASS_FIRST;
  vidl_yfw_datatree_set_subtrees(walk.node, walk.saved.array, walk.saved.count);
  walk.children = walk.saved;
}

void leave_path(const ContainerWalk &walk) {
  if (walk.state.final_pass != 1) yfw_map_remove_from_node_hierarchy(walk.ctx, walk.node);
}

// All passes over the node. True when the handler asked to skip it while no first pass runs: the walk is
// over.
bool walk_passes(ContainerWalk &walk, verrno &status) {
  for (int pass = 0; pass < (walk.two_passes ? 2 : 1); ++pass) {
    bool skipped = false;
    if (status == YMAP_OK) {
      status = walk.row.cont_handler(walk.ctx, walk.node, walk.children.count, walk.out);
      skipped = status == YMAP_SKIP_NODE;
      if (skipped && (walk.state.pass_flags & YMAP_PASS_FIRST) == 0) return true;
      if (skipped)
        status = YMAP_OK;
      else if (status == YMAP_OK && walk.children.count != 0)
        status = dispatch(walk);
    }
    if (!skipped) end_pass(walk);
    if (walk.two_passes) restore(walk);
  }
  return false;
}

verrno walk_container(yfw_map_ctx *ctx, const OnRow &row, vidl_yfw_datatree *node, vidl_yfw_datatree *out,
                      Variant variant) {
  verrno status = YMAP_OK;
  Children own;
  if (!begin_walk(ctx, node, out, row.name, own, status)) return status;

  yfw_map_state &state = state_of(ctx);
  if (variant == Variant::config && state.final_pass != 1 && own.count != 0 &&
      state.key_mode == YMAP_KEY_NORMAL && yfw_map_is_request_delete(node) != 0) {
    TRC(ctx, row.name, "Delete request with subtree present");
    TRC(ctx, row.name, "End");
    return YMAP_ERR_INVALID_ARGS;
  }

  ContainerWalk walk{ctx, row, variant, node, out, state, request_type(ctx), own, {}};
  if ((state.leaf_seen & YMAP_LEAF_ALL_VALUED) != 0 && state.final_pass == 1) walk.children.count = 0;

  if (state.final_pass != 1) {
    yfw_map_add_to_node_hierarchy(ctx, node, YMAP_WALK_CONTAINER);
    vidl_yfw_datatree_set_walk_mark(vidl_yfw_datatree_get_walk_info(node), YMAP_MARK_CONTAINER);
    if (is_read(walk.type)) clear_leaf_seen(state);
  }

  if (vidl_yfw_datatree_get_operation(node) == YMAP_OP_REPLACE) open_replace(walk, own);

  if (walk_passes(walk, status)) {
    leave_path(walk);
    return YMAP_OK;
  }

  if (walk.two_passes) state.pass_flags &= ~(YMAP_PASS_FIRST | YMAP_PASS_SECOND);
  if (row.dumps) print_data(ctx);
  leave_path(walk);
  TRC(ctx, row.name, "End");
  return status;
}

}  // namespace

verrno walk_on_container(yfw_map_ctx *ctx, const OnRow &row, vidl_yfw_datatree *node,
                         vidl_yfw_datatree *out) {
  return walk_container(ctx, row, node, out, Variant::config);
}

verrno walk_on_state(yfw_map_ctx *ctx, const OnRow &row, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  return walk_container(ctx, row, node, out, Variant::state);
}

verrno walk_on_key(yfw_map_ctx *ctx, const OnRow &row, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  assert(NULL != ctx);
  TRC(ctx, row.name, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, row.name);
  const verrno status = row.handler(ctx, node, out);
  const yfw_map_state &state = state_of(ctx);
  if (state.final_pass != 1 && state.key_mode == YMAP_KEY_NORMAL)
    vidl_yfw_datatree_set_walk_mark(vidl_yfw_datatree_get_walk_info(node), YMAP_MARK_LEAF);
  TRC(ctx, row.name, "End");
  return status;
}

verrno walk_on_leaf(yfw_map_ctx *ctx, const OnRow &row, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  assert(NULL != ctx);
  TRC(ctx, row.name, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, row.name);
  const verrno status = row.handler(ctx, node, out);
  yfw_map_state &state = state_of(ctx);
  if (state.final_pass != 1 && state.key_mode == YMAP_KEY_NORMAL) {
    vidl_yfw_walk_info *walk_info = vidl_yfw_datatree_get_walk_info(node);
    vidl_yfw_datatree_set_walk_mark(walk_info, YMAP_MARK_LEAF);
    if (is_read(request_type(ctx)) && vidl_yfw_datatree_has_data(node)) {
      vidl_yfw_datatree_set_walk_mark(walk_info, YMAP_MARK_VALUED_LEAF);
      state.leaf_seen |= YMAP_LEAF_VALUED | YMAP_LEAF_ANY_VALUED;
    } else if (is_read(request_type(ctx))) {
      state.leaf_seen |= YMAP_LEAF_UNVALUED;
    }
  }
  TRC(ctx, row.name, "End");
  return status;
}

}  // namespace ymap
