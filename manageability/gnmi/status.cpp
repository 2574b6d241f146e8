// Error tags of RFC 6241 and their codes of gRPC.
#include "status.hpp"

#include <algorithm>
#include <iterator>
#include <new>
#include <string_view>

#include "device.hpp"
#include "printable.hpp"

namespace ymap::telemetry {
namespace {

struct Code {
  std::string_view tag;
  grpc::StatusCode code;
};
constexpr Code kCodes[] = {
    {"access-denied", grpc::StatusCode::PERMISSION_DENIED},
    {"bad-attribute", grpc::StatusCode::INVALID_ARGUMENT},
    {"bad-element", grpc::StatusCode::INVALID_ARGUMENT},
    {"data-exists", grpc::StatusCode::ALREADY_EXISTS},
    {"data-missing", grpc::StatusCode::NOT_FOUND},
    {"in-use", grpc::StatusCode::FAILED_PRECONDITION},
    {"invalid-value", grpc::StatusCode::INVALID_ARGUMENT},
    {"lock-denied", grpc::StatusCode::FAILED_PRECONDITION},
    {"malformed-message", grpc::StatusCode::INVALID_ARGUMENT},
    {"missing-attribute", grpc::StatusCode::INVALID_ARGUMENT},
    {"missing-element", grpc::StatusCode::INVALID_ARGUMENT},
    {"operation-not-supported", grpc::StatusCode::UNIMPLEMENTED},
    {"resource-denied", grpc::StatusCode::RESOURCE_EXHAUSTED},
    {"too-big", grpc::StatusCode::RESOURCE_EXHAUSTED},
    {"unknown-attribute", grpc::StatusCode::INVALID_ARGUMENT},
    {"unknown-element", grpc::StatusCode::INVALID_ARGUMENT},
    {"unknown-namespace", grpc::StatusCode::INVALID_ARGUMENT},
};

}  // namespace

grpc::Status status_of(const Fault &fault) {
  const auto *code = std::ranges::find(kCodes, std::string_view(fault.tag), &Code::tag);
  return {code == std::end(kCodes) ? grpc::StatusCode::INTERNAL : code->code,
          printable(fault.path.empty() ? fault.message : fault.path + ": " + fault.message)};
}

grpc::Status status_of(const std::exception &error) {
  if (const auto *refusal = dynamic_cast<const RpcError *>(&error)) return status_of(refusal->fault());
  auto code = grpc::StatusCode::INTERNAL;
  if (const auto *folder = dynamic_cast<const device::FolderError *>(&error)) {
    code = grpc::StatusCode::UNAVAILABLE;
    if (folder->no_room) code = grpc::StatusCode::RESOURCE_EXHAUSTED;
    if (folder->no_rights) code = grpc::StatusCode::PERMISSION_DENIED;
  } else if (dynamic_cast<const UsageError *>(&error) != nullptr) {
    code = grpc::StatusCode::UNAVAILABLE;  // a device elsewhere does not answer
  } else if (dynamic_cast<const std::bad_alloc *>(&error) != nullptr) {
    code = grpc::StatusCode::RESOURCE_EXHAUSTED;
  }
  return {code, printable(error.what())};
}

}  // namespace ymap::telemetry
