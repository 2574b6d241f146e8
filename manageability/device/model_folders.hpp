/// \file
/// Folders of YANG modules as the only places where libyang looks for them.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "libyang_versions.hpp"

namespace device {

class ModelFolders {
 public:
  /// In the order in which they are searched.
  explicit ModelFolders(std::vector<std::filesystem::path> paths) : paths_(std::move(paths)) {}

  /// A new context, the caller's to destroy, that finds modules as NAME.yang or NAME@REVISION.yang in these
  /// folders, which must outlive it. Folders below are not searched: libyang's own search follows links
  /// there, also in circles. nullptr if a folder cannot be read.
  ly_ctx *make_context(libyang::YangLibrary library = libyang::YangLibrary::absent) const;

  /// The file of a module in the first folder that has it, of its newest revision there if `revision` is
  /// nullptr; a path where no file is if there is none.
  std::filesystem::path find(const char *module, const char *revision) const;

  /// What that file holds; nothing if it cannot be read.
  std::optional<std::string> text(const std::string &module, const char *revision = nullptr) const;

 private:
  std::vector<std::filesystem::path> paths_;
};

}  // namespace device
