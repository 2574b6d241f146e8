/// \file
/// A folder of YANG modules as the only place where libyang looks for them.
#pragma once

#include <filesystem>

struct ly_ctx;

namespace device {

class ModelFolder {
 public:
  explicit ModelFolder(std::filesystem::path path) : path_(std::move(path)) {}

  /// A new context, the caller's to destroy, that finds modules as NAME.yang or NAME@REVISION.yang in this
  /// folder, which must outlive it. Folders below are not searched: libyang's own search follows links there,
  /// also in circles. nullptr if the folder cannot be read.
  ly_ctx *make_context() const;

  const std::filesystem::path &path() const { return path_; }
  /// The file of a module, of its newest revision if `revision` is nullptr; empty if there is none.
  std::filesystem::path find(const char *module, const char *revision) const;

 private:
  std::filesystem::path path_;
};

}  // namespace device
