/// \file
/// The configuration with which a device leaves the factory.
#pragma once

#include <string_view>

namespace device {

/// JSON of the native modules, as the folder keeps it.
std::string_view factory_configuration();

}  // namespace device
