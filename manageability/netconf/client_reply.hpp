/// \file
/// What a NETCONF server answers, in the terms of requests that are run here.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
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

/// The refusal that the children of an <rpc-reply> hold; several are told in the message of the first.
/// Warnings are added to `warnings`, and are no refusal.
std::optional<Fault> read_errors(const Schema &schema, const XmlElements &reply,
                                 std::vector<std::string> &warnings);

}  // namespace ymap::netconf
