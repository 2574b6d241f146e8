/// \file
/// Amplifier data for people and for grep.
#pragma once

#include <cstdint>
#include <string>

#include "session.hpp"
#include "terminal.hpp"

namespace ymap {

/// On a terminal a table, one amplifier a column, one leaf a row, split where it is wider than the terminal.
/// Elsewhere one line a value, separated by single spaces: amplifier, leaf, value, unit.
std::string print_table(const Data &data, const Terminal &terminal);

/// Nanoseconds since the epoch as "2026-11-22T21:59:30Z", with milliseconds where there are any.
std::string utc_time(uint64_t nanoseconds);

}  // namespace ymap
