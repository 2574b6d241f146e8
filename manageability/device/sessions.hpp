/// \file
/// The NETCONF sessions that share a device folder, and the locks on its datastores.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace device {

/// A datastore of configuration (RFC 6241, section 5.1), which can be locked.
enum class Datastore { running, candidate };
/// As elements have it.
const char *name_of(Datastore datastore);

/// One NETCONF session of a device folder.
struct SessionRecord {
  uint32_t id = 0;
  pid_t process = 0;
  std::string user;
  std::string source_host;  ///< empty where the transport tells none
  int64_t login_time = 0;   ///< seconds since the epoch
  bool operator==(const SessionRecord &) const = default;
};

/// The sessions of a device folder, and the locks on its datastores (RFC 6241, section 7.5). Every
/// session is a process of its own and has one object of this class; what a dead one held is free again at
/// once, for it is held by kernel file locks. Functions throw FolderError when the folder can no longer be
/// used.
class Sessions {
 public:
  /// Enters this process as a session of `folder`, which must be a device folder or empty, with an id that
  /// the folder never gave before. Where this user may not write the session gets in without: it can read,
  /// and sees the others, which do not see it. Throws FolderError. `user` and `source_host` are kept as
  /// printable ASCII.
  Sessions(const std::filesystem::path &folder, std::string user, std::string source_host);
  /// Leaves, and releases the locks.
  ~Sessions();
  Sessions(const Sessions &) = delete;
  Sessions &operator=(const Sessions &) = delete;

  uint32_t id() const;
  /// This one too, by ascending id.
  std::vector<SessionRecord> live() const;

  /// Who has the lock, and since when in seconds since the epoch.
  struct Lock {
    uint32_t holder = 0;
    int64_t since = 0;
  };
  /// Whoever holds it.
  std::optional<Lock> lock_state(Datastore datastore = Datastore::running) const;
  /// Without being a session.
  static std::optional<Lock> lock_state(const std::filesystem::path &folder, Datastore datastore);
  /// Of a session of another process; empty where it is gone or not to be seen.
  static std::string user_of(const std::filesystem::path &folder, uint32_t id);
  /// Why a lock is not given (RFC 6241, section 7.5).
  struct Denial {
    enum class Why : uint8_t { held, candidate_is_edited, commit_waits };
    Why why = Why::held;
    uint32_t session = 0;  ///< that holds it, perhaps this one, or whose commit waits; 0: not known
  };
  /// Nothing: it is ours now. Waits for an edit in course.
  std::optional<Denial> lock(Datastore datastore = Datastore::running);
  /// False: it was not ours. With the lock on the candidate go its edits.
  bool unlock(Datastore datastore = Datastore::running);

  enum class Kill { done, no_such_session, denied };
  /// Ends the process of another session and waits until it is gone, with what it held: SIGTERM, which
  /// carries this session's id, and after two seconds SIGKILL. `denied` where this user may not, and for the
  /// session itself.
  Kill kill(uint32_t id);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace device
