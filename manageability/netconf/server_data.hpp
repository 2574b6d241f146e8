/// \file
/// What the server tells of itself: /netconf-state (RFC 6022), /netconf (RFC 5277), /yang-library (RFC 8525),
/// /modules-state.
#pragma once

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "catalogue.hpp"
#include "session_control.hpp"
#include "xml_document.hpp"

namespace ymap::netconf {

/// Of this session.
struct Counters {
  uint32_t in_rpcs = 0;         ///< correct ones
  uint32_t in_bad_rpcs = 0;     ///< that could not be understood
  uint32_t out_rpc_errors = 0;  ///< replies with an <rpc-error>
  uint32_t out_notifications = 0;
};

class ServerData {
 public:
  /// Of a server with these datastores, whose record is in `folder`. What is given by reference must outlive
  /// the object.
  ServerData(const Catalogue &catalogue, SessionControl &sessions, std::vector<device::Datastore> datastores,
             std::filesystem::path folder);

  /// All of it, or what the elements of a subtree filter select, in XML. Only what is selected is made.
  std::string read(const std::optional<XmlElements> &filter, const Counters &counters) const;

 private:
  std::string netconf_state(const Counters &counters) const;
  std::string streams() const;
  const std::string &session_text(const device::SessionRecord &record) const;

  const Catalogue &catalogue_;
  SessionControl &sessions_;
  std::vector<device::Datastore> datastores_;
  std::filesystem::path folder_;
  std::time_t started_;
  mutable std::string schemas_;  ///< <schemas>, which stay the same; once it was made
  /// <session> of other sessions, by id.
  mutable std::map<uint32_t, std::pair<device::SessionRecord, std::string>> others_;
};

}  // namespace ymap::netconf
