/// \file
/// Refusals of the device that no mapping stands before.
#pragma once

#include "mapper.hpp"
#include "rpc_error.hpp"

namespace ymap {

/// The same as an error of NETCONF; its path is the device's own.
inline RpcError native_fault(const yfw::NativeRefusal &refusal) {
  Fault fault = {.tag = refusal.error_tag, .message = refusal.what(), .path = refusal.path.value_or("")};
  if (!refusal.type.empty()) fault.type = refusal.type;
  if (fault.tag == "in-use") fault = {.type = "protocol", .tag = fault.tag, .message = fault.message};
  fault.session_id = refusal.session_id;
  return RpcError(std::move(fault));
}

/// Does `work`, and throws RpcError where that throws yfw::NativeRefusal.
template <typename Work>
auto as_rpc_error(const Work &work) {
  try {
    return work();
  } catch (const yfw::NativeRefusal &refusal) {
    throw native_fault(refusal);
  }
}

}  // namespace ymap
