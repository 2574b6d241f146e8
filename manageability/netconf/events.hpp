/// \file
/// What clients are told of: the events of the base protocol (RFC 6470), made of the record's entries.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "change_record.hpp"

namespace ymap::netconf {

/// An event; its module is kEventModule.
struct Event {
  std::string_view name;
  std::string content;  ///< its element, in compact XML
};

/// When what the entry tells of was over: nanoseconds since the epoch.
int64_t time_of(const RecordEntry &entry);

/// What an entry tells, to somebody who knows of the changes that `readable` takes.
std::vector<Event> events_of(const RecordEntry &entry,
                             const std::function<bool(const Change &change)> &readable);

/// A <notification> (RFC 5277, section 4), `content` being its event.
std::string notification(int64_t time, std::string_view content);
/// The event `name` of kStreamModule, which is of the subscription itself.
std::string stream_event(std::string_view name);

}  // namespace ymap::netconf
