/// \file
/// A NETCONF session on standard input and output.
#pragma once

#include <functional>
#include <memory>

#include "catalogue.hpp"
#include "data_service.hpp"
#include "session_control.hpp"

namespace ymap::netconf {

/// What a session is served with.
struct Service {
  DataService &data;
  PublishedModules modules;
  /// Makes the session one among those of the device.
  std::function<std::unique_ptr<SessionControl>(const Peer &peer)> enter;
};

/// Serves one session until it is closed or its client is gone; OpenSSH's server runs a process for each.
/// Throws UsageError, device::FolderError, and TransportError, FramingError or SessionKilled where the
/// session did not end in order.
void serve(const Service &service);

}  // namespace ymap::netconf
