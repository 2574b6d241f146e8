/// \file
/// The IETF's modules that the server speaks.
#pragma once

#include "schema.hpp"

namespace ymap::netconf {

/// The protocol's modules and the features of them that are supported, to be loaded beside the OpenConfig
/// model. They are looked for where they are installed, or in the folder that the environment names in
/// YMAP_IETF_MODULES. Throws UsageError if there is no such folder.
Companions protocol_modules();

}  // namespace ymap::netconf
