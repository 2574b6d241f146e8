/// \file
/// Refused requests.
#pragma once

#include <string>
#include <string_view>

#include "rpc_error.hpp"

namespace ymap::telemetry {

/// Throws RpcError with a tag of RFC 6241, appendix A, from which the call's status is made.
[[noreturn]] inline void refuse(std::string_view tag, const std::string &message,
                                const std::string &path = {}) {
  throw RpcError({.tag = std::string(tag), .message = message, .path = path});
}

/// The most frequent one: a value that cannot be taken, of a leaf or of a field of the request.
[[noreturn]] inline void refuse_value(const std::string &message, const std::string &path = {}) {
  refuse("invalid-value", message, path);
}

}  // namespace ymap::telemetry
