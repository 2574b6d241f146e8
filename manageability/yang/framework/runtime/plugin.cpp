#include "plugin.hpp"

#include <dlfcn.h>

#include <cctype>
#include <stdexcept>
#include <utility>

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
  handle_ = std::exchange(library.handle, nullptr);
}

Plugin::~Plugin() {
  dlclose(handle_);
}

Walker Plugin::no_root(const std::string &module, const std::string &top) const {
  for (const NoRoot &root : no_roots_) {
    if (root.module == module && root.top == top) return root.walker;
  }
  return nullptr;
}

}  // namespace yfw
