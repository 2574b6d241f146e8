/// \file
/// A loaded mapping plug-in: its registration record and its entry points, found by the naming rule.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "export.hpp"
#include "ymap_types.h"

namespace yfw {

class PathTable;

using Walker = verrno (*)(yfw_map_ctx *, vidl_yfw_datatree *, vidl_yfw_datatree *);

/// A native module whose answers are walked, and the top containers of its that have a root walker.
struct NativeModule {
  std::string name;
  std::string ns;
  std::vector<std::string> tops;
};

/// What the framework must know of a plug-in beyond its code.
struct Registration {
  std::string library;    ///< file name
  std::string on_prefix;  ///< prefix of the on direction's names, up to the OpenConfig module word
  std::string no_prefix;  ///< prefix of the no direction's names
  std::string openconfig_module;
  std::string openconfig_ns;
  std::string top;                           ///< the OpenConfig top container
  std::string list_container;                ///< "amplifiers"
  std::string list;                          ///< "amplifier"
  std::string key;                           ///< "name"
  std::string config;                        ///< "config": what of an entry can be edited
  std::vector<std::string> instances;        ///< hardware: entries are neither created nor deleted
  std::vector<NativeModule> native_modules;  ///< in the order in which their answers are walked
};

/// The registration of the optical amplifier plug-in.
YFW_EXPORT const Registration &optical_amplifier();

class YFW_EXPORT Plugin {
 public:
  /// Loads `file` with dlopen and looks up its roots. Throws std::runtime_error that says what is missing.
  Plugin(const Registration &registration, const std::filesystem::path &file);
  ~Plugin();
  Plugin(const Plugin &) = delete;
  Plugin &operator=(const Plugin &) = delete;

  const Registration &registration() const { return registration_; }
  Walker on_root() const { return on_root_; }
  /// The root walker of a native top container, or nullptr.
  Walker no_root(std::string_view module, std::string_view top) const;
  /// The paths that the plug-in adds; output trees share their names.
  const std::shared_ptr<PathTable> &paths() const { return paths_; }

 private:
  const Registration &registration_;
  void *handle_ = nullptr;
  Walker on_root_ = nullptr;
  std::shared_ptr<PathTable> paths_;
  struct NoRoot {
    std::string module, top;
    Walker walker;
  };
  std::vector<NoRoot> no_roots_;
};

}  // namespace yfw
