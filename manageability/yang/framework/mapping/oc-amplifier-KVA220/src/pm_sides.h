/// \file
/// The egress tilt's max-time, which ends the ingress side of a request.
#ifndef YMAP_PM_SIDES_H
#define YMAP_PM_SIDES_H

#include "exports.h"

namespace ymap {

/// state_actual_gain_tilt_max_time_to_high, whatever its status followed by "pre" and the empty text in the
/// slots: from then on egress statistics are written and ingress ones are not.
NodeFunction max_time_then_turn_sides;

}  // namespace ymap

using ymap::max_time_then_turn_sides;

#endif  // YMAP_PM_SIDES_H
