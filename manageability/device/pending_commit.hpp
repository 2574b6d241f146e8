/// \file
/// A commit that is taken back unless it is confirmed (RFC 6241, section 8.4), as it stands on disk.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "device.hpp"
#include "folder.hpp"

namespace device {

/// The commits that wait in a folder to be confirmed: one at most. Functions throw FolderError.
class PendingCommits {
 public:
  explicit PendingCommits(const Folder &folder) : folder_(folder) {}

  bool may_wait() const { return commit_may_wait(folder_.path()); }
  std::optional<PendingCommit> find() const;

  /// Why `commit` is to be taken back now; `own` is the session of this process, which lives.
  TakenBack::Why due(const PendingCommit &commit, uint32_t own) const;

  /// See Device::wait_for_commit().
  void wait() const;

  // Under the folder's lock:

  /// Notes what is about to take the place of what runs. Until something else runs the note means nothing.
  void begin(PendingCommit commit, const Confirmation &confirmation) const;
  /// Begins its time anew.
  void extend(PendingCommit commit, const Confirmation &confirmation) const;
  /// What runs stays.
  void end() const;
  /// What ran before runs again.
  void take_back(const Descriptor &lock) const;

 private:
  void write(const PendingCommit &commit) const;

  const Folder &folder_;
};

}  // namespace device
