/// \file
/// Where the server listens, and with which certificates.
#pragma once

#include <grpcpp/security/server_credentials.h>

#include <memory>
#include <string>

#include "options.hpp"

namespace ymap::telemetry {

/// What gRPC takes for it. Throws UsageError where it is no "ADDRESS:PORT" or "unix:PATH".
std::string listening_address(const std::string &listen);

/// Only this machine gets there.
bool is_local(const std::string &address);

/// Throws UsageError: files that cannot be read, a key that is another certificate's.
void check_certificates(const Options &options);

/// By the options; certificates are read again when their files change.
std::shared_ptr<grpc::ServerCredentials> credentials_of(const Options &options);

}  // namespace ymap::telemetry
