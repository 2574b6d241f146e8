/// \file
/// What a NETCONF server says first (RFC 6241, section 8.1).
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "xml_document.hpp"

namespace ymap::netconf {

struct ServerHello {
  std::string session_id;
  std::vector<std::string> capabilities;

  /// The capability itself, or the same with parameters.
  bool offers(std::string_view capability) const;
  /// Lists the YANG module.
  bool lists_module(const std::string &name) const;
};

/// Reads a server's first message. Throws UsageError, its text to stand after the server's name.
ServerHello read_hello(const XmlElement &message);

/// A hello like that of a server which has this session, knows no modules but ietf-netconf, and has nothing
/// else to offer. libnetconf2 asks a server for each module in its hello before it hands out the session,
/// however many there are.
std::string bare_hello(const ServerHello &hello);

}  // namespace ymap::netconf
