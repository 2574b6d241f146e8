/// \file
/// XML data without what a user may not read.
#pragma once

#include <string>

#include "access_rules.hpp"

namespace ymap::netconf {

/// The elements of `xml`, data of whatever modules, that the user may read.
std::string readable_part(std::string xml, const Rights &rights);

}  // namespace ymap::netconf
