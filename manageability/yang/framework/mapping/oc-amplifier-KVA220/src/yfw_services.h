/// \file
/// What the plug-in imports from the framework that loads it. Every function runs on the framework's
/// thread, within the request of `ctx`; a service that returns `verrno` returns 0 on success.
#ifndef YFW_SERVICES_H
#define YFW_SERVICES_H

#include "ymap_types.h"

extern "C" {

// ---- Names and request kinds ----------------------------------------------------------------------

/// Non-zero when two names (tag and literal, or namespace URIs) match; a NULL matches nothing.
int yfw_map_do_these_match(const char *a, const char *b);

/// Non-zero when the node asks for deletion (operation 3 or 4).
int yfw_map_is_request_delete(const vidl_yfw_datatree *node);

/// Non-zero when the node asks for creation.
int yfw_map_is_request_add(yfw_map_ctx *ctx, const vidl_yfw_datatree *node);

// ---- Walk path and lists --------------------------------------------------------------------------

/// Records a node on the walk path (kind 1 container, 2 list entry), and drops it.
void yfw_map_add_to_node_hierarchy(yfw_map_ctx *ctx, vidl_yfw_datatree *node, uint32_t kind);
void yfw_map_remove_from_node_hierarchy(yfw_map_ctx *ctx, vidl_yfw_datatree *node);

/// Makes the entry last recorded the current entry of the list.
verrno yfw_map_update_current_list_node(yfw_map_ctx *ctx, const char *list_path);

/// Tests the key leaf `key_tag` of an entry against the leaf of that name in its container.
verrno yfw_map_check_oc_leafref(yfw_map_ctx *ctx, const char *list_path, const char *container,
                                const char *key_tag, vidl_yfw_datatree *entry);

/// The value of the key leaf `key_name` of the list's current entry; the text stays the framework's.
verrno yfw_map_get_node_info(yfw_map_ctx *ctx, const char *list_path, const char *key_name,
                             const char **value);

// ---- Trees ----------------------------------------------------------------------------------------

/// Adds `path` and its missing ancestors to `tree`. `value` NULL selects the leaf; the new node takes the
/// operation of `source` (may be NULL); `created` (may be NULL) receives it. `list_flag` 1: the path ends
/// at a list entry; `leaf_flag` 1: at a leaf; both: at a whole list.
verrno yfw_map_datatree_add_path_flagged(yfw_map_ctx *ctx, vidl_yfw_datatree *tree, const char *path,
                                         const char *ns, const char *value, vidl_yfw_datatree *source,
                                         vidl_yfw_datatree **created, int list_flag, int leaf_flag);

/// Finds or adds the output list entry with that key and anchors it in `plist`.
verrno yfw_map_search_or_add_list(yfw_map_ctx *ctx, vidl_yfw_datatree *out, vidl_yfw_datatree **plist,
                                  const char *list_path, const char *key_value, const char *key_name,
                                  const char *ns);

/// Bracket one native list entry; an add that takes effect raises `output_list_count`.
void yfw_add_to_output_list_ctx(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out);
void yfw_remove_from_output_list_ctx(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out);

/// The expansion stack.
void yfw_map_util_itree_stack_push(yfw_map_ctx *ctx, vidl_yfw_datatree *nodes, uint32_t count,
                                   yfw_itree_callback callback);
void yfw_map_util_itree_stack_pop(yfw_map_ctx *ctx);
void yfw_map_util_itree_stack_peak(yfw_map_ctx *ctx, yfw_itree_entry *out);
uint32_t yfw_map_util_itree_stack_size(yfw_map_ctx *ctx);

// ---- Errors and traces ----------------------------------------------------------------------------

/// Notes the walk path of the moment as the path of an error.
void yfw_oc_error_path(yfw_map_ctx *ctx);

/// Debug dump of one tree.
void yfw_map_print_datatree_internal(yfw_map_ctx *ctx, vidl_yfw_datatree *node, const char *label);

/// Non-zero when messages of the level (0 error, 3 trace) are wanted.
int yfw_debug_should_log(const yfw_debug_cfg *cfg, int level);

/// Writes one message; `site_index` is the calling site's own and belongs to the log.
void _nos_dt_log_filter_adv(void *log, int, int, int, int, int, uint32_t *site_index, const char *format, ...)
    __attribute__((format(printf, 8, 9)));

/// Writes one line to the light trace.
void _lstrace(void *ltrace, uint64_t tag, const char *text);

/// The next number of a light-trace line.
uint32_t ret_nc_yfw_trace_index_incr(void);

/// Text of a status, constant.
const char *verr_strerror(verrno status);

// ---- Texts ----------------------------------------------------------------------------------------

/// Bounded copy and append; 0 when all fitted, else the text is cut and terminated.
int yfw_strcpy_s(const char *caller, char *dst, size_t size, const char *src);
int yfw_strcat_s(const char *caller, char *dst, size_t size, const char *src);

/// Bounded copy; a NULL source gives the empty text.
void __strcpy_to_buf(size_t size, char *dst, const char *src);

/// An owned copy, and its release.
char *yfw_strdup(const char *text, const char *owner);
void nos_named_free(void *text);

}  // extern "C"

#endif  // YFW_SERVICES_H
