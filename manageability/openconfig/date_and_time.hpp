/// \file
/// Times as RFC 3339 and YANG's date-and-time write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ymap {

/// "2026-11-23T23:30:00.123456Z", of nanoseconds since the epoch.
std::string date_and_time(int64_t nanoseconds);

/// "2026-11-23T23:30:00Z", of seconds since the epoch.
std::string date_and_time_of_second(int64_t seconds);

/// The other way, for any number of digits behind the second and any offset from UTC. Nothing if it is none.
/// Times beyond what the number can tell become the first or the last that it can.
std::optional<int64_t> read_date_and_time(std::string_view text);

}  // namespace ymap
