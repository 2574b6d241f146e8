/// \file
/// Where the messages of the plug-in go: the two logs (errors, traces) and the light trace. The settings are
/// the process's and count from the next request on.
#pragma once

#include <cstddef>
#include <filesystem>
#include <ostream>

#include "export.hpp"

namespace yfw {

enum class LogLevel { error = 0, trace = 3 };
enum class LogSink { none, standard_error, file };

/// Sends the messages of one level to `sink`, from now on; none is the default. `file` is appended to, and is
/// read with LogSink::file only. Throws std::runtime_error when it cannot be opened; then nothing changes.
YFW_EXPORT void set_log_sink(LogLevel level, LogSink sink, const std::filesystem::path &file = {});

/// Switches the light trace: a ring of the last `lines` lines, emptied by the call. 0 lines switch it off.
YFW_EXPORT void set_light_trace(std::size_t lines);

/// Writes the lines that the ring holds, oldest first, and empties it.
YFW_EXPORT void dump_light_trace(std::ostream &out);

}  // namespace yfw
