/// \file
/// The record of what was done to a device, and by whom.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "changes.hpp"
#include "folder.hpp"
#include "requester.hpp"

namespace ymap {

/// One entry: something that somebody asked for, and what became of it.
struct RecordEntry {
  int64_t time = 0;  ///< nanoseconds since the epoch
  std::string user;
  std::vector<std::string> groups;
  std::string peer, front;
  uint32_t session = 0;
  std::string operation;  ///< of the protocol, or session-start, session-end
  /// What the operation was about: a datastore, another session. Of session-end the reason (RFC 6470), with
  /// "killed" the session that did it, if that is known.
  std::string target;
  /// What it was to a commit that is to be confirmed: "start" or "extend" and the seconds that it may wait,
  /// "complete", "cancel", "timeout".
  std::string confirm;
  std::vector<Change> changes;
  std::string result;    ///< "done", or an error-tag (RFC 6241, appendix A)
  std::string message;   ///< of a refusal
  std::string path;      ///< at which it was refused
  int64_t duration = 0;  ///< nanoseconds
};

/// The entry as one line without its end: the time (RFC 3339, UTC), then structured data as in RFC 5424,
/// section 6.3. Whatever its texts hold, it is one line, and reads back as what it was.
std::string line_of(const RecordEntry &entry);
/// Nothing if the line is none of line_of(), or cut.
std::optional<RecordEntry> read_line(std::string_view line);

class Record {
 public:
  static constexpr const char *kFile = "record";
  static constexpr int kOldFiles = 4;               ///< record.1, the newest, and so on
  static constexpr int64_t kLargestFile = 4 << 20;  ///< bytes

  struct Options {
    bool reads = false;     ///< recorded too
    bool required = false;  ///< what cannot be recorded is not done
  };

  /// In `folder`; only in the system's log if that is empty.
  Record(std::filesystem::path folder, Options options) : folder_(std::move(folder)), options_(options) {}

  const Options &options() const { return options_; }

  /// Appends the entry to the file, and sends it to the system's log: the journal, or syslog. False if the
  /// file did not take it.
  bool write(const RecordEntry &entry) const;

 private:
  bool append(const std::string &line) const;

  std::filesystem::path folder_;
  Options options_;
};

/// Reads a record while others write it.
class RecordReader {
 public:
  using Take = std::function<void(const RecordEntry &)>;

  /// Throws device::FolderError.
  explicit RecordReader(std::filesystem::path folder);

  /// When the oldest entry that is kept begins; nothing for none.
  static std::optional<int64_t> first_time(const std::filesystem::path &folder);

  /// The entries that there are and were not taken yet, the oldest first; at first all that are kept.
  void read(const Take &take);
  /// Those that there are will not be taken.
  void skip();

  /// Becomes readable when there may be more, and unreadable by read(). Throws device::FolderError.
  int descriptor();

 private:
  /// A file of the record, as far as it is read.
  struct File {
    device::Descriptor descriptor;
    uint64_t inode;
    std::string rest;  ///< a line that is not complete yet
  };
  void open_files();

  std::filesystem::path folder_;
  std::vector<File> files_;  ///< the oldest first
  std::optional<device::Descriptor> watch_;
};

}  // namespace ymap
