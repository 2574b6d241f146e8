// Loads a plug-in and looks up what it exports.
#include "plugin.hpp"

#include <dlfcn.h>
#include <link.h>

#include <cctype>
#include <stdexcept>
#include <utility>

#include "datatree.hpp"
#include "path_table.hpp"

namespace yfw {
namespace {

/// A module or node name as it stands in an entry point's name: lower case, without hyphens.
std::string word(const std::string &name) {
  std::string result;
  for (const char c : name) {
    if (c != '-') result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return result;
}

std::string root_name(const std::string &prefix, const std::string &module, const std::string &top) {
  return prefix + word(module) + "_lvla_" + word(top);
}

Walker find_root(void *handle, const std::filesystem::path &file, const std::string &name) {
  void *symbol = dlsym(handle, name.c_str());
  if (symbol == nullptr) {
    throw std::runtime_error("mapping plug-in " + file.string() + " has no entry point " + name +
                             "; it was built for other models");
  }
  return reinterpret_cast<Walker>(symbol);
}

/// The part of a loaded library that is not written to: its segments before the first writable one.
struct ConstantData {
  ElfW(Addr) base;
  const char *begin = nullptr;
  const char *end = nullptr;
};

int note_constant_data(dl_phdr_info *info, std::size_t, void *result) {
  auto &data = *static_cast<ConstantData *>(result);
  if (info->dlpi_addr != data.base) return 0;
  for (const ElfW(Phdr) *segment = info->dlpi_phdr; segment != info->dlpi_phdr + info->dlpi_phnum;
       ++segment) {
    if (segment->p_type != PT_LOAD) continue;
    if ((segment->p_flags & PF_W) != 0) break;
    const char *begin = reinterpret_cast<const char *>(info->dlpi_addr + segment->p_vaddr);
    if (data.begin == nullptr) data.begin = begin;
    data.end = begin + segment->p_memsz;
  }
  return 1;
}

std::shared_ptr<PathTable> make_paths(void *handle) {
  const link_map *map = nullptr;
  ConstantData data{};
  if (dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0) {
    data.base = map->l_addr;
    dl_iterate_phdr(note_constant_data, &data);
  }
  return std::make_shared<PathTable>(data.begin, data.end);
}

/// Closes the library again when the constructor throws.
struct Library {
  void *handle;
  ~Library() {
    if (handle != nullptr) dlclose(handle);
  }
};

}  // namespace

Plugin::Plugin(const Registration &registration, const std::filesystem::path &file)
    : registration_(registration) {
  // The first tree that dies has the thread empty its store at its end. The C library ends the process where
  // it has no memory to note that, so it is done before there is anything to lose.
  static_cast<void>(Datatree());
  // Without a slash dlopen would search the system's folders instead.
  Library library{dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL)};
  if (library.handle == nullptr) {
    const char *reason = dlerror();
    throw std::runtime_error("cannot load the mapping plug-in " + file.string() + ": " +
                             (reason == nullptr ? "unknown reason" : reason));
  }
  on_root_ = find_root(library.handle, file,
                       root_name(registration.on_prefix, registration.openconfig_module, registration.top));
  for (const NativeModule &module : registration.native_modules) {
    for (const std::string &top : module.tops) {
      no_roots_.push_back(
          {module.name, top,
           find_root(library.handle, file, root_name(registration.no_prefix, module.name, top))});
    }
  }
  paths_ = make_paths(library.handle);
  handle_ = std::exchange(library.handle, nullptr);
}

Plugin::~Plugin() {
  dlclose(handle_);
}

Walker Plugin::no_root(std::string_view module, std::string_view top) const {
  for (const NoRoot &root : no_roots_) {
    if (root.module == module && root.top == top) return root.walker;
  }
  return nullptr;
}

}  // namespace yfw
