// The protocol's modules and the features of them that are supported.
#include "protocol_modules.hpp"

#include <libyang/libyang.h>

#include <array>
#include <cstdlib>
#include <string>

#include "rpc_error.hpp"

namespace ymap::netconf {

std::filesystem::path protocol_module_folder() {
  const char *named = std::getenv("YMAP_IETF_MODULES");
  std::filesystem::path folder = named == nullptr || *named == '\0' ? YMAP_IETF_MODULES : named;
  std::error_code error;
  if (std::filesystem::is_directory(folder, error)) return folder;
  throw UsageError("folder of IETF modules " + folder.string() +
                   " does not exist; install the package libyuma-base or name it in YMAP_IETF_MODULES");
}

ly_ctx *make_context(std::initializer_list<std::filesystem::path> folders) {
  ly_ctx *context = nullptr;
  if (ly_ctx_new(nullptr, LY_CTX_DISABLE_SEARCHDIR_CWD, &context) != LY_SUCCESS) throw std::bad_alloc();
  for (const auto &folder : folders) {
    if (ly_ctx_set_searchdir(context, folder.c_str()) == LY_SUCCESS) continue;
    ly_ctx_destroy(context);
    throw UsageError("the folder of YANG modules " + folder.string() + " cannot be read");
  }
  return context;
}

void load_module(ly_ctx *context, const char *name, const char **features) {
  if (ly_ctx_load_module(context, name, nullptr, features) != nullptr) return;
  const char *reason = ly_errmsg(context);
  throw UsageError("YANG module " + std::string(name) +
                   " cannot be loaded: " + (reason == nullptr ? "no reason given" : reason));
}

void load_protocol_modules(ly_ctx *context) {
  std::array<const char *, 4> features = {"writable-running", "rollback-on-error", "validate", nullptr};
  load_module(context, "ietf-netconf", features.data());
  load_module(context, "ietf-netconf-monitoring");
  load_module(context, "ietf-netconf-with-defaults");
}

}  // namespace ymap::netconf
