/// \file
/// The folder of a device's sessions: a file for each, locked by its process as long as that lives.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "folder.hpp"
#include "sessions.hpp"

namespace device {

/// A lock on all of a file, F_WRLCK or F_RDLCK.
struct flock whole_file(short type);

/// A handle that becomes readable when the process ends; -1 if there is none.
Descriptor open_process(pid_t process);

/// What a record may hold: printable ASCII, up to a limit.
std::string printable_ascii(std::string text);

/// The folder of the sessions' files. Its files are reached through its descriptor, and links are not
/// followed, so that nobody who may write there leads a session elsewhere.
class SessionRegister {
 public:
  /// Makes the folder if `make`; otherwise an absent one stays absent.
  SessionRegister(const std::filesystem::path &folder, bool make);

  bool exists() const { return directory_.get() >= 0; }
  std::filesystem::path file(const std::string &name) const { return path_ / name; }

  /// Opens a file for reading, whatever it is; -1 if it is absent or not readable.
  Descriptor open_to_read(const std::string &name) const {
    return Descriptor(
        ::openat(directory_.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  }
  /// Opens a file for writing; absent ones are made. Throws FolderError.
  Descriptor open_to_write(const std::string &name, int flags = 0) const;
  void remove(const std::string &name) const { ::unlinkat(directory_.get(), name.c_str(), 0); }

  /// An id for a session that cannot enter: that of its process, beyond all that the counter gives.
  static uint32_t id_without_entry(pid_t process);

  /// The process that holds the session's file; nothing if none does. Not for this process' own session:
  /// closing its file would drop the lock on it (POSIX record locks; they alone tell the holder's process).
  std::optional<pid_t> process(uint32_t id, SessionRecord *record = nullptr) const;
  /// All sessions but `own`, by ascending id. Takes away what dead ones left behind.
  std::vector<SessionRecord> others(uint32_t own) const;

  /// Makes the file of a new session, which `record` gets the id of. Throws FolderError.
  Descriptor enter(SessionRecord &record) const;

 private:
  std::vector<std::string> names() const;
  uint32_t next_id(const Descriptor &counter) const;

  std::filesystem::path path_;
  Descriptor directory_;
  mutable std::map<uint32_t, SessionRecord> known_;  ///< of others that lived when they were last asked for
};

}  // namespace device
