// List entries of the OpenConfig direction: key rules, expansion by the entry handler, children and fills.
#include "on_walk.h"
#include "request.h"
#include "trace.h"

namespace ymap {

namespace {

// Order of the rows of an entry's children.
enum EntryChild : size_t { key_child, config_child, state_child };

// One walk of an entry: what the steps tell each other.
struct EntryWalk {
  yfw_map_ctx *ctx;
  const OnRow &row;
  vidl_yfw_datatree *node;
  vidl_yfw_datatree *out;
  yfw_map_state &state;

  Children children;                    // those of the node being walked: the entry's, or an expansion node's
  vidl_yfw_datatree *walked = nullptr;  // an expansion node, or nullptr
  yfw_itree_entry expansion{};          // without nodes: none

  uint8_t key_count = 0;
  uint8_t valued_keys = 0;
  bool key_without_value = false;
  bool other_child = false;
  bool key_flag = false;
  bool keymode_by_handler = false;
  bool keymode_set = false;

  uint32_t type() const { return request_type(state); }
  const OnRow &child(EntryChild which) const { return row.children[which]; }
  bool is_delete() const { return yfw_map_is_request_delete(node) != 0; }
  bool is_whole() const { return state.final_pass == 1 || state.key_mode != YMAP_KEY_NORMAL; }
};

void set_keymode(EntryWalk &walk) {
  walk.state.key_mode = YMAP_KEY_WHOLE_ENTRY;
  walk.keymode_set = true;
}

void reset_keymode(EntryWalk &walk) {
  if (walk.keymode_set) walk.state.key_mode = YMAP_KEY_NORMAL;
  walk.keymode_set = false;
}

// Counts in 8 bits and stays at their limit: hundreds of keys must not come round to one.
void count_key(uint8_t &count) {
  if (count != UINT8_MAX) ++count;
}

// Counts the keys before anything is walked. A leafref failure ends the whole walk.
verrno prescan(EntryWalk &walk) {
  const char *key_tag = walk.child(key_child).tag;
  const vidl_yfw_datatree *const end = walk.children.array + walk.children.count;
  for (vidl_yfw_datatree *child = walk.children.array; child != end && !walk.is_whole(); ++child) {
    if (yfw_map_do_these_match(vidl_yfw_datatree_get_tag(child), key_tag) == 0) {
      walk.other_child = true;
      continue;
    }
    if (is_keyed(walk.type())) {
      const verrno status = yfw_map_check_oc_leafref(walk.ctx, walk.row.list_path, "config",
                                                     vidl_yfw_datatree_get_tag(child), walk.node);
      if (status != YMAP_OK) return status;
    }
    count_key(walk.key_count);
    walk.key_flag = true;
    vidl_yfw_datatree_set_is_key(child);
    if (vidl_yfw_datatree_has_data(child))
      count_key(walk.valued_keys);
    else
      walk.key_without_value = true;
  }
  return YMAP_OK;
}

bool keeps_key_rule(const EntryWalk &walk) {
  if (walk.type() == YMAP_REQ_EDIT || walk.type() == YMAP_REQ_KEYED_15)
    return walk.valued_keys == 1 && walk.key_count < 2;
  if (walk.type() == YMAP_REQ_KEYED_8 && walk.valued_keys < 1) return false;
  return walk.key_count <= 1 && walk.valued_keys <= 1;
}

verrno refuse_key(EntryWalk &walk, const char *tag) {
  set_err_tag(walk.ctx, tag, owner_walker);
  yfw_oc_error_path(walk.ctx);
  return YMAP_ERR_LIST_KEY;
}

// The entry handler, with the key mode that tells it a delete of the whole entry.
verrno call_handler(EntryWalk &walk) {
  yfw_map_state &state = walk.state;
  if (walk.is_delete() && !walk.other_child && walk.key_flag && state.key_mode == YMAP_KEY_NORMAL) {
    state.key_mode = YMAP_KEY_ONLY_DELETE;
    walk.keymode_by_handler = true;
    const verrno status = walk.row.handler(walk.ctx, walk.node, walk.out);
    state.key_mode = YMAP_KEY_NORMAL;
    return status;
  }
  if (walk.children.count == 0 && walk.is_delete() && state.key_mode == YMAP_KEY_NORMAL &&
      state.final_pass == 1) {
    set_keymode(walk);
    walk.keymode_by_handler = true;
  }
  return walk.row.handler(walk.ctx, walk.node, walk.out);
}

// True when the handler asked to skip the entry.
bool handle_entry(EntryWalk &walk, verrno &status) {
  const auto depth = static_cast<uint16_t>(yfw_map_util_itree_stack_size(walk.ctx));
  status = call_handler(walk);
  if (status == YMAP_SKIP_NODE) {
    reset_keymode(walk);
    status = YMAP_OK;
    return true;
  }
  if (yfw_map_util_itree_stack_size(walk.ctx) > depth) {
    yfw_map_util_itree_stack_peak(walk.ctx, &walk.expansion);
    if (walk.expansion.nodes == nullptr) walk.expansion.count = 0;
  }
  if (status == YMAP_OK)
    walk.ctx->list_entry_op =
        vidl_yfw_datatree_has_operation(walk.node) ? vidl_yfw_datatree_get_operation(walk.node) : 0;
  return false;
}

verrno dispatch_key(EntryWalk &walk, vidl_yfw_datatree *child, const char *tag) {
  if (is_keyed(walk.type()) && !vidl_yfw_datatree_has_data(child)) {
    ERR(walk.ctx, walk.row.name, "Empty list key specified.");
    return refuse_key(walk, tag);
  }
  if (yfw_map_is_request_delete(child) != 0) {
    ERR(walk.ctx, walk.row.name, "The key node should not have delete operation.");
    yfw_oc_error_path(walk.ctx);
    return YMAP_ERR_KEY_DELETE;
  }
  const OnRow &key = walk.child(key_child);
  const verrno status = key.walk(walk.ctx, key, child, walk.out);
  if (vidl_yfw_datatree_has_data(child)) walk.key_flag = true;
  vidl_yfw_datatree_set_is_key(child);
  return status;
}

verrno dispatch_child(EntryWalk &walk, vidl_yfw_datatree *child) {
  const char *tag = vidl_yfw_datatree_get_tag(child);
  if (tag == nullptr) {
    ERR(walk.ctx, walk.row.name, "Tag name is not available!");
    return YMAP_ERR_BAD_NODE;
  }
  // Beyond the key and config, state is known to reads of state only.
  const OnRow *row = find_row(tag, walk.row.children, walk.type() == YMAP_REQ_GET ? 3 : 2);
  if (row == &walk.child(key_child)) return dispatch_key(walk, child, tag);
  if ((walk.state.pass_flags & YMAP_PASS_FIRST) != 0) return YMAP_OK;
  if (row == nullptr && is_openconfig(child)) return refuse_unsupported(walk.ctx, tag, walk.row.name);
  walk.other_child = true;
  if (row == nullptr) return walk.row.augments(walk.ctx, child, walk.out);
  return row->walk(walk.ctx, *row, child, walk.out);
}

verrno dispatch(EntryWalk &walk) {
  const vidl_yfw_datatree *const end = walk.children.array + walk.children.count;
  for (vidl_yfw_datatree *child = walk.children.array; child != end; ++child) {
    const verrno status = dispatch_child(walk, child);
    if (status != YMAP_OK) return status;
  }
  return YMAP_OK;
}

// Takes up node j of the expansion. True when it was recorded on the walk path.
bool enter_expansion(EntryWalk &walk, uint32_t j, verrno &status) {
  const yfw_itree_entry &expansion = walk.expansion;
  if (expansion.count == 0) return false;
  walk.walked = &expansion.nodes[j];
  walk.children = children_of(walk.walked);
  if (walk.children.array == nullptr) walk.children.count = 0;
  if (j > 0) {
    yfw_map_add_to_node_hierarchy(walk.ctx, walk.walked, YMAP_WALK_LIST_ENTRY);
    status = yfw_map_update_current_list_node(walk.ctx, walk.row.list_path);
  }
  if (expansion.callback != nullptr) {
    if (walk.is_delete()) vidl_yfw_datatree_set_operation(walk.walked, YMAP_OP_REMOVE);
    expansion.callback(walk.ctx, walk.walked, walk.out, 0);
  }
  return j > 0;
}

// What both fills end with: state for reads of state, then the augments.
void fill_state(EntryWalk &walk, vidl_yfw_datatree *target) {
  const OnRow &state_row = walk.child(state_child);
  if (walk.type() == YMAP_REQ_GET) state_row.walk(walk.ctx, state_row, target, walk.out);
  walk.row.augments(walk.ctx, target, walk.out);
}

// An entry that names only its key: all of it is read or deleted, its children out of sight.
void fill_key_only(EntryWalk &walk) {
  const bool opened = walk.state.final_pass != 1;
  if (opened) walk.state.final_pass = 1;
  if (walk.keymode_by_handler) set_keymode(walk);

  vidl_yfw_datatree *target = walk.walked != nullptr ? walk.walked : walk.node;
  const uint32_t operation = vidl_yfw_datatree_get_operation(target);
  const bool had_operation = vidl_yfw_datatree_has_operation(target);
  const bool removes = walk.is_delete();
  if (removes) vidl_yfw_datatree_set_operation(target, YMAP_OP_REMOVE);
  const Children hidden = children_of(target);
  yfw_map_util_itree_stack_push(walk.ctx, hidden.array, hidden.count, nullptr);
  vidl_yfw_datatree_clear_subtrees(target);

  const OnRow &config = walk.child(config_child);
  config.walk(walk.ctx, config, target, walk.out);
  fill_state(walk, target);

  if (opened) walk.state.final_pass = 0;
  reset_keymode(walk);
  if (removes) vidl_yfw_datatree_set_operation(target, operation);
  if (removes && !had_operation) target->presence1 &= static_cast<uint8_t>(~YMAP_HAS_OPERATION);
  vidl_yfw_datatree_set_subtrees(target, hidden.array, hidden.count);
  yfw_map_util_itree_stack_pop(walk.ctx);
}

// An entry without children, a list container in a fill among them.
void fill_childless(EntryWalk &walk) {
  const bool opened = walk.state.final_pass != 1;
  if (opened) walk.state.final_pass = 1;
  ImpliedRemove implied(walk.node);
  if (walk.is_delete() && walk.state.key_mode == YMAP_KEY_NORMAL) set_keymode(walk);

  const OnRow &key = walk.child(key_child);
  const OnRow &config = walk.child(config_child);
  key.walk(walk.ctx, key, walk.node, walk.out);
  config.walk(walk.ctx, config, walk.node, walk.out);
  implied.restore();
  fill_state(walk, walk.node);

  if (opened) walk.state.final_pass = 0;
  reset_keymode(walk);
}

void walk_expansion(EntryWalk &walk, verrno &status) {
  uint32_t j = 0;
  do {
    bool added = false;
    if (status == YMAP_OK) added = enter_expansion(walk, j, status);
    if (status == YMAP_OK) status = dispatch(walk);

    if (status == YMAP_OK && !walk.key_without_value && !walk.other_child && walk.key_flag &&
        (is_read(walk.type()) || walk.is_delete()))
      fill_key_only(walk);

    if (walk.children.count == 0 && (is_read(walk.type()) || walk.is_delete())) fill_childless(walk);

    if (added) yfw_map_remove_from_node_hierarchy(walk.ctx, walk.walked);
  } while (++j < walk.expansion.count);
}

// A read that names children but no key asks for the key too, so that the answer can be told apart.
verrno add_key_selector(EntryWalk &walk) {
  vidl_yfw_datatree *created = nullptr;
  const verrno status = yfw_map_datatree_add_path_flagged(walk.ctx, walk.node, walk.child(key_child).tag,
                                                          vidl_yfw_datatree_get_namespace(walk.node), nullptr,
                                                          nullptr, &created, 0, 0);
  if (created != nullptr) vidl_yfw_datatree_set_is_key(created);
  return status;
}

// One pass over the entry; the status after it.
verrno walk_pass(EntryWalk &walk, verrno status) {
  if (status == YMAP_OK && handle_entry(walk, status)) return YMAP_OK;
  walk_expansion(walk, status);
  if (status == YMAP_OK && is_read(walk.type()) && walk.state.final_pass != 1 && walk.other_child &&
      !walk.key_flag)
    status = add_key_selector(walk);
  return status;
}

// Both passes of a replace. The first removes.
verrno walk_replace(EntryWalk &walk, verrno status) {
  vidl_yfw_datatree_set_operation(walk.node, YMAP_OP_REMOVE);
  walk.state.pass_flags |= YMAP_PASS_FIRST;
  walk.key_without_value = false;
  walk.other_child = false;
  for (int pass = 0; pass < 2; ++pass) {
    status = walk_pass(walk, status);
    vidl_yfw_datatree_set_operation(walk.node, YMAP_OP_NONE);
    walk.state.pass_flags &= ~YMAP_PASS_FIRST;
  }
  walk.state.pass_flags &= ~(YMAP_PASS_FIRST | YMAP_PASS_SECOND);
  return status;
}

// Traces an entry without children; true when the request type cannot do with one.
bool is_key_missing(EntryWalk &walk) {
  ERR(walk.ctx, walk.row.name, "No keys specified with a list node.");
  if (walk.is_whole() || !is_keyed(walk.type())) return false;
  ERR(walk.ctx, walk.row.name, "No keys specified with a list node.");
  TRC(walk.ctx, walk.row.name, "End");
  return true;
}

void end_walk(EntryWalk &walk) {
  if (walk.expansion.nodes != nullptr) yfw_map_util_itree_stack_pop(walk.ctx);
  reset_keymode(walk);
  if (walk.state.final_pass != 1) yfw_map_remove_from_node_hierarchy(walk.ctx, walk.node);
  TRC(walk.ctx, walk.row.name, "End");
}

}  // namespace

verrno walk_on_list_entry(yfw_map_ctx *ctx, const OnRow &row, vidl_yfw_datatree *node,
                          vidl_yfw_datatree *out) {
  verrno status = YMAP_OK;
  Children own;
  if (!begin_walk(ctx, node, out, row.name, own, status)) return status;
  yfw_map_state &state = state_of(ctx);
  EntryWalk walk{ctx, row, node, out, state, own};
  if (own.count == 0 && is_key_missing(walk)) return YMAP_ERR_BAD_NODE;

  if (walk.state.final_pass != 1) {
    yfw_map_add_to_node_hierarchy(ctx, node, YMAP_WALK_LIST_ENTRY);
    vidl_yfw_datatree_set_walk_mark(vidl_yfw_datatree_get_walk_info(node), YMAP_MARK_LIST_ENTRY);
    if (is_read(walk.type())) clear_leaf_seen(walk.state);
  }
  status = yfw_map_update_current_list_node(ctx, row.list_path);

  if (status == YMAP_OK) {
    const verrno leafref = prescan(walk);
    if (leafref != YMAP_OK) {
      ERR(ctx, row.name, "leafref value check fail");
      TRC(ctx, row.name, "End");
      return leafref;
    }
  }
  if (!walk.is_whole() && own.count != 0 && !keeps_key_rule(walk)) {
    ERR(ctx, row.name, "List key node error.");
    status = refuse_key(walk, walk.child(key_child).tag);
  }

  const bool replaces = vidl_yfw_datatree_get_operation(node) == YMAP_OP_REPLACE;
  status = replaces ? walk_replace(walk, status) : walk_pass(walk, status);
  end_walk(walk);
  return status;
}

}  // namespace ymap
