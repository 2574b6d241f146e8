/// \file
/// The YANG modules that clients see: the protocol's and the OpenConfig model, not the device's own.
#pragma once

#include <string>
#include <vector>

#include "device.hpp"
#include "schema.hpp"

struct lys_module;

namespace ymap::netconf {

/// Data of the catalogue's modules, first sibling. Must not outlive the catalogue.
using device::Tree;

class Catalogue {
 public:
  /// `schema` has the protocol's modules as companions and must outlive the object. Throws UsageError.
  explicit Catalogue(const Schema &schema);

  /// Of the server's <hello>.
  const std::vector<std::string> &capabilities() const { return capabilities_; }

  // The rest has the schema's modules compiled when it is first asked for, and throws UsageError.

  ly_ctx *context() const { return schema_.yang().context(); }
  /// ietf-netconf-monitoring (RFC 6022).
  const lys_module *monitoring() const;
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
  const Schema &schema_;
  std::string content_id_;
  std::vector<std::string> capabilities_;
  mutable Tree library_;
  mutable std::string library_text_;
};

}  // namespace ymap::netconf
