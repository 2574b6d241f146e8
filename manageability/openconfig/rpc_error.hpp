/// \file
/// NETCONF's namespace, and what an <rpc-error> says (RFC 6241, section 4.3).
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace ymap {

/// Namespace of the protocol's own elements and attributes.
inline constexpr std::string_view kNetconfNs = "urn:ietf:params:xml:ns:netconf:base:1.0";

/// One rpc-error. `path` is an instance path whose first step carries its module name and whose list entries
/// carry their keys: "/openconfig-optical-amplifier:optical-amplifier/amplifiers/amplifier[name='x']/config".
/// Elements of the protocol itself are of module "ietf-netconf". Empty texts are left out of the reply.
struct Fault {
  std::string type = "application";  ///< layer: rpc, protocol or application
  std::string tag = {};              ///< RFC 6241, appendix A
  std::string message = {};
  std::string path = {};
  std::string bad_attribute = {};
  std::string bad_element = {};
  std::string bad_namespace = {};
  std::string app_tag = {};
  uint32_t session_id = 0;  ///< of the session that holds a lock; 0 for none
};

/// A refused request: nothing was stored.
class RpcError : public std::runtime_error {
 public:
  /// Texts that are far longer than what a reader would take in are cut, for they repeat what was refused.
  explicit RpcError(Fault fault);
  const Fault &fault() const { return fault_; }

 private:
  Fault fault_;
};

/// Wrong usage of the tool, or a part of the installation that is missing or broken.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace ymap
