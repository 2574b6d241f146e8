/// \file
/// The table of the OpenConfig module that schema_generator.cpp wrote into this build.
#pragma once

#include "schema.hpp"

namespace ymap {

extern const BuiltInSchema kBuiltInSchema;

}  // namespace ymap
