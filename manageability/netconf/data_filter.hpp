/// \file
/// Subtree filtering (RFC 6241, section 6) of data trees by the elements of a message.
#pragma once

#include <string>
#include <string_view>

#include "xml_document.hpp"

struct lyd_node;

namespace ymap::netconf {

/// True if one of the top-level elements of a filter names `node`, so that it selects something of it or
/// below.
bool selects_top(const XmlElements &filter, std::string_view ns, std::string_view name);

/// What `filter` selects of `data` and its siblings, as compact XML; the empty text for nothing.
std::string select(const XmlElements &filter, const lyd_node *data);

}  // namespace ymap::netconf
