// Modules for libyang by its import callback.
#include "model_folders.hpp"

#include <dirent.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "libyang_versions.hpp"

namespace device {

namespace {

namespace fs = std::filesystem;

void free_text(void *text, void * /*folders*/) {
  delete[] static_cast<char *>(text);
}

LY_ERR give_module(const char *module, const char *revision, const char *submodule, const char *sub_revision,
                   void *folders, LYS_INFORMAT *format, const char **text,
                   ly_module_imp_data_free_clb *free_callback) {
  const bool whole = submodule == nullptr;
  const auto content = static_cast<const ModelFolders *>(folders)->text(whole ? module : submodule,
                                                                        whole ? revision : sub_revision);
  if (!content) return LY_ENOTFOUND;
  auto *copy = new char[content->size() + 1];
  std::copy_n(content->c_str(), content->size() + 1, copy);
  *format = LYS_IN_YANG;
  *text = copy;
  *free_callback = free_text;
  return LY_SUCCESS;
}

/// By the system's own call: a path for each of a hundred files costs more than to read a module.
fs::path find_in(const fs::path &folder, const std::string &name, const char *revision) {
  if (revision != nullptr) return folder / (name + "@" + revision + ".yang");
  const std::string prefix = name + "@";
  std::string newest;
  const std::unique_ptr<DIR, int (*)(DIR *)> entries(::opendir(folder.c_str()), &::closedir);
  while (const dirent *entry = entries == nullptr ? nullptr : ::readdir(entries.get())) {
    const std::string_view file = entry->d_name;
    if (file.starts_with(prefix) && file.ends_with(".yang") && file > newest) newest = file;
  }
  return folder / (newest.empty() ? name + ".yang" : newest);
}

}  // namespace

ly_ctx *ModelFolders::make_context(libyang::YangLibrary library) const {
  for (const auto &path : paths_) {
    std::error_code error;
    const fs::directory_iterator readable(path, error);
    if (error) return nullptr;
  }
  ly_ctx *context = nullptr;
  if (libyang::new_context(&context, library) != LY_SUCCESS) return nullptr;
  // The callback's data is not const in C; it only reads.
  ly_ctx_set_module_imp_clb(context, give_module, const_cast<ModelFolders *>(this));
  return context;
}

fs::path ModelFolders::find(const char *module, const char *revision) const {
  fs::path found;
  for (const auto &path : paths_) {
    found = find_in(path, module, revision);
    std::error_code error;
    if (fs::exists(found, error)) break;
  }
  return found;
}

std::optional<std::string> ModelFolders::text(const std::string &module, const char *revision) const {
  const auto file = find(module.c_str(), revision);
  std::error_code error;
  // Anything else might never end.
  if (!fs::is_regular_file(file, error)) return std::nullopt;
  std::ifstream input(file, std::ios::binary);
  std::string content(fs::file_size(file, error), '\0');
  if (error || !input.read(content.data(), static_cast<std::streamsize>(content.size()))) return std::nullopt;
  return content;
}

}  // namespace device
