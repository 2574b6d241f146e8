/// \file
/// The YANG modules that clients see: the protocol's and the OpenConfig model, not the device's own.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "device.hpp"

struct ly_ctx;
struct lys_module;

namespace ymap::netconf {

/// Data of the catalogue's modules, first sibling. Must not outlive the catalogue.
using device::Tree;

class Catalogue {
 public:
  /// `models` is the folder of our own models, `model` the one to publish. The protocol's modules are looked
  /// for where they are installed, or in the folder that the environment names in YMAP_IETF_MODULES. Throws
  /// UsageError.
  Catalogue(const std::filesystem::path &models, const std::string &model);

  ly_ctx *context() const { return context_.get(); }
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
  struct ContextDeleter {
    void operator()(ly_ctx *context) const;
  };

  void make_library();
  void list_capabilities();

  std::unique_ptr<ly_ctx, ContextDeleter> context_;
  Tree library_;
  std::string content_id_;
  std::vector<std::string> capabilities_;
};

}  // namespace ymap::netconf
