/// \file
/// Brings an OpenConfig edit into the form that the plug-in maps to the right native nodes.
#pragma once

#include <string>
#include <string_view>

#include "datatree.hpp"
#include "plugin.hpp"

namespace yfw {

/// Whether the device has an entry of that name. Names begin alike: the last character mostly decides.
inline bool is_instance(const Registration &registration, std::string_view name) {
  if (name.empty()) return false;
  for (const std::string &instance : registration.instances) {
    if (instance.ends_with(name.back()) && instance == name) return true;
  }
  return false;
}

/// An edit as the plug-in gets it.
struct NormalEdit {
  vidl_yfw_datatree *top = nullptr;         ///< to be walked, which marks it; nullptr: nothing is to be done
  const vidl_yfw_datatree *root = nullptr;  ///< above another copy of it, for the plug-in to search
  bool is_known = false;                    ///< every entry is an amplifier of the device
};

/// A copy of the edit with operations only where the plug-in keeps the amplifiers apart:
/// - amplifiers are hardware, so an operation on an entry or above becomes one on the `config` of each
///   amplifier that it concerns; a replace without `config` removes it;
/// - what is deleted has no children;
/// - create is given to everything below it, keys excepted.
/// Keys stay as they are. The texts, and of a plain merge the tree to be searched, are those of the edit and
/// the registration; what is made anew lives as long as `holder`. Throws Refusal for a top that is not the
/// registered one.
NormalEdit normalise_edit(const Registration &registration, const Datatree &request, Datatree &holder);

}  // namespace yfw
