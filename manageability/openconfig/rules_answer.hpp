/// \file
/// The access rules as data of an answer.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "access_rules.hpp"
#include "guard.hpp"

namespace ymap {

/// What `filter` selects of the rules, as far as the user may read them, in compact XML; all of them if it is
/// nullptr. With the counters where there are some.
std::string rules_answer(std::vector<device::PlainNode> rules, const Rights &rights,
                         const std::optional<DeniedCounts> &denied,
                         const std::vector<device::RequestNode> *filter);

}  // namespace ymap
