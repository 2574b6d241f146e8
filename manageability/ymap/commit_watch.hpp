/// \file
/// Somebody who is there when a commit is to be taken back, whatever became of the process that made it.
#pragma once

#include <filesystem>

#include "session.hpp"

namespace ymap {

/// Starts a process of this program that runs watch_commit() on the device folder, in a session of its own,
/// unless one runs already. Throws RpcError where none can be started.
void start_commit_watch(const std::filesystem::path &folder);

/// Waits, and takes the commit back when it is overdue; ends when none waits any more, or another process
/// watches.
void watch_commit(Session &session);

}  // namespace ymap
