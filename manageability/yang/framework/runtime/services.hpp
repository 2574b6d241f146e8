/// \file
/// The services with default visibility: this library is where they are defined.
#pragma once

#pragma GCC visibility push(default)
#include "yfw_services.h"
#pragma GCC visibility pop
