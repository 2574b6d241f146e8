// Devices by their names on the command line.
#include "devices.hpp"

#include <chrono>
#include <filesystem>
#include <string_view>
#include <utility>

#include "native_service.hpp"
#include "openconfig_service.hpp"
#include "protocol_modules.hpp"
#include "remote_device.hpp"
#include "remote_sessions.hpp"
#include "rpc_error.hpp"
#include "server.hpp"

namespace ymap {
namespace {

/// Commands that run nothing on the device take no folder, so that none is made for them.
bool needs_device(Options::Command command) {
  return command != Options::Command::translate && command != Options::Command::map &&
         command != Options::Command::completion;
}

constexpr std::string_view kSsh = "ssh://";

}  // namespace

bool is_remote(const Options &options) {
  return options.device.starts_with(kSsh);
}

netconf::ServerAddress address_of(const std::string &destination, const Options &options) {
  const std::chrono::duration<double> patience(options.timeout);
  return {netconf::parse_destination(destination), std::chrono::ceil<std::chrono::milliseconds>(patience),
          options.verbose ? netconf::MessageLog::texts_too
          : options.trace ? netconf::MessageLog::sizes_and_times
                          : netconf::MessageLog::nothing};
}

NamedDevice named_device(const Options &options, const Parts &parts) {
  if (is_remote(options)) {
    auto remote = std::make_unique<netconf::RemoteDevice>(
        address_of(options.device.substr(kSsh.size()), options), parts.models);
    auto &device = *remote;
    return {std::move(remote),
            [&device](const netconf::Peer &peer) {
              return std::make_unique<netconf::RemoteSessions>(device, peer);
            },
            {}};
  }
  std::filesystem::path folder;
  if (needs_device(options.command) || !options.device.empty()) folder = device_folder(options.device);
  auto emulated = std::make_unique<FolderDevice>(folder, parts.models);
  auto &device = *emulated;
  return {
      std::move(emulated),
      [folder](const netconf::Peer &peer) { return std::make_unique<netconf::FolderSessions>(folder, peer); },
      [&device](uint32_t session) { device.act_for(session); }};
}

Companions companions_of(const Options &options) {
  if (options.command != Options::Command::netconf) return {};
  return netconf::managed_modules(netconf::managed_features(!is_remote(options)));
}

void serve(Session &session, const NamedDevice &device) {
  netconf::OpenConfigService data(session, device.act_for);
  netconf::serve({data, netconf::openconfig_modules(session.schema(), data.features()), device.enter});
}

void serve_native(const Options &options) {
  if (is_remote(options))
    throw UsageError("--native serves the emulated device; a device elsewhere serves its models itself");
  const auto folder = device_folder(options.device);
  const auto models = find_parts().models;
  const auto candidate = options.candidate ? Candidate::present : Candidate::absent;
  netconf::NativeService data(folder, models, candidate, {options.records_reads, options.record_is_required});
  netconf::serve({data, netconf::device_modules(models, data.features()), [&](const netconf::Peer &peer) {
                    return std::make_unique<netconf::FolderSessions>(folder, peer);
                  }});
}

}  // namespace ymap
