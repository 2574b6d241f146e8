/// \file
/// Live values: what the ports do at this moment, and the history of their statistics.
#pragma once

#include <cstdint>
#include <vector>

#include "device.hpp"
#include "native_filter.hpp"
#include "yang.hpp"

namespace device {

// Both follow the running configuration, of which `running` is the first sibling: a quantity that is not
// configured is neither reported nor measured. They are made as far as the filter reaches.

/// Of the namespace kOtsOperNs.
std::vector<PlainNode> operating_values(const Schema &schema, const lyd_node *running,
                                        const std::vector<FilterNode> &filter);
/// Of the namespace kPmengineNs, at the time `now` (nanoseconds since the epoch).
std::vector<PlainNode> histories(const Schema &schema, const lyd_node *running, uint64_t now,
                                 const std::vector<FilterNode> &filter);

}  // namespace device
