/// \file
/// The limits of a message, held before a parser spends time and memory on it.
#pragma once

#include <string_view>

namespace ymap {

/// One pass over the tags of `xml`, without a tree: throws RpcError, too-big or malformed-message, where it
/// is beyond the limits of xml_document.hpp, or declares a document type. Other faults are left for the
/// parser.
void check_limits(std::string_view xml);

}  // namespace ymap
