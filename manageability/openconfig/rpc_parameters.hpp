/// \file
/// The parameters of a protocol operation, checked one by one.
#pragma once

#include <array>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>

#include "rpc_error.hpp"
#include "sessions.hpp"
#include "xml_document.hpp"

namespace ymap {

/// A module that elements of an <rpc> are of, data apart.
struct ProtocolModule {
  std::string_view name, prefix, ns;
};
inline constexpr std::array<ProtocolModule, 6> kProtocolModules = {{
    {"ietf-netconf", "nc", kNetconfNs},
    {"ietf-netconf-monitoring", "ncm", "urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"},
    {"ietf-netconf-with-defaults", "ncwd", "urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults"},
    {"notifications", "ncEvent", "urn:ietf:params:xml:ns:netconf:notification:1.0"},
    {"nc-notifications", "manageEvent", "urn:ietf:params:xml:ns:netmod:notification"},
    {"ietf-netconf-notifications", "ncn", "urn:ietf:params:xml:ns:yang:ietf-netconf-notifications"},
}};
/// Of the base protocol, first step of the paths of its elements.
inline constexpr std::string_view kProtocolModule = kProtocolModules[0].name;
inline constexpr std::string_view kMonitoringNs = kProtocolModules[1].ns;
inline constexpr std::string_view kWithDefaultsNs = kProtocolModules[2].ns;
inline constexpr std::string_view kNotificationNs = kProtocolModules[3].ns;
/// Of what a server tells of its streams, and of their course; and of the base protocol's events.
inline constexpr ProtocolModule kStreamModule = kProtocolModules[4];
inline constexpr ProtocolModule kEventModule = kProtocolModules[5];

/// Whether there is a candidate datastore beside the running one.
enum class Candidate { absent, present };

/// What a server may lack.
struct Features {
  Candidate candidate = Candidate::absent;
  bool confirmed_commit = false;  ///< needs a candidate
  bool notifications = false;
  bool operator==(const Features &) const = default;
};

/// Throws RpcError: a fault of the layer "protocol" unless said otherwise.
[[noreturn]] void refuse(const char *tag, const std::string &message, const std::string &path,
                         std::string_view element = {}, const std::string &type = "protocol");
[[noreturn]] void not_supported(const std::string &what, const std::string &path);

/// Throws RpcError where the element, a child of the one at `path`, is of another namespace than `ns`.
void check_namespace(const XmlElement &element, std::string_view ns, const std::string &path);

/// The parameters of an operation, each of which may stand once. All functions throw RpcError.
class Parameters {
 public:
  /// `path` is that of the element around the operation; `allowed` names every parameter that it may have. Of
  /// these only <filter> and <config> may carry attributes, which are for the caller to check.
  Parameters(const XmlElement &operation, const std::string &path,
             std::initializer_list<std::string_view> allowed);

  /// nullptr where it is not given.
  const XmlElement *find(const std::string &name) const;
  const XmlElement &require(const std::string &name) const;

  /// Of a parameter that is a leaf, without white space around it; empty where it is not given.
  std::string_view text(const std::string &name) const;
  /// The word that stands in `name`, or `otherwise`; must be one of `words`.
  std::string_view word(const std::string &name, std::initializer_list<std::string_view> words,
                        std::string_view otherwise) const;

  /// The datastore that <source> or <target> names, one that there is.
  device::Datastore datastore(const std::string &name, Candidate candidate) const;

  /// Of the operation.
  const std::string &path() const { return path_; }
  std::string path_of(const std::string &name) const;

 private:
  void check_parameter(const XmlElement &parameter, std::initializer_list<std::string_view> allowed) const;

  std::string_view ns_;  ///< of the operation
  std::string path_;
  std::map<std::string, XmlElement, std::less<>> found_;
};

}  // namespace ymap
