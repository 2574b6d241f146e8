// The folder of a device: what is stored survives a kill at any moment.
#include "folder.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstring>
#include <thread>

#include "device.hpp"

namespace device {

namespace {

// The new file has a fixed name, so that a killed writer leaves one at most, and the next one takes it away.
constexpr const char *kRunning = "running.json";
constexpr const char *kTemporary = "running.json.new";
constexpr const char *kLock = "running.lock";

// An edit takes milliseconds, and a few seconds where many wait for the disk. Turns are short against a sync.
constexpr std::chrono::seconds kPatience{10};
constexpr std::chrono::milliseconds kTurn{1};

// A configuration takes a few kilobytes; a file beyond this is not one, and must not fill the memory.
constexpr off_t kLargestFile = off_t{64} << 20;

int64_t nanoseconds(const timespec &time) {
  return static_cast<int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

Stamp stamp_of(const struct stat &status) {
  return {status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim),
          nanoseconds(status.st_ctim)};
}

// In the lock file, always as long: it is written over in place, which a full disk does not hinder.
constexpr std::string_view kMark = "generation ";
constexpr size_t kMarkDigits = 20;

std::string mark_text(uint64_t number) {
  const std::string digits = std::to_string(number);
  return std::string(kMark).append(kMarkDigits - digits.size(), '0').append(digits).append("\n");
}

/// The number of the mark; nothing if there is none.
std::optional<uint64_t> read_mark(int lock) {
  std::array<char, kMark.size() + kMarkDigits + 1> text{};
  if (::pread(lock, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) return std::nullopt;
  if (!std::string_view(text.data(), text.size()).starts_with(kMark)) return std::nullopt;
  uint64_t number = 0;
  const char *end = text.data() + kMark.size() + kMarkDigits;
  const auto [stop, error] = std::from_chars(text.data() + kMark.size(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

bool is_empty(int file) {
  struct stat status {};
  return ::fstat(file, &status) == 0 && status.st_size == 0;
}

[[noreturn]] void fail_to_read(const std::filesystem::path &file, int error) {
  if (error == ENOENT) {
    throw FolderError("there is no running configuration " + file.string() +
                      "; restore it from a backup, or use an empty folder to begin with factory data");
  }
  folder_failure("cannot read", file, error, "it must be a file that this user may read");
}

}  // namespace

void folder_failure(const std::string &what, const std::filesystem::path &file, int error,
                    const std::string &remedy) {
  FolderError failure(what + " " + file.string() + ": " + std::strerror(error) + "; " + remedy);
  failure.no_room = error == ENOSPC || error == EDQUOT || error == EFBIG;
  throw failure;
}

const char *remedy_for_writing(int error) {
  switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return "make room for it; what was stored before is untouched";
    case EACCES:
    case EPERM:
    case EROFS:
      return "make the folder writable for this user; what was stored before is untouched";
    default:
      return "check the disk; what was stored before is untouched";
  }
}

int write_all(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(fd, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return errno;
    if (written == 0) return ENOSPC;
    text.remove_prefix(static_cast<size_t>(written));
  }
  return 0;
}

void share_rights(const std::filesystem::path &folder, int fd) {
  struct stat from {};
  struct stat to {};
  if (::stat(folder.c_str(), &from) != 0 || ::fstat(fd, &to) != 0) return;
  const mode_t mask = S_ISDIR(to.st_mode) ? 02777 : 0666;
  ::fchmod(fd, from.st_mode & mask);
}

Descriptor::~Descriptor() {
  if (fd_ >= 0) ::close(fd_);
}

bool Descriptor::close() {
  const int result = ::close(fd_);
  fd_ = -1;
  return result == 0 || errno == EINTR;
}

// Whether the folder can be read or written shows when it is: rights may change while the device is open.
Folder::Folder(std::filesystem::path path)
    : path_(std::move(path)), running_(path_ / kRunning), lock_(path_ / kLock) {
  struct stat status {};
  if (::stat(path_.c_str(), &status) != 0) {
    if (errno == ENOENT) {
      throw FolderError("the device folder " + path_.string() +
                        " does not exist; create it empty to begin with factory data");
    }
    folder_failure("cannot use the device folder", path_, errno,
                   "it must be a folder that this user may read");
  }
  if (!S_ISDIR(status.st_mode)) {
    throw FolderError(path_.string() + " is not a folder; name the device's folder");
  }
}

bool Folder::holds_running() const {
  struct stat status {};
  if (::stat(running_file().c_str(), &status) == 0) return true;
  if (errno != ENOENT) fail_to_read(running_file(), errno);
  return false;
}

void Folder::fill_if_empty(std::string_view text) const {
  if (holds_running()) return;
  check_nothing_foreign();
  const Descriptor held = lock();
  // Another process may have filled it while this one waited.
  if (holds_running()) return;
  // A folder that was in use has lost its configuration: factory data in its place would hide that.
  if (!is_empty(held.get())) fail_to_read(running_file(), ENOENT);
  store(held, {text});
}

void Folder::check_purpose() const {
  if (!holds_running()) check_nothing_foreign();
}

void Folder::check_nothing_foreign() const {
  std::error_code error;
  auto entry = std::filesystem::directory_iterator(path_, error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (name == kLock || name == kTemporary || name == kRunning || name == kSessions) continue;
    throw FolderError("the folder " + path_.string() + " holds no " + kRunning + " but other things (" +
                      name + "); restore " + kRunning + " from a backup, or use an empty folder");
  }
  if (error)
    folder_failure("cannot list the device folder", path_, error.value(),
                   "this user must be able to read it");
}

std::optional<uint64_t> Folder::generation() const {
  const Descriptor lock(::open(lock_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  const auto number = lock.get() < 0 ? std::nullopt : read_mark(lock.get());
  return number && *number % 2 == 0 ? number : std::nullopt;
}

Version Folder::version() const {
  Version version;
  version.generation = generation();
  struct stat status {};
  if (::stat(running_file().c_str(), &status) != 0) fail_to_read(running_file(), errno);
  version.stamp = stamp_of(status);
  return version;
}

std::string Folder::load(Version &version) const {
  version.generation = generation();
  const std::filesystem::path file = running_file();
  // Not blocking: whatever stands there instead of a file must not stop the reader.
  const Descriptor input(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (input.get() < 0 || ::fstat(input.get(), &status) != 0) fail_to_read(file, errno);
  if (!S_ISREG(status.st_mode)) throw FolderError(file.string() + " is not a plain file; restore it");
  if (status.st_size > kLargestFile) {
    throw FolderError(file.string() + " is too large for a configuration; restore it from a backup");
  }
  version.stamp = stamp_of(status);

  std::string text(static_cast<size_t>(status.st_size), '\0');
  size_t filled = 0;
  while (filled < text.size()) {
    const ssize_t count = ::read(input.get(), text.data() + filled, text.size() - filled);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail_to_read(file, errno);
    if (count == 0) break;
    filled += static_cast<size_t>(count);
  }
  text.resize(filled);
  // Read before and after: a writer in between has another one by now.
  if (version.generation != generation()) version.generation.reset();
  return text;
}

// A file of its own: the running configuration is replaced, and a lock on it would go with the old one.
Descriptor Folder::lock() const {
  const std::filesystem::path &file = lock_;
  Descriptor lock(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666));
  if (lock.get() < 0) folder_failure("cannot open the lock file", file, errno, remedy_for_writing(errno));
  if (is_empty(lock.get())) share_rights(path_, lock.get());
  const auto give_up = std::chrono::steady_clock::now() + kPatience;
  while (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR)
      folder_failure("cannot lock", file, errno, "use a file system with file locks");
    if (std::chrono::steady_clock::now() > give_up) {
      FolderError failure("another process has been editing for " + std::to_string(kPatience.count()) +
                          " seconds and keeps the lock " + file.string() +
                          "; try again, or end the one that hangs");
      failure.busy = true;
      throw failure;
    }
    std::this_thread::sleep_for(kTurn);
  }
  return lock;
}

// Order matters: the data reaches the disk before the name does, and the name before the caller is told. The
// mark is odd while the name may be that of the old version or of the new. A new folder is marked when it is
// in use.
Version Folder::store(const Descriptor &lock, const std::vector<std::string_view> &pieces) const {
  const std::filesystem::path temporary = path_ / kTemporary;
  const auto mark = [&](uint64_t number) {
    const std::string text = mark_text(number);
    const ssize_t written = ::pwrite(lock.get(), text.data(), text.size(), 0);
    return written == static_cast<ssize_t>(text.size()) ? 0 : written < 0 ? errno : ENOSPC;
  };
  const bool is_new = is_empty(lock.get());
  const uint64_t before = read_mark(lock.get()).value_or(0);
  const uint64_t during = before + 1 + before % 2;
  Version version;
  try {
    write_temporary(pieces);
    if (const int error = is_new ? 0 : mark(during); error != 0)
      folder_failure("cannot write", lock_, error, remedy_for_writing(error));
    if (::rename(temporary.c_str(), running_file().c_str()) != 0) {
      folder_failure("cannot replace", running_file(), errno, remedy_for_writing(errno));
    }
  } catch (const FolderError &) {
    ::unlink(temporary.c_str());
    throw;
  }
  if (mark(during + 1) == 0) version.generation = during + 1;
  // The name has changed the inode's time.
  struct stat status {};
  if (::stat(running_file().c_str(), &status) == 0) version.stamp = stamp_of(status);
  sync();
  return version;
}

void Folder::write_temporary(const std::vector<std::string_view> &pieces) const {
  const std::filesystem::path file = path_ / kTemporary;
  const auto refuse = [&file](int error) {
    folder_failure("cannot write", file, error, remedy_for_writing(error));
  };
  // A killed writer may have left one behind.
  if (::unlink(file.c_str()) != 0 && errno != ENOENT) refuse(errno);
  Descriptor output(::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (output.get() < 0) refuse(errno);
  // The new file is to be readable by whoever could read the old one.
  struct stat status {};
  if (::stat(running_file().c_str(), &status) != 0) {
    share_rights(path_, output.get());
  } else if (::fchmod(output.get(), status.st_mode & 07777) != 0) {
    refuse(errno);
  }
  for (const std::string_view piece : pieces) {
    if (const int error = write_all(output.get(), piece); error != 0) refuse(error);
  }
  if (::fsync(output.get()) != 0) refuse(errno);
  if (!output.close()) refuse(errno);
}

void Folder::sync() const {
  const Descriptor folder(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // EINVAL: this file system syncs no folders, and keeps their order by itself.
  if (folder.get() >= 0 && (::fsync(folder.get()) == 0 || errno == EINVAL)) return;
  folder_failure("cannot sync the folder", path_, errno,
                 "check the disk; the new configuration is in force but may be lost with the power");
}

}  // namespace device
