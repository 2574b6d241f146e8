/// \file
/// Marks what libyfw_map.so exports; everything else in it is hidden.
#pragma once

#define YFW_EXPORT __attribute__((visibility("default")))
