/// \file
/// The runtime's side of the log sinks, the light trace and the observer.
#pragma once

#include "observer.hpp"
#include "ymap_types.h"

namespace yfw {

/// Gives a request its log handles and the levels that are wanted. `errors`: ERR messages are wanted in any
/// case, as the text of a refusal.
void attach_logs(yfw_map_ctx &ctx, bool errors);

/// Asked at every step of a request; declared as the library's own, so that it is read without a detour.
[[gnu::visibility("hidden")]] extern Observer *observer_now;
inline Observer *current_observer() {
  return observer_now;
}

}  // namespace yfw
