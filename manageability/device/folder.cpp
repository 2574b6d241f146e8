// The folder of a device: what is stored survives a kill at any moment.
#include "folder.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
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
Folder::Folder(std::filesystem::path path) : path_(std::move(path)) {
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

std::filesystem::path Folder::running_file() const {
  return path_ / kRunning;
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
  struct stat status {};
  if (::fstat(held.get(), &status) == 0 && status.st_size != 0) fail_to_read(running_file(), ENOENT);
  store(text);
  mark_used(held);
}

void Folder::mark_used(const Descriptor &lock) {
  struct stat status {};
  if (::fstat(lock.get(), &status) == 0 && status.st_size == 0) write_all(lock.get(), "in use\n");
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

Stamp Folder::stamp() const {
  struct stat status {};
  if (::stat(running_file().c_str(), &status) != 0) fail_to_read(running_file(), errno);
  return stamp_of(status);
}

std::string Folder::load(Stamp &stamp) const {
  const std::filesystem::path file = running_file();
  // Not blocking: whatever stands there instead of a file must not stop the reader.
  const Descriptor input(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (input.get() < 0 || ::fstat(input.get(), &status) != 0) fail_to_read(file, errno);
  if (!S_ISREG(status.st_mode)) throw FolderError(file.string() + " is not a plain file; restore it");
  if (status.st_size > kLargestFile) {
    throw FolderError(file.string() + " is too large for a configuration; restore it from a backup");
  }
  stamp = stamp_of(status);

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
  return text;
}

// A file of its own: the running configuration is replaced, and a lock on it would go with the old one.
Descriptor Folder::lock() const {
  const std::filesystem::path file = path_ / kLock;
  Descriptor lock(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666));
  if (lock.get() < 0) folder_failure("cannot open the lock file", file, errno, remedy_for_writing(errno));
  struct stat status {};
  if (::fstat(lock.get(), &status) == 0 && status.st_size == 0) share_rights(path_, lock.get());
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

// Order matters: the data reaches the disk before the name does, and the name before the caller is told.
void Folder::store(std::string_view text) const {
  const std::filesystem::path temporary = path_ / kTemporary;
  try {
    write_temporary(text);
    if (::rename(temporary.c_str(), running_file().c_str()) != 0) {
      folder_failure("cannot replace", running_file(), errno, remedy_for_writing(errno));
    }
  } catch (const FolderError &) {
    ::unlink(temporary.c_str());
    throw;
  }
  sync();
}

void Folder::write_temporary(std::string_view text) const {
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
  if (const int error = write_all(output.get(), text); error != 0) refuse(error);
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
