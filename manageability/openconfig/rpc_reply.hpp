/// \file
/// What the tool writes in XML: replies (RFC 6241, section 4) and native requests.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "datatree.hpp"
#include "openconfig_request.hpp"
#include "rpc_error.hpp"
#include "session.hpp"
#include "xml_writer.hpp"

struct lyd_node;

namespace ymap {

/// What the <rpc-reply> to a request that was done holds.
struct ReplyContent {
  enum class Kind { ok, elements, text };
  Kind kind = Kind::ok;                   ///< <ok/>, or what <data> is filled with
  std::string data = {};                  ///< elements as XML in the layout of the reply, or plain text
  std::string_view data_ns = kNetconfNs;  ///< namespace of <data>, which is that of the operation
};

/// <rpc-reply>; `attributes` are those of the <rpc>, which it repeats (RFC 6241, section 4.2).
std::string reply(const std::vector<XmlAttribute> &attributes, const ReplyContent &content, Layout layout);

/// <rpc-reply> with one <rpc-error>.
std::string error_reply(const std::vector<XmlAttribute> &attributes, const Fault &fault, Layout layout);

/// What the reply to `request` holds: the answer to a read, <ok/> for an edit.
ReplyContent content_of(const Request &request, const Answer &answer, Layout layout);

/// Writes a native request as the <filter> or <config> of a NETCONF request, operations as nc:operation.
void write_native_request(Request::Kind kind, const yfw::Datatree &native, XmlWriter &xml);
/// The same as a text of its own.
std::string native_request(Request::Kind kind, const yfw::Datatree &native);

/// Data and its siblings in XML or JSON, as libyang prints it; the empty text for no data.
enum class DataFormat { xml, json };
std::string print_data(const lyd_node *data, DataFormat format, Layout layout = Layout::indented);

}  // namespace ymap
