/// \file
/// The YANG modules that clients see: the protocol's, and those of the data that is served.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "announcement.hpp"
#include "device.hpp"
#include "rpc_parameters.hpp"
#include "schema.hpp"

struct lys_module;

namespace ymap::netconf {

/// Data of the catalogue's modules, first sibling. Must not outlive the catalogue.
using device::Tree;

/// The modules that a server publishes, the protocol's among them.
struct PublishedModules {
  device::ModelFolders folders;  ///< where they are found
  /// Has them compiled, once; must outlive what is made of this.
  std::function<const CompiledSchema &()> yang;
  const BuiltInAnnouncement *announcement = nullptr;  ///< of their usual form; null if there is none
  Features features = {};
};

/// The OpenConfig model; `schema` has managed_modules() of these features as companions and must outlive the
/// result.
PublishedModules openconfig_modules(const Schema &schema, const Features &features);

/// The device's own modules, in the folder `models`. Throws UsageError.
PublishedModules device_modules(const std::filesystem::path &models, const Features &features);

class Catalogue {
 public:
  /// Throws UsageError.
  explicit Catalogue(PublishedModules modules);

  /// Of the server's <hello>.
  const std::vector<std::string> &capabilities() const { return capabilities_; }

  // The rest has the schema's modules compiled when it is first asked for, and throws UsageError.

  ly_ctx *context() const { return modules_.yang().context(); }
  /// ietf-netconf-monitoring (RFC 6022).
  const lys_module *monitoring() const;
  /// nc-notifications (RFC 5277); null for a server without.
  const lys_module *streams() const;
  /// In the order in which they were loaded.
  std::vector<const lys_module *> modules() const;

  /// ietf-yang-library's data: yang-library (RFC 8525) and its older form, modules-state (RFC 7895).
  const lyd_node *library() const;
  /// The same in compact XML.
  const std::string &library_text() const;

  /// The text of a module, for <get-schema> (RFC 6022, section 3.1). An empty `version` means any. Throws
  /// RpcError.
  std::string schema(const std::string &identifier, const std::string &version,
                     const std::string &format) const;

 private:
  PublishedModules modules_;
  std::string content_id_;
  std::vector<std::string> capabilities_;
  mutable Tree library_;
  mutable std::string library_text_;
};

}  // namespace ymap::netconf
