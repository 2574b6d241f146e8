/// \file
/// The device that a command works on, here or elsewhere, and how it is served.
#pragma once

#include <functional>
#include <memory>

#include "client_session.hpp"
#include "native_datastore.hpp"
#include "options.hpp"
#include "parts.hpp"
#include "session.hpp"
#include "session_control.hpp"

namespace ymap {

/// True for "ssh://...".
bool is_remote(const Options &options);

/// A server that the command line names. Throws UsageError.
netconf::ServerAddress address_of(const std::string &destination, const Options &options);

/// The device that the options name, for the plug-in to work on.
struct NamedDevice {
  std::unique_ptr<NativeDevice> device;
  /// Makes a session of a server one of the device's; the device must outlive it.
  std::function<std::unique_ptr<netconf::SessionControl>(const netconf::Peer &peer)> enter;
  std::function<void(uint32_t session)> act_for;  ///< tells the device whose requests come; may be empty
};

/// A folder must be there; the user's own is made, if the command needs a device. Throws UsageError.
NamedDevice named_device(const Options &options, const Parts &parts);

/// What the command needs beside the OpenConfig module. Throws UsageError.
Companions companions_of(const Options &options);

/// Serves one NETCONF session: OpenConfig for the device behind, or the emulated device's own models. Throw
/// as netconf::serve().
void serve(Session &session, const NamedDevice &device);
void serve_native(const Options &options);

}  // namespace ymap
