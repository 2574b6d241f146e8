/// \file
/// What a NETCONF server answers, in the terms of requests that are run here.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "rpc_error.hpp"
#include "schema.hpp"
#include "session.hpp"
#include "xml_document.hpp"

namespace ymap::netconf {

/// Throws BadMessage unless `reply` is an <rpc-reply> to the request `id` that is made as RFC 6241, section
/// 4.2, has it: <ok/>, or data of the operation; with errors before it, or in its place. Warnings may stand
/// beside <ok/> too, as some servers have it.
void check_reply(const XmlElement &reply, uint64_t id);

/// The content of <data> as checked OpenConfig data; what the schema does not take is left out with a
/// warning.
Answer read_data(const Schema &schema, const XmlElements &data);

/// <data> among the children of an <rpc-reply>; nothing if there is none.
std::optional<XmlElement> data_of(const XmlElements &reply);

/// Makes of an <error-path> the path that a fault has.
using PathReader = std::function<std::string(std::string_view xpath)>;

/// The refusal that the children of an <rpc-reply> hold; several are told in the message of the first.
/// Warnings are added to `warnings`, and are no refusal.
std::optional<Fault> read_errors(const XmlElements &reply, std::vector<std::string> &warnings,
                                 const PathReader &read_path);

// An XPath has a prefix before each name (RFC 6241, section 4.3), an instance path, as faults have it, the
// module's name where it changes. What the prefixes stand for is not looked up: servers write a module's own
// prefix or its name. A path with others stays as it is.

/// `schema` must outlive the result.
PathReader openconfig_paths(const Schema &schema);
/// Of the device's own modules.
std::string native_path(std::string_view xpath);

}  // namespace ymap::netconf
