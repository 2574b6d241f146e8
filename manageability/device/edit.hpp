/// \file
/// NETCONF edit operations (RFC 6241, section 7.2) on a native configuration tree.
#pragma once

#include <vector>

#include "device.hpp"
#include "yang.hpp"

namespace device {

/// Applies the request in document order and validates the whole. Throws EditError; the tree is then spoiled.
void apply_edit(const Schema &schema, Tree &configuration, const std::vector<RequestNode> &request);

}  // namespace device
