// Hand-written functions of the interface configuration: OTS controllers to amplifier entries and their
// names, and the hand-over of an entry's OTS configuration.
#include <cstring>

#include "no_transforms.h"
#include "ymap_oc_amplifier_kva220_velm_nalto_controller_ots_cfg.h"
#include "ymap_oc_amplifier_kva220_velm_nalto_ifmgr_cfg.h"

namespace {

using namespace ymap;

// Other than for operational data, a request that the framework did not keep covers everything.
bool is_in_scope(yfw_map_ctx *ctx) {
  vidl_yfw_datatree *request = state_of(ctx).reg_dup_datatree;
  if (check_request_type(ctx, request, OC_AMPLIFIERS) != 0) return true;
  return request == nullptr || check_request_type(ctx, request, "/optical-amplifier") != 0;
}

// The entry being walked stands second on the walk path, below its list container. False when its interface
// is known to be none that carries an amplifier.
bool is_amplifier_interface(yfw_map_ctx *ctx, const char *function) {
  const yfw_map_state &state = state_of(ctx);
  if (state.node_data_count < 2 || state.node_data == nullptr) return true;
  char path[text_size];
  path[0] = '\0';
  char key[name_size] = {};
  char amplifier_name[text_size];
  amplifier_name[0] = '\0';
  if (compare_path(ctx, state.node_data[1].node, "interface-configuration/interface-name", path, key) == 1)
    TRC(ctx, function, "interface_key: %s", key);
  if (check_controller_name_ots_is_good(ctx, key, amplifier_name) != 0) return true;
  TRC(ctx, function, "controller name is not good, amplifier_name: %s", amplifier_name);
  return false;
}

}  // namespace

extern "C" {

// /interface-configurations/interface-configuration: a new amplifier entry, its name still to come.
verrno amplifier_list_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  assert(NULL != ctx);
  TRC(ctx, __func__, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, __func__);
  if (!is_amplifier_interface(ctx, __func__)) {
    TRC(ctx, __func__, "End");
    return YMAP_OK;
  }

  const bool in_scope = is_in_scope(ctx);
  vidl_yfw_datatree *source = nullptr;
  if (yfw_map_is_request_delete(node) != 0) {
    TRC(ctx, __func__, "delete request set high node");
    source = node;
  } else {
    TRC(ctx, __func__, "not a delete request set high node");
  }
  verrno status = YMAP_OK;
  if (in_scope)
    status = add_path(ctx, out,
                      {.path = OC_AMPLIFIER, .ns = YMAP_NS_OPENCONFIG, .source = source, .list_flag = 1});
  TRC(ctx, __func__, "End");
  return status;
}

// interface-configuration/interface-name: the entry's key and config/name. YMAP_SKIP_NODE for an interface
// that carries no amplifier ends the walk of its entry.
verrno name_to_high(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  assert(NULL != ctx);
  TRC(ctx, __func__, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, __func__);

  const bool in_scope = is_in_scope(ctx);
  const char *value = vidl_yfw_datatree_get_data(node);
  TRC(ctx, __func__, "vidl_yfw_datatree_get_data(input) %s", shown(value));
  if (!in_scope) {
    TRC(ctx, __func__, "End");
    return YMAP_OK;
  }
  char path[text_size];
  path[0] = '\0';
  char key[name_size] = {};
  compare_path(ctx, state_of(ctx).reg_dup_datatree, OC_AMPLIFIER "/name", path, key);
  if (value == nullptr) {
    TRC(ctx, __func__, "End");
    return YMAP_OK;
  }
  TRC(ctx, __func__, "controller_name = %s", path);
  char amplifier_name[text_size];
  amplifier_name[0] = '\0';
  if (check_controller_name_ots_is_good(ctx, value, amplifier_name) == 0) {
    TRC(ctx, __func__, "End");
    return YMAP_SKIP_NODE;
  }
  TRC(ctx, __func__, "reg_dup_datatree key: %s", key);
  if (key[0] != '\0' && std::strcmp(key, amplifier_name) != 0) {
    ERR(ctx, __func__, "amplifier_name [%s] does not match with key [%s], discard it!", amplifier_name, key);
    TRC(ctx, __func__, "End");
    return YMAP_OK;
  }
  verrno status = add_openconfig(ctx, out, OC_AMPLIFIER "/name", amplifier_name);
  if (!is_config_suppressed(ctx)) status = add_openconfig(ctx, out, OC_CONFIG "name", amplifier_name);
  TRC(ctx, __func__, "End");
  return status;
}

// Children of an interface configuration that are in another namespace: the OTS configuration is walked on.
verrno YMAP_NO_IFMGR(lvla_interfaceconfigurations_interfaceconfiguration_parse_augments)(
    yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  assert(NULL != ctx);
  TRC(ctx, __func__, "Start");
  if (node == nullptr || out == nullptr) return invalid_arguments(ctx, __func__);
  verrno status = YMAP_OK;
  if (yfw_map_do_these_match(YMAP_NS_OTS_CFG, vidl_yfw_datatree_get_namespace(node)) != 0)
    status = YMAP_NO_OTS_CFG(augment_lvla_interface_configuration)(ctx, node, out);
  TRC(ctx, __func__, "End");
  return status;
}

}  // extern "C"
