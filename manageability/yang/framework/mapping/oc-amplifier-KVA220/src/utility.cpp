// Names, searches and slots; see utility.h.
#include "utility.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "trace.h"

namespace {

constexpr const char amplifier_prefix[] = "0/0-AMP-";
constexpr size_t prefix_length = sizeof amplifier_prefix - 1;
constexpr size_t usual_length = sizeof "0/0-AMP-PRE0" - 1;
constexpr std::string_view controller_prefix = "Ots0/0/0/";
constexpr const char *pre_marker = "PRE";
constexpr const char *bst_marker = "BST";

// Zero-fills a buffer of ymap::text_size, in parts that a compiler fills with a few wide stores: as a whole
// it takes a string instruction, which is slow to start.
void zero_fill(char *buffer) {
  static_assert(ymap::text_size == 3 * 64 + 8);
  std::memset(buffer, 0, 64);
  std::memset(buffer + 64, 0, 64);
  std::memset(buffer + 128, 0, 64);
  std::memset(buffer + 192, 0, 8);
}

// True when a marker of three characters stands anywhere in the text.
bool holds(const char *text, const char *marker) {
  for (; *text != '\0'; ++text)
    if (text[0] == marker[0] && text[1] == marker[1] && text[2] == marker[2]) return true;
  return false;
}

bool is_empty(const char *text) {
  return text != nullptr && text[0] == '\0';
}

// True for the very name of an amplifier, which ends in its port. Other texts may count as one too.
bool is_usual_name(const char *text) {
  if (text == nullptr || std::strlen(text) != usual_length) return false;
  if (std::memcmp(text, amplifier_prefix, prefix_length) != 0) return false;
  const char *marker = text + prefix_length;
  return std::memcmp(marker, "BST2", 4) == 0 || std::memcmp(marker, "BST0", 4) == 0 ||
         std::memcmp(marker, "PRE0", 4) == 0;
}

// Reads `prefix` followed by a number; leaves `port` as it is when the text does not match. Numbers beyond an
// int are cut to its limits, so that they cannot come round to a port that exists.
void scan_port(const char *text, std::string_view prefix, int &port) {
  const size_t length = prefix.size();
  if (text == nullptr || *text != prefix.front() || std::strncmp(text, prefix.data(), length) != 0) return;
  // What devices send; signs, blanks and long numbers are strtol's.
  const char *digits = text + length;
  int value = 0;
  int count = 0;
  for (; count < 9 && digits[count] >= '0' && digits[count] <= '9'; ++count)
    value = 10 * value + (digits[count] - '0');
  if (count != 0 && digits[count] == '\0') {
    port = value;
    return;
  }
  char *end = nullptr;
  const long number = std::strtol(text + length, &end, 10);
  if (end == text + length) return;
  port = static_cast<int>(number > INT_MAX ? INT_MAX : number < INT_MIN ? INT_MIN : number);
}

// The port of an amplifier name, -1 for other names.
int amplifier_port(const char *amplifier_name) {
  if (is_usual_name(amplifier_name)) return amplifier_name[usual_length - 1] - '0';
  int port = -1;
  if (amplifier_name == nullptr || std::strncmp(amplifier_name, amplifier_prefix, prefix_length) != 0)
    return port;
  const char *word = amplifier_name + prefix_length;
  while (std::isspace(static_cast<unsigned char>(*word)) != 0) ++word;
  char suffix[10] = {};
  for (size_t i = 0; i + 1 < sizeof suffix && std::isspace(static_cast<unsigned char>(word[i])) == 0; ++i) {
    suffix[i] = word[i];
    if (word[i] == '\0') break;
  }
  scan_port(suffix, pre_marker, port);
  scan_port(suffix, bst_marker, port);
  return port;
}

int controller_port(const char *controller_name) {
  int port = -1;
  scan_port(controller_name, controller_prefix, port);
  return port;
}

// The amplifier name of a port; nothing for ports without amplifier.
void write_amplifier_name(int port, char *out) {
  const char *suffix = nullptr;
  switch (port) {
    case 2:
      suffix = "BST2";
      break;
    case 0:
      if (ymap::is_side_named(ymap::Side::egress)) {
        suffix = "BST0";
      } else if (ymap::is_side_selected(ymap::Side::ingress)) {
        suffix = "PRE0";
      } else if (ymap::is_side_selected(ymap::Side::egress)) {
        suffix = "BST0";
      }
      break;
    default:
      break;
  }
  if (suffix == nullptr || out == nullptr) return;
  std::memcpy(out, amplifier_prefix, prefix_length);
  std::memcpy(out + prefix_length, suffix, sizeof "BST2");
}

int check_controller_name(yfw_map_ctx *ctx, const char *controller_name, char *out, const char *function) {
  const int port = controller_port(controller_name);
  assert(NULL != ctx);
  TRC(ctx, function, "controller_name = %s", ymap::shown(controller_name));
  if (port == 0 || port == 2) {
    write_amplifier_name(port, out);
    TRC(ctx, function, "amplifier_name = %s", ymap::shown(out));
    return 1;
  }
  ERR(ctx, function, "Invalid controller_name [%s] and port id [%d], discard it!",
      ymap::shown(controller_name), port);
  return 0;
}

// Each level of a search makes its path longer by a slash at least: this far down the path is full, and
// longer than any that is looked for. Hostile trees are deeper.
constexpr int search_depth = ymap::text_size - 1;

// The children that a search descends to. The presence bit is not asked: answers come without it.
int32_t searched_children(const vidl_yfw_datatree *node, int depth, vidl_yfw_datatree **children) {
  const auto count = static_cast<int32_t>(vidl_yfw_datatree_get_subtrees(node, children));
  return *children == nullptr || depth == search_depth ? 0 : count;
}

// What is the same at every level of compare_path.
struct ValueSearch {
  yfw_map_ctx *ctx;
  const char *path_to_find;
  char *key;
};

// compare_path below its first node; `path` is the path above `node`.
int find_value(const ValueSearch &search, const vidl_yfw_datatree *node, char *path, int depth) {
  constexpr const char *function = "compare_path";
  yfw_map_ctx *ctx = search.ctx;
  if (node == nullptr) {
    ERR(ctx, function, "return, req is NULL");
    return 0;
  }
  if (!vidl_yfw_datatree_has_tag(node)) return 0;
  const char *tag = vidl_yfw_datatree_get_tag(node);
  TRC(ctx, function, "TAG <%s>, NS <%s>", ymap::shown(tag),
      ymap::shown(vidl_yfw_datatree_get_namespace(node)));
  if (tag != nullptr) yfw_strcat_s(function, path, ymap::text_size, tag);

  if (vidl_yfw_datatree_has_data(node)) {
    const char *data = vidl_yfw_datatree_get_data(node);
    TRC(ctx, function, "data %s", ymap::shown(data));
    TRC(ctx, function, "path        : <%s>", path);
    TRC(ctx, function, "path_to_find: <%s>", search.path_to_find);
    if (std::strcmp(path, search.path_to_find) == 0) {
      TRC(ctx, function, "found return !");
      yfw_strcpy_s(function, search.key, ymap::name_size, data != nullptr ? data : "");
      TRC(ctx, function, "key %s,", search.key);
      TRC(ctx, function, "req->_data %s,", ymap::shown(data));
      return 1;
    }
  }

  yfw_strcat_s(function, path, ymap::text_size, "/");
  vidl_yfw_datatree *children = nullptr;
  const int32_t count = searched_children(node, depth, &children);
  TRC(ctx, function, "subtree_count %d", static_cast<int32_t>(node->subtree_count));
  for (int32_t i = 0; i < count; ++i) {
    char child_path[ymap::text_size];
    child_path[0] = '\0';
    yfw_strcpy_s(function, child_path, sizeof child_path, path);
    if (find_value(search, &children[i], child_path, depth + 1) != 0) return 1;
  }
  return 0;
}

// check_request_type_3, likewise.
int find_node(yfw_map_ctx *ctx, vidl_yfw_datatree *node, const char *path_to_find, char *path, int depth) {
  constexpr const char *function = "check_request_type_3";
  if (node == nullptr) {
    ERR(ctx, function, "return, req is NULL");
    return 0;
  }
  if (!vidl_yfw_datatree_has_tag(node)) return 0;
  const char *tag = vidl_yfw_datatree_get_tag(node);
  if (tag != nullptr) yfw_strcat_s(function, path, ymap::text_size, tag);
  if (std::strcmp(path, path_to_find) == 0) return 1;

  vidl_yfw_datatree *children = nullptr;
  const int32_t count = searched_children(node, depth, &children);
  for (int32_t i = 0; i < count; ++i) {
    char saved[ymap::text_size];
    saved[0] = '\0';
    yfw_strcpy_s(function, saved, sizeof saved, path);
    yfw_strcat_s(function, path, ymap::text_size, "/");
    if (find_node(ctx, &children[i], path_to_find, path, depth + 1) == 1) return 1;
    yfw_strcpy_s(function, path, ymap::text_size, saved);
  }
  return 0;
}

}  // namespace

extern "C" {

const char *const controller_amp_ots_list[4] = {"Ots0/0/0/0", "Ots0/0/0/0", "Ots0/0/0/2", nullptr};
char *amp_key_pre = nullptr;
char *amp_key_bst = nullptr;

void ots_ctrl_key_to_ampli_key(const char *controller_name, char *out) {
  write_amplifier_name(controller_port(controller_name), out);
}

int check_controller_name_ots_is_good(yfw_map_ctx *ctx, const char *controller_name, char *out) {
  return check_controller_name(ctx, controller_name, out, __func__);
}

int check_controller_name_ots_is_valid(yfw_map_ctx *ctx, const char *controller_name, char *out) {
  return check_controller_name(ctx, controller_name, out, __func__);
}

int ampli_key_to_key(const char *amplifier_name, const char *format, char *out) {
  return std::snprintf(out, ymap::text_size, format, amplifier_port(amplifier_name));
}

int ampli_key_to_ots_ctrl_key(const char *amplifier_name, char *out) {
  char *digits = std::copy(controller_prefix.begin(), controller_prefix.end(), out);
  char *end = std::to_chars(digits, out + ymap::text_size - 1, amplifier_port(amplifier_name)).ptr;
  *end = '\0';
  return static_cast<int>(end - out);
}

int compare_path(yfw_map_ctx *ctx, vidl_yfw_datatree *node, const char *path_to_find, char *path, char *key) {
  return find_value({ctx, path_to_find, key}, node, path, 0);
}

int check_request_type_3(yfw_map_ctx *ctx, vidl_yfw_datatree *node, const char *path_to_find, char *path) {
  return find_node(ctx, node, path_to_find, path, 0);
}

int check_request_type(yfw_map_ctx *ctx, vidl_yfw_datatree *node, const char *path_to_find) {
  char path[ymap::text_size];
  path[0] = '\0';
  return check_request_type_3(ctx, node, path_to_find, path);
}

void print_data(yfw_map_ctx *ctx) {
  ctx->print_mark = 1;
  yfw_map_state &state = ymap::state_of(ctx);
  for (int i = 0; state.node_data != nullptr && i < state.node_data_count; ++i) {
    TRC(ctx, __func__, "iteration %d", i);
    yfw_map_print_datatree_internal(ctx, state.node_data[i].node, "node_data");
  }
  TRC(ctx, __func__, "HERE IS MYTRACE");
  yfw_map_print_datatree_internal(ctx, state.root_node, "root_node");
  yfw_map_print_datatree_internal(ctx, state.parent_node, "parent_node");
  yfw_map_print_datatree_internal(ctx, state.current_node, "current_node");
  yfw_map_print_datatree_internal(ctx, state.reg_dup_datatree, "reg_dup_datatree");
  yfw_map_print_datatree_internal(ctx, state.plist, "plist");
}

}  // extern "C"

namespace ymap {

char pre_buffer[text_size];
char bst_buffer[text_size];

bool holds_marker(Side side) {
  const bool is_ingress = side == Side::ingress;
  const char *slot = is_ingress ? amp_key_pre : amp_key_bst;
  return slot != nullptr && holds(slot, is_ingress ? pre_marker : bst_marker);
}

bool is_side_selected(Side side) {
  return is_side_named(side) || is_empty(side == Side::ingress ? amp_key_pre : amp_key_bst);
}

std::optional<Side> side_of(const char *text) {
  if (is_usual_name(text)) return text[prefix_length] == *pre_marker ? Side::ingress : Side::egress;
  if (holds(text, pre_marker)) return Side::ingress;
  if (holds(text, bst_marker)) return Side::egress;
  return std::nullopt;
}

bool is_amplifier_name(const char *text) {
  constexpr const char *markers[] = {"PRE0", "BST0", "BST2"};
  if (text == nullptr) return false;
  if (is_usual_name(text)) return true;
  if (std::strstr(text, amplifier_prefix) == nullptr) return false;
  for (const char *marker : markers)
    if (std::strstr(text, marker) != nullptr) return true;
  return false;
}

void reset_slots() {
  zero_fill(pre_buffer);
  zero_fill(bst_buffer);
  amp_key_pre = pre_buffer;
  amp_key_bst = bst_buffer;
}

void set_slot(const char *caller, char *slot, const char *text) {
  if (slot != nullptr) yfw_strcpy_s(caller, slot, text_size, text);
}

}  // namespace ymap
