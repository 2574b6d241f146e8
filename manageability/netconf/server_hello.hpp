/// \file
/// What a NETCONF server says first (RFC 6241, section 8.1).
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace ymap::netconf {

struct ServerHello {
  std::string session_id;
  std::vector<std::string> capabilities;

  /// The capability itself, or the same with parameters.
  bool offers(std::string_view capability) const;
  /// Lists the YANG module.
  bool lists_module(const std::string &name) const;
};

/// Reads the hello from the stream `source`, to its end and no byte further. Throws UsageError, its text to
/// stand after the server's name: none came within `patience`, the stream ended, or it is none.
ServerHello read_hello(int source, std::chrono::milliseconds patience);

/// A hello like that of a server which has this session, knows no modules but ietf-netconf, and has nothing
/// else to offer. libnetconf2 asks a server for each module in its hello before it hands out the session,
/// however many there are.
std::string bare_hello(const ServerHello &hello);

/// For an answer that did not come in time.
std::string too_late(std::chrono::milliseconds patience);

}  // namespace ymap::netconf
