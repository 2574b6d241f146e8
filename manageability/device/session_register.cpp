// Entering the folder of sessions, and telling who is there.
#include "session_register.hpp"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <limits>
#include <sstream>
#include <string_view>
#include <utility>

#include "device.hpp"

namespace device {

namespace {

constexpr const char *kCounter = "counter";
constexpr std::string_view kUnfinished = ".new";

constexpr uint32_t kLastId = 0x7fffffff;  ///< that the counter gives

// A record is three short lines. What a file of that name holds beyond this is not read.
constexpr size_t kLongestRecord = 1024;
constexpr size_t kLongestText = 256;

std::optional<uint32_t> id_of(std::string_view name) {
  uint32_t id = 0;
  const char *end = name.data() + name.size();
  const auto [stop, error] = std::from_chars(name.data(), end, id);
  if (error != std::errc() || stop != end || id == 0 || name.front() == '0') return std::nullopt;
  return id;
}

/// What the descriptor's file begins with.
std::string beginning(int fd, size_t length) {
  std::string text(length, '\0');
  const ssize_t count = ::pread(fd, text.data(), text.size(), 0);
  text.resize(count > 0 ? static_cast<size_t>(count) : 0);
  return text;
}

std::string record_text(const SessionRecord &record) {
  return "login " + std::to_string(record.login_time) + "\nuser " + record.user + "\nhost " +
         record.source_host + "\n";
}

/// Takes what it finds; the fields of a damaged record stay empty.
void parse_record(const std::string &text, SessionRecord &record) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const std::string word = line.substr(0, line.find(' '));
    const std::string rest = line.substr(std::min(line.size(), word.size() + 1));
    if (word == "user") record.user = printable_ascii(rest);
    if (word == "host") record.source_host = printable_ascii(rest);
    if (word == "login") std::from_chars(rest.data(), rest.data() + rest.size(), record.login_time);
  }
}

}  // namespace

struct flock whole_file(short type) {
  struct flock range {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  return range;
}

// The C library's own declaration of this, and of its like, cannot be linked from C++.
Descriptor open_process(pid_t process) {
  return Descriptor(process <= 0 ? -1 : static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
}

std::string printable_ascii(std::string text) {
  text.resize(std::min(text.size(), kLongestText));
  for (char &c : text) {
    if (c < ' ' || c > '~') c = '?';
  }
  return text;
}

SessionRegister::SessionRegister(const std::filesystem::path &folder, bool make)
    : path_(folder / Folder::kSessions), directory_([&] {
        const bool made = make && ::mkdir(path_.c_str(), 0777) == 0;
        if (make && !made && errno != EEXIST) {
          folder_failure("cannot make the folder", path_, errno, remedy_for_writing(errno));
        }
        const int fd = ::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0 && (make || errno != ENOENT)) {
          folder_failure("cannot use the folder of sessions", path_, errno,
                         "it must be a folder that this user may read and write");
        }
        if (made) share_rights(folder, fd);
        return fd;
      }()) {}

Descriptor SessionRegister::open_to_write(const std::string &name, int flags) const {
  constexpr int mode = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  const auto refuse = [&](int error) {
    folder_failure("cannot write", file(name), error, remedy_for_writing(error));
  };
  int fd = ::openat(directory_.get(), name.c_str(), mode | O_CREAT | O_EXCL, 0666);
  if (fd >= 0) {
    share_rights(path_, fd);
  } else if (errno == EEXIST && (flags & O_EXCL) == 0) {
    fd = ::openat(directory_.get(), name.c_str(), mode);
  }
  if (fd < 0) refuse(errno);
  Descriptor opened(fd);
  struct stat status {};
  if (::fstat(fd, &status) != 0) refuse(errno);
  if (!S_ISREG(status.st_mode)) {
    throw FolderError(file(name).string() + " is not a plain file; remove it");
  }
  return opened;
}

std::vector<std::string> SessionRegister::names() const {
  std::vector<std::string> found;
  const DirectoryEntries entries(::openat(directory_.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!entries) {
    folder_failure("cannot list the folder of sessions", path_, errno, "this user must be able to read it");
  }
  while (const char *name = entries.next()) found.emplace_back(name);
  return found;
}

std::optional<pid_t> SessionRegister::process(uint32_t id, SessionRecord *record) const {
  const Descriptor entry = open_to_read(std::to_string(id));
  struct stat status {};
  // One that cannot be looked at now may well live.
  if (entry.get() < 0 && (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == EACCES)) return 0;
  if (entry.get() < 0 || ::fstat(entry.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  auto lock = whole_file(F_WRLCK);
  if (::fcntl(entry.get(), F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) return std::nullopt;
  if (record != nullptr) {
    *record = {.id = id, .process = lock.l_pid, .user = {}, .source_host = {}};
    parse_record(beginning(entry.get(), kLongestRecord), *record);
  }
  return lock.l_pid;
}

std::vector<SessionRecord> SessionRegister::others(uint32_t own) const {
  std::map<uint32_t, SessionRecord> live;
  if (!exists()) return {};
  for (const std::string &name : names()) {
    const auto id = id_of(name);
    if (!id || *id == own) continue;
    const auto holder = process(*id);
    if (!holder) {
      remove(name);
      continue;
    }
    // What a session's file says never changes.
    auto known = known_.extract(*id);
    if (known && known.mapped().process == *holder) {
      live.insert(std::move(known));
    } else if (SessionRecord record; process(*id, &record)) {
      live.emplace(*id, std::move(record));
    }
  }
  known_ = std::move(live);
  std::vector<SessionRecord> found;
  for (const auto &[id, record] : known_) found.push_back(record);
  return found;
}

uint32_t SessionRegister::id_without_entry(pid_t process) {
  return kLastId + 1 + static_cast<uint32_t>(process);
}

/// One more than the last id given. A damaged counter begins anew, without the ids of who is there.
uint32_t SessionRegister::next_id(const Descriptor &counter) const {
  constexpr size_t digits = std::numeric_limits<uint32_t>::digits10 + 1;
  std::string text = beginning(counter.get(), digits + 1);
  uint32_t last = 0;
  if (text.size() == digits + 1 && text.back() == '\n') {
    const char *end = text.data() + digits;
    const auto [stop, error] = std::from_chars(text.data(), end, last);
    if (error != std::errc() || stop != end) last = 0;
  }
  struct stat status {};
  uint32_t id = last;
  do {
    // To begin anew would give ids again, by which others know sessions that have ended.
    if (id >= kLastId) {
      throw FolderError("the counter of sessions " + file(kCounter).string() +
                        " is at its end; remove it while no session is open");
    }
    ++id;
  } while (::fstatat(directory_.get(), std::to_string(id).c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0);

  // Always as long as before: it is written over in place, which a kill does not tear and a full disk does
  // not hinder.
  text = std::to_string(id);
  text.insert(0, digits - text.size(), '0').append("\n");
  const int error = ::lseek(counter.get(), 0, SEEK_SET) == 0 ? write_all(counter.get(), text) : errno;
  if (error != 0) folder_failure("cannot write", file(kCounter), error, remedy_for_writing(error));
  return id;
}

Descriptor SessionRegister::enter(SessionRecord &record) const {
  const Descriptor counter = open_to_write(kCounter);
  auto lock = whole_file(F_WRLCK);
  while (::fcntl(counter.get(), F_OFD_SETLKW, &lock) != 0) {
    if (errno != EINTR) {
      folder_failure("cannot lock", file(kCounter), errno, "use a file system with file locks");
    }
  }
  // Under the lock nobody else is about to enter: an unfinished file is of one that died.
  for (const std::string &name : names()) {
    if (name.ends_with(kUnfinished)) remove(name);
  }
  others(0);
  record.id = next_id(counter);
  // The name comes last: a session's file is locked from the first moment that it can be seen.
  const std::string name = std::to_string(record.id);
  const std::string unfinished = name + std::string(kUnfinished);
  Descriptor entry = open_to_write(unfinished, O_EXCL);
  int error = ::fcntl(entry.get(), F_SETLK, &lock) == 0 ? 0 : errno;
  // The record is for others to read. A full disk must not keep out whoever comes to make room.
  if (error == 0) write_all(entry.get(), record_text(record));
  const int directory = directory_.get();
  if (error == 0 && ::renameat(directory, unfinished.c_str(), directory, name.c_str()) != 0) error = errno;
  if (error != 0) {
    remove(unfinished);
    folder_failure("cannot enter the session in", file(name), error, remedy_for_writing(error));
  }
  return entry;
}

}  // namespace device
