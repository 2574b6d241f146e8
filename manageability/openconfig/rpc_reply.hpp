/// \file
/// What the tool writes in XML: replies (RFC 6241, section 4) and native requests.
#pragma once

#include <string>
#include <vector>

#include "datatree.hpp"
#include "openconfig_request.hpp"
#include "rpc_error.hpp"
#include "session.hpp"

namespace ymap {

/// <rpc-reply> with <data> for a read, <ok/> for an edit; `attributes` are those of the <rpc>.
std::string reply(const std::vector<XmlAttribute> &attributes, const Request &request, const Answer &answer);

/// <rpc-reply> with one <rpc-error>.
std::string error_reply(const std::vector<XmlAttribute> &attributes, const Fault &fault);

/// <rpc> with an operation of this name, without parameters.
std::string bare_request(const std::vector<XmlAttribute> &attributes, const XmlElement &operation);

/// A native request as the <filter> or <config> of a NETCONF request, operations as nc:operation.
std::string native_request(Request::Kind kind, const yfw::Datatree &native);

/// Data in XML or JSON, as libyang prints it; the empty text for no data.
enum class DataFormat { xml, json };
std::string print_data(const Data &data, DataFormat format);

}  // namespace ymap
