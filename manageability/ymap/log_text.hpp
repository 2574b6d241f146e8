/// \file
/// The record for people and for programs.
#pragma once

#include <cstdint>
#include <string>

#include "change_record.hpp"
#include "options.hpp"

namespace ymap {

/// Entry for entry what happened: a line, and one for each value that changed.
std::string entry_text(const RecordEntry &entry);
/// The same as an object of JSON on one line.
std::string entry_json(const RecordEntry &entry);

/// A time in nanoseconds since the epoch, from words such as "2026-11-23T08:30" (UTC) or "2h" before `now`.
/// Throws UsageError.
int64_t time_of(const std::string &words, int64_t now);

/// Whether the options of `ymap log` select the entry; times are nanoseconds since the epoch.
struct LogSelection {
  LogSelection(const Options &options, int64_t now);
  bool takes(const RecordEntry &entry) const;

  const Options &options;
  int64_t since, until;
};

}  // namespace ymap
