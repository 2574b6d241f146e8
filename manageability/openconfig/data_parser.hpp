/// \file
/// Data of a NETCONF request, in XML, checked against the schema and turned into a data tree.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "datatree.hpp"
#include "operation_parameters.hpp"
#include "rpc_error.hpp"
#include "schema.hpp"
#include "xml_document.hpp"

namespace ymap {

/// Adds the edit that stands in the element `around` below the root of `tree`; `where` is the path of
/// `around`. By default operation "none" only what has an effect is added, and `stated` is set to all that
/// the edit says, as a merge. Keys are taken as they stand. Throws RpcError.
void parse_edit(const Schema &schema, const XmlElement &around, const std::string &where,
                DefaultOperation operation, yfw::Datatree &tree, std::optional<yfw::Datatree> &stated);

/// Adds the subtree filter (RFC 6241, section 6) that stands in `around`. False: no data can match it. Throws
/// RpcError.
bool parse_filter(const Schema &schema, const XmlElement &around, const std::string &where,
                  yfw::Datatree &tree);

/// The value of `leaf` as the plug-in takes it. Throws RpcError: invalid-value at `path`.
std::string checked_value(const Schema &schema, const SchemaNode *leaf, std::string_view value,
                          const std::string &path);

/// For the element `name` at `path`, which ends with it.
RpcError unknown_element(const std::string &path, std::string_view name);

}  // namespace ymap
