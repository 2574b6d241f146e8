/// \file
/// What the walkers, handlers and transforms ask of the running request.
#ifndef YMAP_REQUEST_H
#define YMAP_REQUEST_H

#include <cstring>

#include "yfw_services.h"
#include "ymap_datatree.h"

namespace ymap {

/// Size of the working buffers for paths, values and controller names, and of those for names and keys.
inline constexpr size_t text_size = 200;
inline constexpr size_t name_size = 20;

/// What stands in for the state record when the framework gave none.
extern yfw_map_state blank_state;

/// The state record of the request.
inline yfw_map_state &state_of(yfw_map_ctx *ctx) {
  return ctx->state != nullptr ? *ctx->state : blank_state;
}

/// The request type; without a request record that of an edit that is not keyed.
inline uint32_t request_type(const yfw_map_state &state) {
  constexpr uint32_t type_unknown = 0xffffffffU;
  return state.request != nullptr ? state.request->type : type_unknown;
}
inline uint32_t request_type(yfw_map_ctx *ctx) {
  return request_type(state_of(ctx));
}

inline bool is_read(uint32_t type) {
  return type == YMAP_REQ_GET_CONFIG || type == YMAP_REQ_GET;
}

/// True for the types in which every list entry must carry its key.
inline bool is_keyed(uint32_t type) {
  return type == YMAP_REQ_EDIT || type == YMAP_REQ_KEYED_8 || type == YMAP_REQ_KEYED_15;
}

/// What a request wants of a leaf.
enum Kind { kind_read, kind_delete, kind_edit };
inline Kind kind_of(yfw_map_ctx *ctx, const vidl_yfw_datatree *node) {
  if (is_read(request_type(ctx))) return kind_read;
  return yfw_map_is_request_delete(node) != 0 ? kind_delete : kind_edit;
}

/// True when the content selection asks for state only: configuration paths are left out.
bool is_config_suppressed(yfw_map_ctx *ctx);

/// The value of a leaf, or NULL when its presence bit is clear.
inline const char *value_of(const vidl_yfw_datatree *node) {
  return vidl_yfw_datatree_has_data(node) ? vidl_yfw_datatree_get_data(node) : nullptr;
}

/// Frees an owned copy and puts one of `text` in its place, or NULL; `owner` is the copy's label.
inline void replace_copy(char *&copy, const char *text, const char *owner) {
  if (copy != nullptr) nos_named_free(copy);
  copy = nullptr;
  if (text != nullptr) copy = yfw_strdup(text, owner);
}

/// Replaces `err_tag` by a copy of `tag`, if there is a state record.
inline void set_err_tag(yfw_map_ctx *ctx, const char *tag, const char *owner) {
  if (ctx->state != nullptr) replace_copy(ctx->state->err_tag, tag, owner);
}

/// Rejects a value: `err_tag` and `err_message` replaced by copies, the path noted; the status to return.
verrno reject_value(yfw_map_ctx *ctx, const vidl_yfw_datatree *node, const char *message);

/// Owner labels of the copies.
inline constexpr const char *owner_walker = "YFW MAP";
inline constexpr const char *owner_transform = "ocamp-tag";

/// One add to an output tree, in the terms of yfw_map_datatree_add_path_flagged.
struct Add {
  const char *path;
  const char *ns;
  const char *value = nullptr;          ///< NULL selects
  vidl_yfw_datatree *source = nullptr;  ///< request node whose operation the new node takes
  int list_flag = 0;
  int leaf_flag = 0;
};

inline verrno add_path(yfw_map_ctx *ctx, vidl_yfw_datatree *out, const Add &add) {
  return yfw_map_datatree_add_path_flagged(ctx, out, add.path, add.ns, add.value, add.source, nullptr,
                                           add.list_flag, add.leaf_flag);
}

}  // namespace ymap

#endif  // YMAP_REQUEST_H
