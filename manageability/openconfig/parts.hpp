/// \file
/// Where the tool finds the other parts of the installation, and the user's device.
#pragma once

#include <filesystem>

namespace ymap {

struct Parts {
  std::filesystem::path plugin;  ///< library file; environment YMAP_PLUGIN
  std::filesystem::path models;  ///< folder of the YANG modules; environment YMAP_MODELS
};

/// The parts beside the running executable; the build tree is laid out like an installation. Throws
/// UsageError.
Parts find_parts();

/// A program of the tool that is no command of users. Throws UsageError where it is not installed.
std::filesystem::path find_program(const char *name);

/// The folder `named`, which must exist; if that is empty the user's own, which is made. Throws UsageError.
std::filesystem::path device_folder(const std::filesystem::path &named);

}  // namespace ymap
