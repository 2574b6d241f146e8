// Modules for libyang by its import callback.
#include "model_folders.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "folder.hpp"
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
  const auto content = static_cast<const ModelFolders *>(folders)->given(whole ? module : submodule,
                                                                         whole ? revision : sub_revision);
  if (!content) return LY_ENOTFOUND;
  auto *copy = new char[content->size() + 1];
  std::copy_n(content->c_str(), content->size() + 1, copy);
  *format = LYS_IN_YANG;
  *text = copy;
  *free_callback = free_text;
  return LY_SUCCESS;
}

DirectoryEntries entries_of(const fs::path &folder) {
  return DirectoryEntries(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

fs::path find_in(const fs::path &folder, const std::string &name, const char *revision) {
  if (revision != nullptr) return folder / (name + "@" + revision + ".yang");
  const std::string prefix = name + "@";
  std::string newest;
  const auto entries = entries_of(folder);
  while (const char *entry = entries.next()) {
    const std::string_view file = entry;
    if (file.starts_with(prefix) && file.ends_with(".yang") && file > newest) newest = file;
  }
  return folder / (newest.empty() ? name + ".yang" : newest);
}

/// Passes over the tokens of a module. Every byte counts: what it saves is a fifth of what it costs libyang
/// to load the module.
class ProseCutter {
 public:
  explicit ProseCutter(std::string_view yang) : yang_(yang) { text_.reserve(yang.size()); }

  std::string cut() {
    while (at_ < yang_.size()) take();
    text_.append(yang_.substr(kept_));
    return std::move(text_);
  }

 private:
  enum Class : uint8_t { word, blank, quote, other };
  static constexpr std::array<Class, 256> kClasses = [] {
    std::array<Class, 256> classes{};
    for (const char c : {' ', '\t', '\r', '\n'}) classes[static_cast<unsigned char>(c)] = blank;
    for (const char c : {'"', '\''}) classes[static_cast<unsigned char>(c)] = quote;
    for (const char c : {';', '{', '}'}) classes[static_cast<unsigned char>(c)] = other;
    return classes;
  }();

  Class class_at(size_t at) const { return kClasses[static_cast<unsigned char>(yang_[at])]; }
  size_t end_of(Class kind, size_t at) const {
    while (at < yang_.size() && class_at(at) == kind) ++at;
    return at;
  }
  size_t end_of(std::string_view mark, size_t at) const {
    const size_t found = yang_.find(mark, at);
    return found == std::string_view::npos ? yang_.size() : found + mark.size();
  }
  size_t end_of_string(size_t begin) const {
    size_t end = begin + 1;
    while (end < yang_.size() && yang_[end] != yang_[begin])
      end += yang_[begin] == '"' && yang_[end] == '\\' ? 2 : 1;
    return std::min(end + 1, yang_.size());
  }

  void leave_out(size_t begin, size_t end) {
    text_.append(yang_.substr(kept_, begin - kept_)).append(" ");
    kept_ = at_ = end;
  }

  void take() {
    const size_t begin = at_;
    switch (class_at(begin)) {
      case quote:
        at_ = end_of_string(begin);
        return;
      case blank:
        at_ = end_of(blank, begin);
        if (at_ - begin > 1) leave_out(begin, at_);
        return;
      case other:
        ++at_;
        return;
      case word:
        break;
    }
    if (yang_[begin] == '/' && yang_.substr(begin).starts_with("//"))
      return leave_out(begin, end_of("\n", begin));
    if (yang_[begin] == '/' && yang_.substr(begin).starts_with("/*"))
      return leave_out(begin, end_of("*/", begin));
    at_ = end_of(word, begin);
    if (is_prose(yang_.substr(begin, at_ - begin))) take_prose(begin);
  }

  static bool is_prose(std::string_view keyword) {
    constexpr std::string_view prose[] = {"description", "reference", "organization", "contact"};
    return std::ranges::find(prose, keyword) != std::end(prose);
  }

  /// With one string and nothing below, as most are; others stay.
  void take_prose(size_t begin) {
    const size_t argument = end_of(blank, at_);
    if (argument == yang_.size() || class_at(argument) != quote) return;
    const size_t end = end_of(blank, end_of_string(argument));
    if (end < yang_.size() && yang_[end] == ';') leave_out(begin, end + 1);
  }

  std::string_view yang_;
  std::string text_;
  size_t kept_ = 0;  ///< up to here the module is in `text_`, or left out of it
  size_t at_ = 0;
};

}  // namespace

std::string without_prose(std::string_view yang) {
  ProseCutter cutter(yang);
  return cutter.cut();
}

ly_ctx *ModelFolders::make_context(libyang::YangLibrary library) const {
  for (const auto &path : paths_) {
    if (!entries_of(path)) return nullptr;
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

std::optional<std::string> ModelFolders::given(const char *module, const char *revision) const {
  auto content = text(module, revision);
  if (content && prose_ == Prose::dropped) content = without_prose(*content);
  if (content) hash_ = text_hash(*content, hash_);
  return content;
}

std::optional<std::string> ModelFolders::text(const std::string &module, const char *revision) const {
  // Not blocking, and of plain files only: anything else might never end.
  const Descriptor input(::open(find(module.c_str(), revision).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (input.get() < 0 || ::fstat(input.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  std::string content(static_cast<size_t>(status.st_size), '\0');
  if (::read(input.get(), content.data(), content.size()) != static_cast<ssize_t>(content.size()))
    return std::nullopt;
  return content;
}

}  // namespace device
