// Finds the protocol's modules.
#include "protocol_modules.hpp"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "rpc_error.hpp"

namespace ymap::netconf {

Companions protocol_modules() {
  const char *named = std::getenv("YMAP_IETF_MODULES");
  const std::filesystem::path folder = named == nullptr || *named == '\0' ? YMAP_IETF_MODULES : named;
  std::error_code error;
  if (!std::filesystem::is_directory(folder, error))
    throw UsageError("folder of IETF modules " + folder.string() +
                     " does not exist; install the package libyuma-base or name it in YMAP_IETF_MODULES");
  return {folder,
          {{"ietf-netconf", {"writable-running", "rollback-on-error", "validate"}},
           {"ietf-netconf-monitoring"},
           {"ietf-netconf-with-defaults"}}};
}

}  // namespace ymap::netconf
