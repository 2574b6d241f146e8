/// \file
/// The parameters of the operations on data (RFC 6241, sections 7 and 8.6), whatever models the data is of.
#pragma once

#include <optional>
#include <string>

#include "device.hpp"
#include "rpc_parameters.hpp"
#include "xml_document.hpp"

namespace ymap {

enum class DefaultOperation { merge, replace, none };

// All throw RpcError.

/// The <filter> of a read, which is a subtree filter; nothing if there is none.
std::optional<XmlElement> subtree_filter(const Parameters &parameters);

/// Data is reported as it was set (RFC 6243, section 2.3), which is all that models without defaults need.
void check_with_defaults(const Parameters &parameters);

/// Of <edit-config>. Views of the operation, whose document must live as long.
struct EditParameters {
  /// `path` is that of the element around the operation.
  EditParameters(const XmlElement &operation, const std::string &path, Candidate candidate);

  device::Datastore target = device::Datastore::running;
  DefaultOperation default_operation = DefaultOperation::merge;
  bool test_only = false;
  XmlElement config;
  std::string config_path;
};

/// Of <validate>.
struct ValidateParameters {
  ValidateParameters(const XmlElement &operation, const std::string &path, Candidate candidate);

  device::Datastore source = device::Datastore::running;  ///< where no configuration is given
  std::optional<XmlElement> config;
  std::string config_path;
};

/// Of <commit> (RFC 6241, sections 8.3.4.1 and 8.4.5).
device::Commit parse_commit(const XmlElement &operation, const std::string &path);
/// The persist-id of <cancel-commit>, if there is one (RFC 6241, section 8.4.4.1).
std::optional<std::string> parse_cancel_commit(const XmlElement &operation, const std::string &path);

}  // namespace ymap
