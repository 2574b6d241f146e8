/// \file
/// Folders of YANG modules as the only places where libyang looks for them.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hash.hpp"
#include "libyang_versions.hpp"

namespace device {

/// A module without comments, descriptions and references: half of its text, and a quarter of what it costs
/// to load.
std::string without_prose(std::string_view yang);

class ModelFolders {
 public:
  /// Whether modules are loaded as they are written, or without_prose() where nobody will read them.
  enum class Prose { kept, dropped };

  /// In the order in which they are searched.
  explicit ModelFolders(std::vector<std::filesystem::path> paths, Prose prose = Prose::kept)
      : paths_(std::move(paths)), prose_(prose) {}

  /// A new context, the caller's to destroy, that finds modules as NAME.yang or NAME@REVISION.yang in these
  /// folders, which must outlive it. Folders below are not searched: libyang's own search follows links
  /// there, also in circles. nullptr if a folder cannot be read.
  ly_ctx *make_context(libyang::YangLibrary library = libyang::YangLibrary::absent) const;

  /// The file of a module in the first folder that has it, of its newest revision there if `revision` is
  /// nullptr; a path where no file is if there is none.
  std::filesystem::path find(const char *module, const char *revision) const;

  /// What that file holds; nothing if it cannot be read.
  std::optional<std::string> text(const std::string &module, const char *revision = nullptr) const;

  /// A module's text as it is given to libyang; nothing if there is none.
  std::optional<std::string> given(const char *module, const char *revision) const;
  /// The hash of all that was given.
  uint64_t hash_of_given() const { return hash_; }

 private:
  std::vector<std::filesystem::path> paths_;
  Prose prose_;
  mutable uint64_t hash_ = kHashOfNothing;
};

}  // namespace device
