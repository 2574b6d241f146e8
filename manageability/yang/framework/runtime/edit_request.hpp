/// \file
/// Brings an OpenConfig edit into the form that the plug-in maps to the right native nodes.
#pragma once

#include <string>

#include "datatree.hpp"
#include "plugin.hpp"

namespace yfw {

/// A copy of the edit with operations only where the plug-in keeps the amplifiers apart:
/// - amplifiers are hardware, so an operation on an entry or above becomes one on the `config` of each
///   amplifier that it concerns; a replace without `config` removes it;
/// - what is deleted has no children;
/// - create is given to everything below it, keys excepted.
/// Keys stay as they are. The texts are those of the edit and the registration. Throws Refusal for a top that
/// is not the registered one.
Datatree normalise_edit(const Registration &registration, const Datatree &request);

}  // namespace yfw
