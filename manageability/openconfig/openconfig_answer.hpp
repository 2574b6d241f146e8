/// \file
/// The mapper's answer as checked OpenConfig data.
#pragma once

#include "session.hpp"

namespace ymap {

/// Turns the children of `root` into data of the schema. What the schema does not take is left out, each with
/// a warning that names it; leaves without a value are left out silently, they stand for nothing on the
/// device.
Answer openconfig_answer(const Schema &schema, const vidl_yfw_datatree *root);

}  // namespace ymap
