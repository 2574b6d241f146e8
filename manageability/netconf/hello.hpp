/// \file
/// What the two ends of a session say first (RFC 6241, section 8.1).
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "framing.hpp"
#include "xml_document.hpp"

namespace ymap::netconf {

/// The peer's first message does not open a session. The text tells why and is to stand after "its".
struct BadHello : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Hello {
  std::vector<std::string> capabilities;
  std::string session_id;  ///< as it stands; only a server has one
  std::string other;       ///< name of the first element that is neither; commonly empty

  /// The capability itself, or the same with parameters.
  bool offers(std::string_view capability) const;
  /// Lists the YANG module.
  bool lists_module(const std::string &name) const;
};

/// Reads a peer's first message. Throws BadHello if it is no <hello>.
Hello read_hello(const XmlElement &message);

/// The framing of all messages after the hellos, of which `peer` is the other one: this end offers both
/// versions of the base (RFC 6242, section 4.1). Throws BadHello if the peer offers neither.
Framing agreed_framing(const Hello &peer);

/// A <hello> that offers `capabilities`; `session_id` is 0 for a client, which has none to give.
std::string write_hello(const std::vector<std::string> &capabilities, uint32_t session_id);

/// Both versions of the base protocol, which come first in every <hello>.
std::vector<std::string> base_capabilities();

}  // namespace ymap::netconf
