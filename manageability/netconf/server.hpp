/// \file
/// A NETCONF session on standard input and output.
#pragma once

#include <filesystem>

#include "session.hpp"

namespace ymap::netconf {

/// Serves one session until it is closed or its client is gone; OpenSSH's server runs a process for each.
/// `folder` is the device's, which `requests` work on; their schema has the companions protocol_modules().
/// Throws UsageError, device::FolderError, and TransportError, FramingError or SessionKilled where the
/// session did not end in order.
void serve(Session &requests, const std::filesystem::path &folder);

}  // namespace ymap::netconf
