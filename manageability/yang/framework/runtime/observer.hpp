/// \file
/// Follows a request through the plug-in, step by step.
#pragma once

#include <cstdint>
#include <string_view>

#include "export.hpp"
#include "ymap_types.h"

namespace yfw {

/// Called while a request runs, on its thread, after the step was done. Every text and node is valid during
/// the call only, but a node that was entered until it is left. The nodes of `tree` are native in the on
/// direction and OpenConfig in the no direction.
class YFW_EXPORT Observer {
 public:
  enum class Direction { on, no };

  virtual ~Observer();
  /// The plug-in is about to be called for `top`.
  virtual void begin(Direction direction, const vidl_yfw_datatree *top) = 0;
  /// The walk path grew by a container (YMAP_WALK_CONTAINER) or list entry, or shrank by one.
  virtual void enter(const vidl_yfw_datatree *node, uint32_t kind) = 0;
  virtual void leave(const vidl_yfw_datatree *node) = 0;
  /// A trace point: "ERR" or "TRC", the plug-in function, and the message (cut at 249 characters with both).
  virtual void message(std::string_view level, std::string_view function, std::string_view text) = 0;
  /// `path` was asked for in the output tree; `value` is nullptr where it only selects.
  virtual void added(const vidl_yfw_datatree *tree, const char *path, const char *value, verrno status) = 0;
  /// The output entry of `list_path` with that key was found or made.
  virtual void selected(const char *list_path, const char *key_value) = 0;
};

/// Follows all requests from the next one on; nullptr ends it. The observer must outlive its use.
YFW_EXPORT void set_observer(Observer *observer);

}  // namespace yfw
