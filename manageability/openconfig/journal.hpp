/// \file
/// The system's log.
#pragma once

#include <string>

namespace ymap {

struct RecordEntry;

/// Sends an entry to the journal, with fields for its parts, or where there is none to syslog, as of the
/// facility that only administrators read. `line` is the entry as text. Environment YMAP_JOURNAL: "none"
/// keeps it from both. Never fails.
void send_to_journal(const RecordEntry &entry, const std::string &line);

}  // namespace ymap
