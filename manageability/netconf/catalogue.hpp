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
  /// Of the context of `schema`, which holds the protocol's modules too and must outlive the object. Throws
  /// UsageError.
  explicit Catalogue(const Schema &schema);

  ly_ctx *context() const { return schema_.context(); }
  /// In the order in which they were loaded.
  std::vector<const lys_module *> modules() const;

  /// Of the server's <hello>.
  const std::vector<std::string> &capabilities() const { return capabilities_; }

  /// ietf-yang-library's data: yang-library (RFC 8525) and its older form, modules-state (RFC 7895).
  const lyd_node *library() const { return library_.get(); }

  /// The text of a module, for <get-schema> (RFC 6022, section 3.1). An empty `version` means any. Throws
  /// RpcError.
  std::string schema(const std::string &identifier, const std::string &version,
                     const std::string &format) const;

 private:
  void make_library();
  void list_capabilities();

  const Schema &schema_;
  Tree library_;
  std::string content_id_;
  std::vector<std::string> capabilities_;
};

}  // namespace ymap::netconf
