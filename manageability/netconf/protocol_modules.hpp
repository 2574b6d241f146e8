/// \file
/// The IETF's modules that the server speaks.
#pragma once

#include <string>
#include <vector>

#include "compiled_schema.hpp"
#include "rpc_parameters.hpp"

namespace ymap::netconf {

/// The protocol's modules and the features of them that are supported, to be loaded beside the OpenConfig
/// model or the device's own. They are looked for where they are installed, or in the folder that the
/// environment names in YMAP_IETF_MODULES. Throws UsageError if there is no such folder.
Companions protocol_modules(const Features &features);

/// Of the server of the OpenConfig model, whose device is here or elsewhere.
Features managed_features(bool is_near);
/// Beside the OpenConfig model also that of the access rules.
Companions managed_modules(const Features &features);

/// Names of the device's own modules.
std::vector<std::string> native_modules();

}  // namespace ymap::netconf
