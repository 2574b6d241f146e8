/// \file
/// What the server tells of itself: /netconf-state (RFC 6022), /yang-library (RFC 8525), /modules-state.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "catalogue.hpp"
#include "sessions.hpp"
#include "xml_document.hpp"

namespace ymap::netconf {

/// Of this session.
struct Counters {
  uint32_t in_rpcs = 0;         ///< correct ones
  uint32_t in_bad_rpcs = 0;     ///< that could not be understood
  uint32_t out_rpc_errors = 0;  ///< replies with an <rpc-error>
};

class ServerData {
 public:
  /// Both must outlive the object.
  ServerData(const Catalogue &catalogue, const device::Sessions &sessions);

  /// All of it, or what the elements of a subtree filter select, in XML. Only what is selected is made.
  std::string read(const std::vector<XmlElement> *filter, const Counters &counters) const;

 private:
  Tree netconf_state(const Counters &counters) const;

  const Catalogue &catalogue_;
  const device::Sessions &sessions_;
  std::time_t started_;
};

}  // namespace ymap::netconf
