// Hand-written transforms of the OpenConfig direction: the amplifier entry and its names.
#include "native_paths.h"
#include "trace.h"
#include "utility.h"
#include "ymap_oc_opt_ampli_openconfig_optical_amplifier.h"

namespace {

using namespace ymap;

constexpr const char *entry_path = "/optical-amplifier/amplifiers/amplifier";
constexpr const char *key_path = "optical-amplifier/amplifiers/amplifier/name";
constexpr const char *invalid_key =
    "Invalid key input:accept only 0/0-AMP-PRE0, 0/0-AMP-BST0 or 0/0-AMP-BST2";

struct PmSelection {
  Side side;
  const char *leaves[12];
};

#define PM_GROUP(group)                                                                           \
  PM_BUCKET "/" group "/average", PM_BUCKET "/" group "/minimum", PM_BUCKET "/" group "/maximum", \
      PM_BUCKET "/" group "/valid", PM_BUCKET "/" group "/min-time", PM_BUCKET "/" group "/max-time"

constexpr PmSelection pm_selections[] = {
    {Side::ingress, {PM_GROUP("iagn"), PM_GROUP("iatl")}},
    {Side::egress, {PM_GROUP("eagn"), PM_GROUP("eatl")}},
};

// Selects the gain and tilt statistics of every selected side of a controller's port history.
void add_pm_select_field(yfw_map_ctx *ctx, vidl_yfw_datatree *source, vidl_yfw_datatree *out,
                         const char *controller_name) {
  constexpr const char *ns = YMAP_NS_PMENGINE_OPER;
  for (const PmSelection &selection : pm_selections) {
    if (!is_side_selected(selection.side)) continue;
    add_path(ctx, out, {.path = PM_PORT, .ns = ns, .list_flag = 1});
    add_path(ctx, out,
             {.path = PM_PORT_NAME, .ns = ns, .value = controller_name, .source = source, .leaf_flag = 1});
    add_path(ctx, out, {.path = PM_HISTORY, .ns = ns, .list_flag = 1});
    add_path(ctx, out, {.path = PM_HISTORY_NUMBER, .ns = ns, .value = "1"});
    add_path(ctx, out, {.path = PM_BUCKET, .ns = ns, .list_flag = 1, .leaf_flag = 1});
    add_path(ctx, out, {.path = PM_BUCKET_NUMBER, .ns = ns, .value = "1", .leaf_flag = 1});
    for (const char *leaf : selection.leaves) add_path(ctx, out, {.path = leaf, .ns = ns});
  }
}

verrno add_if_entry(yfw_map_ctx *ctx, vidl_yfw_datatree *out, vidl_yfw_datatree *source) {
  return add_path(ctx, out, {.path = IF_ENTRY, .ns = YMAP_NS_IFMGR_CFG, .source = source, .list_flag = 1});
}

// The key of the list's current entry, cut to the size of a key.
void read_current_key(yfw_map_ctx *ctx, char *key, const char *function) {
  const char *value = nullptr;
  yfw_map_get_node_info(ctx, entry_path, "name", &value);
  __strcpy_to_buf(name_size, key, value);
  TRC(ctx, function, "node_data key: %s and amplifier_key: %s", shown(value), key);
}

void select_named_side(yfw_map_ctx *ctx, const char *key, const char *function) {
  const std::optional<Side> side = side_of(key);
  if (!side) return;
  if (*side == Side::ingress) {
    set_slot(function, amp_key_pre, key);
    set_slot(function, amp_key_bst, "bst");
    TRC(ctx, function, "amp_key_pre = %s", amp_key_pre);
  } else {
    set_slot(function, amp_key_bst, key);
    set_slot(function, amp_key_pre, "pre");
    TRC(ctx, function, "amp_key_bst = %s", amp_key_bst);
  }
}

verrno add_all_interfaces(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  verrno status = YMAP_OK;
  for (const char *const *controller = controller_amp_ots_list; *controller != nullptr; ++controller) {
    char scratch[text_size];
    scratch[0] = '\0';
    if (check_controller_name_ots_is_good(ctx, *controller, scratch) != 1) continue;
    add_if_entry(ctx, out, node);
    add_path(
        ctx, out,
        {.path = IF_NAME, .ns = YMAP_NS_IFMGR_CFG, .value = *controller, .source = node, .leaf_flag = 1});
    status = add_path(ctx, out, {.path = IF_ACTIVE, .ns = YMAP_NS_IFMGR_CFG, .value = "act", .leaf_flag = 1});
  }
  return status;
}

// Operating values and statistics of all amplifiers: the slots go through the sides while the controllers are
// listed, controller 0 once for each of its amplifiers.
void select_all_state(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out,
                      const char *function) {
  set_slot(function, amp_key_bst, "bst");
  for (const char *const *controller = controller_amp_ots_list; *controller != nullptr; ++controller) {
    char name[text_size];
    name[0] = '\0';
    if (check_controller_name_ots_is_good(ctx, *controller, name) != 1) continue;
    TRC(ctx, function, "controller_amp_ots: %s", *controller);
    TRC(ctx, function, "amplifier_key: %s", name);
    add_ots_select_field(ctx, node, out, *controller);
    add_pm_select_field(ctx, node, out, *controller);
    set_slot(function, amp_key_pre, "pre");
    set_slot(function, amp_key_bst, "");
  }
  set_slot(function, amp_key_pre, "");
  set_slot(function, amp_key_bst, "bst");
}

}  // namespace

extern "C" {

// /optical-amplifier/amplifiers/amplifier: the native entries of one amplifier, or of all when none is named.
// Sets the slots that steer every leaf below to its side.
verrno amplifier_list_to_low(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  assert(NULL != ctx);
  TRC(ctx, __func__, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, __func__);

  char key[name_size] = {};
  char path[text_size];
  path[0] = '\0';
  reset_slots();
  const yfw_map_state &state = state_of(ctx);
  const bool has_path = state.node_data != nullptr && state.node_data_count > 0;
  const int found = compare_path(ctx, has_path ? state.node_data[0].node : nullptr, key_path, path, key);
  TRC(ctx, __func__, "node_data key: %s and path_check: %d", key, found);

  verrno status = YMAP_OK;
  if (yfw_map_is_request_delete(node) != 0) {
    read_current_key(ctx, key, __func__);
    status = add_if_entry(ctx, out, node);
  } else if (key[0] != '\0') {
    read_current_key(ctx, key, __func__);
    select_named_side(ctx, key, __func__);
    status = add_if_entry(ctx, out, nullptr);
  } else {
    status = add_all_interfaces(ctx, node, out);
  }

  if (request_type(ctx) == YMAP_REQ_GET && key[0] != '\0') {
    TRC(ctx, __func__, "Get request with key = %s", key);
    if (is_amplifier_name(vidl_yfw_datatree_get_data(node))) {
      add_path(ctx, out, {.path = OTS_PORT, .ns = YMAP_NS_OTS_OPER, .list_flag = 1});
      status = add_path(ctx, out, {.path = PM_PORT, .ns = YMAP_NS_PMENGINE_OPER, .list_flag = 1});
    }
  } else if (request_type(ctx) == YMAP_REQ_GET) {
    TRC(ctx, __func__, "Get request without key");
    TRC(ctx, __func__, "Get request without key where pre = %s, bst = %s", amp_key_pre, amp_key_bst);
    select_all_state(ctx, node, out, __func__);
  }
  TRC(ctx, __func__, "End");
  return status;
}

// /optical-amplifier/amplifiers/amplifier/name: the controller of the amplifier, as key of the native
// entries.
verrno name_to_low(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  assert(NULL != ctx);
  TRC(ctx, __func__, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, __func__);

  verrno status = YMAP_OK;
  char controller_name[text_size];
  controller_name[0] = '\0';
  const char *name = vidl_yfw_datatree_get_data(node);
  if (is_amplifier_name(name)) {
    ampli_key_to_ots_ctrl_key(name, controller_name);
    TRC(ctx, __func__, "amplifier_name = %s", name);
    TRC(ctx, __func__, "controller_name = %s", controller_name);
    vidl_yfw_datatree *source = node;
    switch (kind_of(ctx, node)) {
      case kind_read:
        TRC(ctx, __func__, "name_to_low: get or get-config");
        source = nullptr;
        break;
      case kind_delete:
        TRC(ctx, __func__, "name_to_low: delete");
        add_if_entry(ctx, out, node);
        break;
      case kind_edit:
        TRC(ctx, __func__, "name_to_low: edit-config");
        break;
    }
    add_path(ctx, out,
             {.path = IF_NAME, .ns = YMAP_NS_IFMGR_CFG, .value = controller_name, .source = source});
    status = add_path(ctx, out, {.path = IF_ACTIVE, .ns = YMAP_NS_IFMGR_CFG, .value = "act"});
  }

  if (request_type(ctx) == YMAP_REQ_GET) {
    if (name != nullptr && !is_amplifier_name(name)) {
      status = reject_value(ctx, node, invalid_key);
      TRC(ctx, __func__, "End");
      return status;
    }
    add_path(ctx, out, {.path = OTS_PORT_NAME, .ns = YMAP_NS_OTS_OPER, .value = controller_name});
    add_path(ctx, out, {.path = PM_PORT_NAME, .ns = YMAP_NS_PMENGINE_OPER, .value = controller_name});
    status = add_path(ctx, out, {.path = PM_BUCKET_NUMBER, .ns = YMAP_NS_PMENGINE_OPER, .value = "1"});
  }
  TRC(ctx, __func__, "End");
  return status;
}

// config/name: the key of the interface configuration; other texts than amplifier names add nothing.
verrno cfg_name_to_low(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  assert(NULL != ctx);
  TRC(ctx, __func__, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, __func__);

  verrno status = YMAP_OK;
  const char *name = vidl_yfw_datatree_get_data(node);
  if (is_amplifier_name(name)) {
    char controller_name[text_size];
    controller_name[0] = '\0';
    ampli_key_to_ots_ctrl_key(name, controller_name);
    TRC(ctx, __func__, "amplifier_name = %s", name);
    TRC(ctx, __func__, "controller_name = %s", controller_name);
    const Kind kind = kind_of(ctx, node);
    if (kind == kind_read) {
      TRC(ctx, __func__, "cfg_name_to_low: get or get-config");
    } else if (kind == kind_delete) {
      TRC(ctx, __func__, "cfg_name_to_low: delete");
    } else {
      TRC(ctx, __func__, "cfg_name_to_low: edit-config");
    }
    status = add_path(ctx, out,
                      {.path = IF_NAME,
                       .ns = YMAP_NS_IFMGR_CFG,
                       .value = controller_name,
                       .source = kind == kind_read ? nullptr : node});
    if (kind != kind_read)
      status = add_path(ctx, out, {.path = IF_ACTIVE, .ns = YMAP_NS_IFMGR_CFG, .value = "act"});
  }
  TRC(ctx, __func__, "End");
  return status;
}

}  // extern "C"
