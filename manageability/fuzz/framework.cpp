// The least framework that behaves; see framework.hpp.
#include "framework.hpp"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace ymap_fuzz {

Framework *Framework::running_ = nullptr;

verrno Framework::status() {
  constexpr verrno kStatuses[] = {77, YMAP_SKIP_NODE, YMAP_ERR_BAD_NODE, YMAP_ERR_INVALID_VALUE};
  return fails() ? kStatuses[faults_.below(std::size(kStatuses))] : YMAP_OK;
}

void Framework::publish() {
  if (ctx_->state == nullptr) return;
  ctx_->state->node_data = walk_.data();
  ctx_->state->node_data_count = static_cast<uint8_t>(std::min<size_t>(walk_.size(), UINT8_MAX));
}

void Framework::enter(vidl_yfw_datatree *node) {
  walk_.push_back({node});
  publish();
}

// What stands behind the node goes with it: a failed leafref check leaves its entry on the path.
void Framework::leave(const vidl_yfw_datatree *node) {
  const auto last =
      std::find_if(walk_.rbegin(), walk_.rend(), [&](const auto &one) { return one.node == node; });
  if (last != walk_.rend()) walk_.erase(std::next(last).base(), walk_.end());
  publish();
}

const char *Framework::key_of_current(const std::string &list, const char *key) const {
  const auto found = current_.find(list);
  const vidl_yfw_datatree *entry = found == current_.end() ? nullptr : found->second;
  if (entry == nullptr || entry->subtrees == nullptr) return nullptr;
  for (uint32_t i = 0; i < entry->subtree_count; ++i)
    if (yfw_map_do_these_match(entry->subtrees[i].tag, key) != 0) return entry->subtrees[i].data;
  return nullptr;
}

void Framework::maybe_expand() {
  if (offers_ && stack_.size() < 8 && faults_.left() != 0 && (faults_.byte() & 3U) == 3)
    stack_.push_back(offered_);
}

}  // namespace ymap_fuzz

namespace {

using ymap_fuzz::Framework;

int copy_bounded(char *dst, size_t size, const char *src) {
  if (size == 0) return 1;
  const size_t length = std::min(std::strlen(src), size - 1);
  std::memcpy(dst, src, length);
  dst[length] = '\0';
  return src[length] == '\0' ? 0 : 1;
}

}  // namespace

int yfw_map_do_these_match(const char *a, const char *b) {
  return a != nullptr && b != nullptr && std::strcmp(a, b) == 0 ? 1 : 0;
}

int yfw_map_is_request_delete(const vidl_yfw_datatree *node) {
  return node->operation == YMAP_OP_DELETE || node->operation == YMAP_OP_REMOVE ? 1 : 0;
}

int yfw_map_is_request_add(yfw_map_ctx *, const vidl_yfw_datatree *node) {
  return node->operation == YMAP_OP_CREATE ? 1 : 0;
}

void yfw_map_add_to_node_hierarchy(yfw_map_ctx *, vidl_yfw_datatree *node, uint32_t) {
  Framework::running().enter(node);
}

void yfw_map_remove_from_node_hierarchy(yfw_map_ctx *, vidl_yfw_datatree *node) {
  Framework::running().leave(node);
}

verrno yfw_map_update_current_list_node(yfw_map_ctx *, const char *list_path) {
  const verrno status = Framework::running().status();
  if (status == YMAP_OK) Framework::running().make_current(list_path);
  return status;
}

verrno yfw_map_check_oc_leafref(yfw_map_ctx *, const char *, const char *, const char *,
                                vidl_yfw_datatree *) {
  return Framework::running().status();
}

verrno yfw_map_get_node_info(yfw_map_ctx *, const char *list_path, const char *key_name, const char **value) {
  const verrno status = Framework::running().status();
  if (status == YMAP_OK) *value = Framework::running().key_of_current(list_path, key_name);
  return status;
}

// Paths end where they begin, except for the key selector, which is added to the request itself.
verrno yfw_map_datatree_add_path_flagged(yfw_map_ctx *, vidl_yfw_datatree *tree, const char *path,
                                         const char *ns, const char *value, vidl_yfw_datatree *source,
                                         vidl_yfw_datatree **created, int, int) {
  Framework &framework = Framework::running();
  framework.maybe_expand();
  volatile size_t read = std::strlen(path) + std::strlen(ns != nullptr ? ns : "") +
                         std::strlen(value != nullptr ? value : "") +
                         (source != nullptr ? source->operation : 0);
  static_cast<void>(read);
  const verrno status = framework.status();
  if (status == YMAP_OK && created != nullptr && !framework.fails())
    *created = framework.append(tree, path, ns);
  return status;
}

verrno yfw_map_search_or_add_list(yfw_map_ctx *, vidl_yfw_datatree *out, vidl_yfw_datatree **plist,
                                  const char *, const char *, const char *, const char *) {
  const verrno status = Framework::running().status();
  if (status == YMAP_OK) *plist = out;
  return status;
}

void yfw_add_to_output_list_ctx(yfw_map_ctx *ctx, vidl_yfw_datatree *, vidl_yfw_datatree *) {
  if (ctx->state != nullptr && !Framework::running().fails()) ++ctx->state->output_list_count;
}

void yfw_remove_from_output_list_ctx(yfw_map_ctx *ctx, vidl_yfw_datatree *, vidl_yfw_datatree *) {
  if (ctx->state != nullptr) --ctx->state->output_list_count;
}

void yfw_map_util_itree_stack_push(yfw_map_ctx *, vidl_yfw_datatree *nodes, uint32_t count,
                                   yfw_itree_callback callback) {
  Framework::running().stack().push_back({nodes, count, callback});
}

void yfw_map_util_itree_stack_pop(yfw_map_ctx *) {
  Framework::running().stack().pop_back();
}

void yfw_map_util_itree_stack_peak(yfw_map_ctx *, yfw_itree_entry *out) {
  *out = Framework::running().stack().back();
}

uint32_t yfw_map_util_itree_stack_size(yfw_map_ctx *) {
  return static_cast<uint32_t>(Framework::running().stack().size());
}

void yfw_oc_error_path(yfw_map_ctx *) {}

void yfw_map_print_datatree_internal(yfw_map_ctx *, vidl_yfw_datatree *node, const char *) {
  volatile bool is_set = node != nullptr && vidl_yfw_datatree_is_set(node);
  static_cast<void>(is_set);
}

int yfw_debug_should_log(const yfw_debug_cfg *, int) {
  return Framework::running().logs() ? 1 : 0;
}

// The text is made and dropped: arguments that do not fit their format are found here.
void _nos_dt_log_filter_adv(void *, int, int, int, int, int, uint32_t *, const char *format, ...) {
  char line[256];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
}

void _lstrace(void *, uint64_t, const char *text) {
  volatile size_t length = std::strlen(text);
  static_cast<void>(length);
}

uint32_t ret_nc_yfw_trace_index_incr() {
  return 1;
}

const char *verr_strerror(verrno) {
  return "status";
}

int yfw_strcpy_s(const char *, char *dst, size_t size, const char *src) {
  return copy_bounded(dst, size, src);
}

int yfw_strcat_s(const char *, char *dst, size_t size, const char *src) {
  const size_t used = strnlen(dst, size);
  return copy_bounded(dst + used, size - used, src);
}

void __strcpy_to_buf(size_t size, char *dst, const char *src) {
  copy_bounded(dst, size, src != nullptr ? src : "");
}

char *yfw_strdup(const char *text, const char *) {
  return Framework::running().fails() ? nullptr : strdup(text);
}

void nos_named_free(void *text) {
  std::free(text);
}
