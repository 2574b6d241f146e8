/// \file
/// Refusals and failures as gRPC has them.
#pragma once

#include <grpcpp/support/status.h>

#include <exception>

#include "rpc_error.hpp"

namespace ymap::telemetry {

/// The message says where it was, and why.
grpc::Status status_of(const Fault &fault);
/// Of whatever was thrown while a request was served.
grpc::Status status_of(const std::exception &error);

}  // namespace ymap::telemetry
