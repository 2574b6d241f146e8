/// \file
/// What the tool writes in XML: replies (RFC 6241, section 4) and native requests.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "datatree.hpp"
#include "openconfig_request.hpp"
#include "rpc_error.hpp"
#include "session.hpp"
#include "xml_writer.hpp"

namespace ymap {

/// What the <rpc-reply> to a request that was done holds.
struct ReplyContent {
  enum class Kind { ok, elements, text };
  Kind kind = Kind::ok;                   ///< <ok/>, or what <data> is filled with
  std::string data = {};                  ///< elements as XML in the layout of the reply, or plain text
  std::string_view data_ns = kNetconfNs;  ///< namespace of <data>, which is that of the operation
};

/// <rpc-reply>; `attributes` are those of the <rpc>, which it repeats (RFC 6241, section 4.2).
std::string reply(std::span<const XmlAttribute> attributes, const ReplyContent &content, Layout layout);

/// <rpc-reply> with one <rpc-error>.
std::string error_reply(std::span<const XmlAttribute> attributes, const Fault &fault, Layout layout);

/// What the reply to `request` holds: the answer to a read, <ok/> for an edit.
ReplyContent content_of(const Schema &schema, const Request &request, const Answer &answer, Layout layout);

/// Writes a native request as the <filter> or <config> of a NETCONF request, operations as nc:operation.
void write_native_request(Request::Kind kind, const yfw::Datatree &native, XmlWriter &xml);
/// The same as a text of its own.
std::string native_request(Request::Kind kind, const yfw::Datatree &native);

}  // namespace ymap
