// Finds the protocol's modules.
#include "protocol_modules.hpp"

#include <filesystem>
#include <system_error>
#include <utility>

#include "access_rules.hpp"
#include "rpc_error.hpp"
#include "yang.hpp"

namespace ymap::netconf {

Companions protocol_modules(const Features &offered) {
  const auto folder = ietf_models();
  std::error_code error;
  if (!std::filesystem::is_directory(folder, error))
    throw UsageError("folder of IETF modules " + folder.string() +
                     " does not exist; install the package libyuma-base or name it in YMAP_IETF_MODULES");
  std::vector<const char *> features = {"writable-running", "rollback-on-error", "validate"};
  if (offered.candidate == Candidate::present) features.push_back("candidate");
  if (offered.confirmed_commit) features.push_back("confirmed-commit");
  return {
      folder,
      {{"ietf-netconf", std::move(features)}, {"ietf-netconf-monitoring"}, {"ietf-netconf-with-defaults"}}};
}

Features managed_features(bool is_near) {
  if (!is_near) return {};
  return {.candidate = Candidate::present, .confirmed_commit = true, .notifications = true};
}

Companions managed_modules(const Features &features) {
  auto companions = protocol_modules(features);
  companions.modules.push_back({kAccessModule.data()});
  if (features.notifications)
    for (const std::string_view name : {kProtocolModules[3].name, kStreamModule.name, kEventModule.name})
      companions.modules.push_back({name.data()});
  return companions;
}

std::vector<std::string> native_modules() {
  std::vector<std::string> names;
  for (const auto &module : device::kNativeModules) names.emplace_back(module.name);
  return names;
}

}  // namespace ymap::netconf
