/// \file
/// Amplifier and controller names, searches in request trees, and the slots that tell the ingress side of a
/// request from its egress side.
///
/// | amplifier    | OTS controller | side                    |
/// |--------------|----------------|-------------------------|
/// | 0/0-AMP-PRE0 | Ots0/0/0/0     | ingress (pre-amplifier) |
/// | 0/0-AMP-BST0 | Ots0/0/0/0     | egress (booster)        |
/// | 0/0-AMP-BST2 | Ots0/0/0/2     | egress (booster)        |
#ifndef YMAP_UTILITY_H
#define YMAP_UTILITY_H

#include <cstring>
#include <optional>

#include "exports.h"
#include "request.h"

extern "C" {

/// One controller name per amplifier, in the order PRE0, BST0, BST2, ended by NULL.
YMAP_EXPORT extern const char *const controller_amp_ots_list[4];

/// The slots: NULL until amplifier_list_to_low first runs, then texts in 200-byte buffers. A slot that is
/// empty or names an amplifier of its side selects the side; "pre" and "bst" do not.
YMAP_EXPORT extern char *amp_key_pre;
YMAP_EXPORT extern char *amp_key_bst;

/// Writes the amplifier name of a controller (at most 20 bytes) to `out`; nothing for ports without
/// amplifier. Controller 0 carries two amplifiers: the slots decide which.
YMAP_EXPORT void ots_ctrl_key_to_ampli_key(const char *controller_name, char *out);

/// 1 for an amplifier controller (port 0 or 2), its amplifier name in `out`; else 0, `out` untouched.
YMAP_EXPORT int check_controller_name_ots_is_good(yfw_map_ctx *ctx, const char *controller_name, char *out);
YMAP_EXPORT int check_controller_name_ots_is_valid(yfw_map_ctx *ctx, const char *controller_name, char *out);

/// Writes the port number of an amplifier name with `format` (one %d) to `out` (200 bytes); -1 for other
/// names.
YMAP_EXPORT int ampli_key_to_key(const char *amplifier_name, const char *format, char *out);

/// The controller name of an amplifier; `out` holds 200 bytes.
YMAP_EXPORT int ampli_key_to_ots_ctrl_key(const char *amplifier_name, char *out);

/// 1 when a leaf with a value stands at `path_to_find`, its value in `key` (20 bytes); depth first. `path` is
/// the path above `node`, 200 bytes.
YMAP_EXPORT int compare_path(yfw_map_ctx *ctx, vidl_yfw_datatree *node, const char *path_to_find, char *path,
                             char *key);

/// 1 when any node stands at `path_to_find`.
YMAP_EXPORT int check_request_type_3(yfw_map_ctx *ctx, vidl_yfw_datatree *node, const char *path_to_find,
                                     char *path);
YMAP_EXPORT int check_request_type(yfw_map_ctx *ctx, vidl_yfw_datatree *node, const char *path_to_find);

/// Debug dump of the map state record.
YMAP_EXPORT void print_data(yfw_map_ctx *ctx);

}  // extern "C"

namespace ymap {

/// Side of a controller.
enum class Side { ingress, egress };
inline constexpr Side both_sides[] = {Side::ingress, Side::egress};

/// Where the slots point once a request has run: no buffers that somebody could forget to release.
extern char pre_buffer[text_size];
extern char bst_buffer[text_size];

/// True when the slot of a side holds the marker of its amplifiers, whatever its text.
bool holds_marker(Side side);

/// True when the slot of the side names an amplifier of it. What requests are steered by: an empty slot, that
/// of a request for all amplifiers, does not count.
inline bool is_side_named(Side side) {
  // Each leaf asks, and mostly finds the word of the other side's requests or an amplifier's name, in the
  // buffer that the slot was given.
  const bool is_ingress = side == Side::ingress;
  const char *buffer = is_ingress ? pre_buffer : bst_buffer;
  if ((is_ingress ? amp_key_pre : amp_key_bst) == buffer) {
    if (std::memcmp(buffer, is_ingress ? "pre" : "bst", sizeof "bst") == 0) return false;
    if (std::memcmp(buffer, is_ingress ? "0/0-AMP-PRE" : "0/0-AMP-BST", sizeof "0/0-AMP-BST" - 1) == 0)
      return true;
  }
  return holds_marker(side);
}

/// True when the slot of the side names an amplifier of it or is empty. What answers are steered by.
bool is_side_selected(Side side);

/// The side whose marker a text holds, ingress before egress; nothing for texts without one.
std::optional<Side> side_of(const char *text);

/// True for a text that holds "0/0-AMP-" and one of "PRE0", "BST0", "BST2". NULL is none.
bool is_amplifier_name(const char *text);

/// Gives both slots empty buffers.
void reset_slots();

/// Copies a text into a slot, if the slot has a buffer.
void set_slot(const char *caller, char *slot, const char *text);

}  // namespace ymap

#endif  // YMAP_UTILITY_H
