/// \file
/// What a NETCONF server answers, in the terms of requests that are run here.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "rpc_error.hpp"
#include "schema.hpp"
#include "session.hpp"
#include "xml_document.hpp"

namespace ymap::netconf {

/// An <rpc-reply> with this one's message-id and elements: their names, and the texts in each <rpc-error> but
/// those of its <error-info>.
std::string bare_reply(const XmlElement &reply);

/// The content of <data> as checked OpenConfig data; what the schema does not take is left out with a
/// warning.
Answer read_data(const Schema &schema, const std::vector<XmlElement> &data);

/// The refusal that the children of an <rpc-reply> hold; several are told in the message of the first.
/// Warnings are added to `warnings`, and are no refusal.
std::optional<Fault> read_errors(const Schema &schema, const std::vector<XmlElement> &reply,
                                 std::vector<std::string> &warnings);

}  // namespace ymap::netconf
