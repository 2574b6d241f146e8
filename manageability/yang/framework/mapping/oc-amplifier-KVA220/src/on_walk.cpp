// Containers and leaves of the OpenConfig direction.
#include "on_walk.h"

#include <optional>

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
  Children children;  // what this pass walks

  // Read at each use, like the rest of the state.
  uint32_t type() const { return request_type(state); }
  // How many of the children's rows the walk knows.
  size_t known_rows() const {
    return variant == Variant::config || type() == YMAP_REQ_GET ? row.child_count : 0;
  }
};

verrno dispatch(const ContainerWalk &walk) {
  const vidl_yfw_datatree *const end = walk.children.array + walk.children.count;
  for (vidl_yfw_datatree *child = walk.children.array; child != end; ++child) {
    const char *tag = vidl_yfw_datatree_get_tag(child);
    if (tag == nullptr) {
      ERR(walk.ctx, walk.row.name, "Tag name is not available!");
      return YMAP_ERR_BAD_NODE;
    }
    const OnRow *row = find_row(tag, walk.row.children, walk.known_rows());
    verrno status = YMAP_OK;
    if (row != nullptr)
      status = row->walk(walk.ctx, *row, child, walk.out);
    else if (is_openconfig(child))
      status = refuse_unsupported(walk.ctx, tag, walk.row.name);
    else
      status = walk.row.augments(walk.ctx, child, walk.out);
    if (status != YMAP_OK) return status;
  }
  return YMAP_OK;
}

// Walks the node again as each of its own children, so that all below it is read or deleted.
void fill(const ContainerWalk &walk) {
  const bool opened = walk.state.final_pass != 1;
  if (opened) walk.state.final_pass = 1;
  ImpliedRemove implied(walk.node);
  for (const OnRow *row = walk.row.children, *end = row + walk.known_rows(); row != end; ++row)
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
  if (is_read(walk.type()) || (walk.variant == Variant::config && yfw_map_is_request_delete(walk.node) != 0))
    fill(walk);
}

// One pass over the node: its status, or nothing when the handler asked to skip the node while no first pass
// runs. The walk is over then.
std::optional<verrno> walk_pass(const ContainerWalk &walk, verrno status) {
  if (status == YMAP_OK) {
    status = walk.row.cont_handler(walk.ctx, walk.node, walk.children.count, walk.out);
    if (status == YMAP_SKIP_NODE) {
      if ((walk.state.pass_flags & YMAP_PASS_FIRST) == 0) return std::nullopt;
      return YMAP_OK;
    }
    if (status == YMAP_OK && walk.children.count != 0) status = dispatch(walk);
  }
  end_pass(walk);
  return status;
}

// Both passes of a replace. The first removes: the children are hidden until it is over.
std::optional<verrno> walk_replace(ContainerWalk walk, Children own) {
  yfw_map_state &state = walk.state;
  vidl_yfw_datatree_set_operation(walk.node, YMAP_OP_REMOVE);
  state.pass_flags |= YMAP_PASS_FIRST;
  vidl_yfw_datatree_clear_subtrees(walk.node);
  walk.children.count = 0;

  std::optional<verrno> status = YMAP_OK;
  for (int pass = 0; pass < 2; ++pass) {
    status = walk_pass(walk, *status);
    if (!status) return status;
    vidl_yfw_datatree_set_operation(walk.node, YMAP_OP_NONE);
    state.pass_flags |= YMAP_PASS_SECOND;
    state.pass_flags &= ~YMAP_PASS_FIRST;
    vidl_yfw_datatree_set_subtrees(walk.node, own.array, own.count);
    walk.children = own;
  }
  state.pass_flags &= ~(YMAP_PASS_FIRST | YMAP_PASS_SECOND);
  return status;
}

verrno walk_container(yfw_map_ctx *ctx, const OnRow &row, vidl_yfw_datatree *node, vidl_yfw_datatree *out,
                      Variant variant) {
  verrno begun = YMAP_OK;
  Children own;
  if (!begin_walk(ctx, node, out, row.name, own, begun)) return begun;

  yfw_map_state &state = state_of(ctx);
  if (variant == Variant::config && state.final_pass != 1 && own.count != 0 &&
      state.key_mode == YMAP_KEY_NORMAL && yfw_map_is_request_delete(node) != 0) {
    TRC(ctx, row.name, "Delete request with subtree present");
    TRC(ctx, row.name, "End");
    return YMAP_ERR_INVALID_ARGS;
  }

  ContainerWalk walk{ctx, row, variant, node, out, state, own};
  if (state.final_pass != 1) {
    yfw_map_add_to_node_hierarchy(ctx, node, YMAP_WALK_CONTAINER);
    vidl_yfw_datatree_set_walk_mark(vidl_yfw_datatree_get_walk_info(node), YMAP_MARK_CONTAINER);
    if (is_read(walk.type())) clear_leaf_seen(state);
  } else if ((state.leaf_seen & YMAP_LEAF_ALL_VALUED) != 0) {
    walk.children.count = 0;
  }

  const bool replaces = vidl_yfw_datatree_get_operation(node) == YMAP_OP_REPLACE;
  const std::optional<verrno> status = replaces ? walk_replace(walk, own) : walk_pass(walk, YMAP_OK);

  if (status && row.dumps) print_data(ctx);
  if (state.final_pass != 1) yfw_map_remove_from_node_hierarchy(ctx, node);
  if (!status) return YMAP_OK;
  TRC(ctx, row.name, "End");
  return *status;
}

}  // namespace

// Flat: every step within one function, so that the walk becomes its local variables.
__attribute__((flatten)) verrno walk_on_container(yfw_map_ctx *ctx, const OnRow &row, vidl_yfw_datatree *node,
                                                  vidl_yfw_datatree *out) {
  return walk_container(ctx, row, node, out, Variant::config);
}

__attribute__((flatten)) verrno walk_on_state(yfw_map_ctx *ctx, const OnRow &row, vidl_yfw_datatree *node,
                                              vidl_yfw_datatree *out) {
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
    const bool reads = is_read(request_type(state));
    if (reads && vidl_yfw_datatree_has_data(node)) {
      vidl_yfw_datatree_set_walk_mark(walk_info, YMAP_MARK_VALUED_LEAF);
      state.leaf_seen |= YMAP_LEAF_VALUED | YMAP_LEAF_ANY_VALUED;
    } else if (reads) {
      state.leaf_seen |= YMAP_LEAF_UNVALUED;
    }
  }
  TRC(ctx, row.name, "End");
  return status;
}

}  // namespace ymap
