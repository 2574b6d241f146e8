// Finds the protocol's modules.
#include "protocol_modules.hpp"

#include <filesystem>
#include <system_error>
#include <utility>

#include "access_rules.hpp"
#include "rpc_error.hpp"
#include "yang.hpp"

namespace ymap::netconf {

Companions protocol_modules(Candidate candidate) {
  const auto folder = ietf_models();
  std::error_code error;
  if (!std::filesystem::is_directory(folder, error))
    throw UsageError("folder of IETF modules " + folder.string() +
                     " does not exist; install the package libyuma-base or name it in YMAP_IETF_MODULES");
  std::vector<const char *> features = {"writable-running", "rollback-on-error", "validate"};
  if (candidate == Candidate::present) features.push_back("candidate");
  return {
      folder,
      {{"ietf-netconf", std::move(features)}, {"ietf-netconf-monitoring"}, {"ietf-netconf-with-defaults"}}};
}

Companions managed_modules() {
  auto companions = protocol_modules();
  companions.modules.push_back({kAccessModule.data()});
  return companions;
}

std::vector<std::string> native_modules() {
  std::vector<std::string> names;
  for (const auto &module : device::kNativeModules) names.emplace_back(module.name);
  return names;
}

}  // namespace ymap::netconf
