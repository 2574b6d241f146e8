/// \file
/// Trims the native request of a read to what the client's request needs.
#pragma once

#include "datatree.hpp"

namespace yfw {

/// The plug-in names the keys of a list entry also where it selects nothing of the entry, and a subtree
/// filter of keys alone would select all of it. Such entries are asked for their keys when `key_copies` says
/// that the answer holds copies of them, or when nothing else is asked for at all; else they are left out.
void trim_native_read(Datatree &request, bool key_copies);

}  // namespace yfw
