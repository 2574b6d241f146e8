/// \file
/// The folder that keeps the running configuration: one file, replaced as a whole.
#pragma once

#include <dirent.h>
#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace device {

/// Tells one version of the file from another that was written without the mark below.
struct Stamp {
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  int64_t modified = 0;  ///< nanoseconds since the epoch
  int64_t changed = 0;   ///< the same, of the inode
  bool operator==(const Stamp &) const = default;
};

/// Tells one version of the running configuration from another without reading it. Times alone would not:
/// where they are whole seconds, and an inode is used again, two versions look the same.
struct Version {
  /// The mark that writers keep in the lock file: a number that no other version has. Nothing while one is at
  /// work, after one that died at it, and in folders of before there were marks.
  std::optional<uint64_t> generation;
  Stamp stamp;  ///< by it changes show that people made by hand
  bool operator==(const Version &) const = default;
};

/// A file descriptor that is closed with it; -1 is none.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  Descriptor(Descriptor &&other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  Descriptor &operator=(Descriptor &&other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor();
  int get() const { return fd_; }
  /// Closes now; false if the system reports that data was lost.
  bool close();

 private:
  int fd_;
};

/// The names in a folder, by the system's own calls: a path object for each costs more than most do with it.
class DirectoryEntries {
 public:
  /// Takes an open folder, or -1.
  explicit DirectoryEntries(int fd);
  /// False: the folder cannot be read.
  explicit operator bool() const { return entries_ != nullptr; }
  /// nullptr at the end.
  const char *next() const {
    const dirent *entry = entries_ == nullptr ? nullptr : ::readdir(entries_.get());
    return entry == nullptr ? nullptr : entry->d_name;
  }

 private:
  std::unique_ptr<DIR, int (*)(DIR *)> entries_;
};

/// Throws FolderError: `what` failed on `file` by the error number `error`.
[[noreturn]] void folder_failure(const std::string &what, const std::filesystem::path &file, int error,
                                 const std::string &remedy);
/// The remedy for a failed write by its error number.
const char *remedy_for_writing(int error);

/// Writes everything or returns the error number; a short write is followed by one that tells it.
int write_all(int fd, std::string_view text);

/// Gives a new file or folder to whoever `folder` is for: its rights, whatever this user's umask. As far as
/// the file system takes them.
void share_rights(const std::filesystem::path &folder, int fd);

/// Every function throws FolderError, with the file at fault and what to do about it.
class Folder {
 public:
  /// Name of the running configuration's file.
  static constexpr const char *kRunning = "running.json";
  /// Name of the folder of the sessions' files.
  static constexpr const char *kSessions = "sessions";
  /// Names of files that others keep here begin with this.
  static constexpr const char *kRecord = "record";
  /// Of the candidate configuration, while it is edited.
  static constexpr const char *kCandidate = "candidate";
  /// What is known of a commit that waits to be confirmed, and what ran before it.
  static constexpr const char *kUnconfirmed = "unconfirmed";
  static constexpr const char *kBefore = "running.json.before";

  /// The folder must exist. Reads and writes nothing yet.
  explicit Folder(std::filesystem::path path);

  /// Refuses a folder that holds other things than a device's.
  void check_purpose() const;

  const std::filesystem::path &path() const { return path_; }
  /// Path of the running configuration.
  const std::filesystem::path &running_file() const { return running_; }

  bool holds_running() const;

  /// Stores `text` as running configuration if the folder holds none, held none before, and nothing foreign.
  /// A running configuration that exists is left alone, and then the folder need not be writable.
  void fill_if_empty(std::string_view text, uint64_t label) const;

  Version version() const;
  /// A configuration as it was read.
  struct Loaded {
    std::string text;
    Version version;     ///< without a generation the text may be that of the next version already
    uint64_t label = 0;  ///< that the last writer gave, perhaps to another text
  };
  Loaded load() const;

  /// Waits for other writers, but not for ever. The lock is held while the result lives.
  Descriptor lock() const;
  /// Replaces the running configuration by what `pieces` are together, under the lock: synced before it takes
  /// the old one's place, which also marks the folder as used, so that a loss of the configuration shows
  /// later.
  /// The `label` is kept in the mark.
  Version store(const Descriptor &lock, const std::vector<std::string_view> &pieces, uint64_t label) const;

  /// The file of that name, up to the size of a configuration; nothing if it is not there.
  std::optional<std::string> text_of(const char *name, size_t most = std::string::npos) const;
  enum class Durability { of_process, of_machine };
  /// Replaces the file of that name as a whole, under the lock. It survives the end of the process at any
  /// moment, or also that of the machine.
  void replace(const char *name, const std::vector<std::string_view> &pieces, Durability durability) const;
  void remove(const char *name) const;
  /// Has the file kBefore hold what runs now, for restore().
  void keep_running() const;
  bool has_kept() const;
  /// The stamp of what runs.
  Stamp stamp() const;
  /// Puts the file kBefore in the place of what runs, under the lock; a full disk does not hinder it. Does
  /// nothing if there is none.
  void restore(const Descriptor &lock) const;

  /// Has the names in the folder outlive the machine.
  void sync() const;

 private:
  struct Mark;
  std::optional<Mark> mark() const;
  Version take_in(const Descriptor &lock, const std::filesystem::path &file, uint64_t label) const;
  void write(const std::filesystem::path &file, const std::vector<std::string_view> &pieces,
             Durability durability) const;
  void check_nothing_foreign() const;

  std::filesystem::path path_;
  std::filesystem::path running_;
  std::filesystem::path lock_;
};

}  // namespace device
