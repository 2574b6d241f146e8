// The services of the framework, as the plug-in under test finds them in this process. Each reports its call
// to the recorder; the work itself is the least that answers truly.

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "recorder.hpp"

using ymap_test::fold_path;
using ymap_test::Recorder;
using ymap_test::short_namespace;

namespace {

Recorder &recorder() {
  return Recorder::instance();
}

std::string quote(const char *text) {
  return text == nullptr ? "NULL" : '"' + std::string(text) + '"';
}

std::string plain(const char *text) {
  return text == nullptr ? "NULL" : text;
}

std::string path(const vidl_yfw_datatree *node) {
  return fold_path(recorder().forest().path(node));
}

std::string operation(const vidl_yfw_datatree *node) {
  return node->operation == YMAP_OP_NONE ? "" : ":" + ymap_test::operation_name(node->operation);
}

int copy_bounded(char *dst, size_t size, const char *src) {
  const size_t length = std::strlen(src);
  if (size == 0) return 1;
  std::strncpy(dst, src, size - 1);
  dst[size - 1] = '\0';
  return length < size ? 0 : 1;
}

}  // namespace

int yfw_map_do_these_match(const char *a, const char *b) {
  recorder().query("match " + quote(a) + " " + quote(b));
  return a != nullptr && b != nullptr && std::strcmp(a, b) == 0 ? 1 : 0;
}

int yfw_map_is_request_delete(const vidl_yfw_datatree *node) {
  recorder().query("is delete " + path(node));
  return node->operation == YMAP_OP_DELETE || node->operation == YMAP_OP_REMOVE ? 1 : 0;
}

int yfw_map_is_request_add(yfw_map_ctx *, const vidl_yfw_datatree *node) {
  recorder().query("is add " + path(node));
  return node->operation == YMAP_OP_CREATE ? 1 : 0;
}

void yfw_map_add_to_node_hierarchy(yfw_map_ctx *, vidl_yfw_datatree *node, uint32_t kind) {
  recorder().enter(node, kind);
}

void yfw_map_remove_from_node_hierarchy(yfw_map_ctx *, vidl_yfw_datatree *node) {
  recorder().leave(node);
}

verrno yfw_map_update_current_list_node(yfw_map_ctx *, const char *list_path) {
  recorder().line("current " + fold_path(plain(list_path)));
  const verrno status = recorder().reach("current");
  if (status == YMAP_OK) recorder().make_current(list_path);
  return status;
}

verrno yfw_map_check_oc_leafref(yfw_map_ctx *, const char *list_path, const char *container,
                                const char *key_tag, vidl_yfw_datatree *entry) {
  recorder().line("leafref " + fold_path(plain(list_path)) + " " + plain(container) + " " + plain(key_tag) +
                  " " + path(entry));
  return recorder().reach("leafref");
}

// On failure the value stays as it was, so that a pointer never set shows up.
verrno yfw_map_get_node_info(yfw_map_ctx *, const char *list_path, const char *key_name, const char **value) {
  recorder().line("info " + fold_path(plain(list_path)) + " " + plain(key_name));
  const verrno status = recorder().reach("info");
  const vidl_yfw_datatree *entry = recorder().current(list_path);
  for (uint32_t i = 0; entry != nullptr && i < entry->subtree_count; ++i) {
    const vidl_yfw_datatree &child = entry->subtrees[i];
    if (child.tag == nullptr || child.data == nullptr || std::strcmp(child.tag, key_name) != 0) continue;
    *value = child.data;
    return status;
  }
  return status != YMAP_OK ? status : YMAP_ERR_LIST_KEY;
}

verrno yfw_map_datatree_add_path_flagged(yfw_map_ctx *, vidl_yfw_datatree *tree, const char *add_path,
                                         const char *ns, const char *value, vidl_yfw_datatree *source,
                                         vidl_yfw_datatree **created, int list_flag, int leaf_flag) {
  Recorder &to = recorder();
  to.line("add " + path(tree) + " " + short_namespace(ns) + ":" + fold_path(plain(add_path)) +
          (value == nullptr ? "" : "=" + quote(value)) +
          (source == nullptr ? "" : " from " + path(source) + operation(source)) + " " +
          std::to_string(list_flag) + " " + std::to_string(leaf_flag) +
          (created == nullptr ? "" : " created"));
  const verrno status = to.reach("add");
  if (status != YMAP_OK) return status;
  if (created != nullptr) *created = to.forest().append(tree, add_path, ns, value);
  return YMAP_OK;
}

verrno yfw_map_search_or_add_list(yfw_map_ctx *ctx, vidl_yfw_datatree *out, vidl_yfw_datatree **plist,
                                  const char *list_path, const char *key_value, const char *key_name,
                                  const char *ns) {
  Recorder &to = recorder();
  to.line("search " + path(out) + " " + short_namespace(ns) + ":" + fold_path(plain(list_path)) + "[" +
          plain(key_name) + "=" + quote(key_value) + "]" +
          (plist == &ctx->state->plist ? "" : " !! not plist"));
  const verrno status = to.reach("search");
  if (status == YMAP_OK) *plist = out;
  return status;
}

void yfw_add_to_output_list_ctx(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  recorder().line("output+ " + path(node) + " " + path(out));
  if (recorder().reach("output") == YMAP_OK) ++ctx->state->output_list_count;
}

void yfw_remove_from_output_list_ctx(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out) {
  recorder().line("output- " + path(node) + " " + path(out));
  --ctx->state->output_list_count;
}

void yfw_map_util_itree_stack_push(yfw_map_ctx *, vidl_yfw_datatree *nodes, uint32_t count,
                                   yfw_itree_callback callback) {
  recorder().line("push " + path(nodes) + " " + std::to_string(count) +
                  (callback == nullptr ? "" : " callback"));
  recorder().stack().push_back({nodes, count, callback});
}

void yfw_map_util_itree_stack_pop(yfw_map_ctx *) {
  recorder().line(recorder().stack().empty() ? "!! pop of an empty stack" : "pop");
  if (!recorder().stack().empty()) recorder().stack().pop_back();
}

void yfw_map_util_itree_stack_peak(yfw_map_ctx *, yfw_itree_entry *out) {
  recorder().line(recorder().stack().empty() ? "!! peak of an empty stack" : "peak");
  if (!recorder().stack().empty()) *out = recorder().stack().back();
}

uint32_t yfw_map_util_itree_stack_size(yfw_map_ctx *) {
  recorder().query("size");
  return static_cast<uint32_t>(recorder().stack().size());
}

void yfw_oc_error_path(yfw_map_ctx *) {
  recorder().line("error-path");
}

void yfw_map_print_datatree_internal(yfw_map_ctx *, vidl_yfw_datatree *node, const char *label) {
  const bool folded = recorder().view == ymap_test::View::walk;
  if (!folded) recorder().line("print " + path(node) + " " + plain(label));
  if (folded && (recorder().lines().empty() || recorder().lines().back() != "dump")) recorder().line("dump");
}

int yfw_debug_should_log(const yfw_debug_cfg *cfg, int level) {
  recorder().asked_level(cfg, level);
  return (level == 0 ? recorder().log_errors : recorder().log_traces) ? 1 : 0;
}

void _nos_dt_log_filter_adv(void *log, int a, int b, int c, int d, int e, uint32_t *site_index,
                            const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vector<char> text(20000);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  recorder().log_message(log, (a | b | c | d | e) == 0, site_index, text.data());
}

void _lstrace(void *ltrace, uint64_t tag, const char *text) {
  recorder().light_message(ltrace, tag, text);
}

uint32_t ret_nc_yfw_trace_index_incr() {
  return recorder().next_number();
}

const char *verr_strerror(verrno status) {
  static std::string text;
  text = "<" + ymap_test::status_name(status) + ">";
  return text.c_str();
}

int yfw_strcpy_s(const char *caller, char *dst, size_t size, const char *src) {
  recorder().query("copy " + plain(caller) + " " + std::to_string(size) + " " + quote(src));
  if (recorder().reach("copy") == YMAP_OK) return copy_bounded(dst, size, src);
  dst[0] = '\0';
  return 1;
}

int yfw_strcat_s(const char *caller, char *dst, size_t size, const char *src) {
  recorder().query("append " + plain(caller) + " " + std::to_string(size) + " " + quote(src));
  if (recorder().reach("append") != YMAP_OK) return 1;
  const size_t used = strnlen(dst, size);
  return copy_bounded(dst + used, size - used, src);
}

void __strcpy_to_buf(size_t size, char *dst, const char *src) {
  recorder().query("to buffer " + std::to_string(size) + " " + quote(src));
  copy_bounded(dst, size, src == nullptr ? "" : src);
}

char *yfw_strdup(const char *text, const char *owner) {
  recorder().line("own " + quote(text) + " for " + plain(owner));
  return recorder().reach("own") == YMAP_OK ? recorder().own(text == nullptr ? "" : text) : nullptr;
}

void nos_named_free(void *text) {
  recorder().line("free " + recorder().disown(text));
}
