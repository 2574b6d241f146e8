/// \file
/// XML from outside before libyang sees it: limited, and freed of what libyang fails on.
#pragma once

#include <string>
#include <string_view>

namespace ymap {

/// Stands for "no namespace" in texts for libyang, which crashes on two siblings of one name without any.
inline constexpr std::string_view kNoNamespace = "urn:ymap:no-namespace";

/// Namespace of an element that is put around text in front of elements. Not all versions of libyang take
/// such text, and to whom it is a fault, and with which words, those say who know the place.
inline constexpr std::string_view kLeadingText = "urn:ymap:leading-text";

/// `xml` as libyang can take it: within the limits of xml_document.hpp; without comments and processing
/// instructions, which it takes for an error in front of a value; with kNoNamespace declared as default
/// namespace where that is none; and with kLeadingText. Throws RpcError: too-big; bad-element for text behind
/// elements, which libyang calls not well-formed; malformed-message, also for what libyang would let pass
/// (blanks in front of names, none between attributes, "]]>" in texts). Other faults of the text are left for
/// the parser.
std::string prepared_xml(std::string_view xml);

/// Refuses a message: a malformed-message, of type rpc, with that text; or one that says it is no XML.
[[noreturn]] void malformed(const std::string &reason);
[[noreturn]] void not_well_formed(const std::string &reason);

}  // namespace ymap
