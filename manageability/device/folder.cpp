// The folder of a device: what is stored survives a kill at any moment.
#include "folder.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "device.hpp"
#include "fixed_number.hpp"

namespace device {

namespace {

// The new file has a fixed name, so that a killed writer leaves one at most, and the next one takes it away.
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

// In the lock file, always as long: they are written over in place, which a full disk does not hinder.
constexpr std::string_view kGeneration = "generation ";
constexpr std::string_view kLabel = "\nlabel ";
constexpr size_t kMarkSize = kGeneration.size() + kFixedDigits + kLabel.size() + kFixedDigits + 1;

std::string mark_text(uint64_t generation, uint64_t label) {
  return fixed_number(kGeneration, generation) + fixed_number(kLabel, label) + "\n";
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

/// What writers keep in the lock file.
struct Folder::Mark {
  uint64_t generation = 0;  ///< odd while one is at work
  uint64_t label = 0;

  /// Nothing if there is none.
  static std::optional<Mark> read(const Descriptor &lock) {
    std::array<char, kMarkSize> bytes{};
    if (lock.get() < 0 || ::pread(lock.get(), bytes.data(), bytes.size(), 0) != ssize_t{kMarkSize})
      return std::nullopt;
    std::string_view text(bytes.data(), bytes.size());
    const auto generation = take_fixed_number(text, kGeneration);
    const auto label = generation ? take_fixed_number(text, kLabel) : std::nullopt;
    if (!label) return std::nullopt;
    return Mark{*generation, *label};
  }

  /// 0, or the number of the error.
  int write(const Descriptor &lock) const {
    const std::string text = mark_text(generation, label);
    const ssize_t written = ::pwrite(lock.get(), text.data(), text.size(), 0);
    if (written < 0) return errno;
    return written == ssize_t{kMarkSize} ? 0 : ENOSPC;
  }

  /// Nothing while a writer is at work.
  std::optional<uint64_t> settled() const {
    return generation % 2 == 0 ? std::optional(generation) : std::nullopt;
  }
};

void folder_failure(const std::string &what, const std::filesystem::path &file, int error,
                    const std::string &remedy) {
  FolderError failure(what + " " + file.string() + ": " + std::strerror(error) + "; " + remedy);
  failure.no_room = error == ENOSPC || error == EDQUOT || error == EFBIG;
  failure.no_rights = error == EACCES || error == EPERM || error == EROFS;
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

DirectoryEntries::DirectoryEntries(int fd) : entries_(fd < 0 ? nullptr : ::fdopendir(fd), &::closedir) {
  if (entries_ == nullptr && fd >= 0) ::close(fd);
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

void Folder::fill_if_empty(std::string_view text, uint64_t label) const {
  if (holds_running()) return;
  check_nothing_foreign();
  const Descriptor held = lock();
  // Another process may have filled it while this one waited.
  if (holds_running()) return;
  // A folder that was in use has lost its configuration: factory data in its place would hide that.
  if (!is_empty(held.get())) fail_to_read(running_file(), ENOENT);
  store(held, {text}, label);
}

void Folder::check_purpose() const {
  if (!holds_running()) check_nothing_foreign();
}

void Folder::check_nothing_foreign() const {
  std::error_code error;
  auto entry = std::filesystem::directory_iterator(path_, error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (name.starts_with(kRunning) || name == kLock || name == kSessions || name.starts_with(kRecord) ||
        name.starts_with(kCandidate) || name.starts_with(kUnconfirmed))
      continue;
    throw FolderError("the folder " + path_.string() + " holds no " + kRunning + " but other things (" +
                      name + "); restore " + kRunning + " from a backup, or use an empty folder");
  }
  if (error)
    folder_failure("cannot list the device folder", path_, error.value(),
                   "this user must be able to read it");
}

std::optional<Folder::Mark> Folder::mark() const {
  return Mark::read(Descriptor(::open(lock_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK)));
}

Version Folder::version() const {
  Version version;
  if (const auto found = mark()) version.generation = found->settled();
  struct stat status {};
  if (::stat(running_file().c_str(), &status) != 0) fail_to_read(running_file(), errno);
  version.stamp = stamp_of(status);
  return version;
}

namespace {

/// As much as `most` bytes of an open file. Throws FolderError.
std::string read_all(const Descriptor &input, const std::filesystem::path &file, const struct stat &status,
                     size_t most) {
  if (!S_ISREG(status.st_mode)) throw FolderError(file.string() + " is not a plain file; restore it");
  if (status.st_size > kLargestFile) {
    throw FolderError(file.string() + " is too large for a configuration; restore it from a backup");
  }
  std::string text;
  text.resize(std::min(static_cast<size_t>(status.st_size), most));
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

/// Not blocking: whatever stands there instead of a file must not stop the reader.
Descriptor open_to_read(const std::filesystem::path &file, int flags = 0) {
  return Descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | flags));
}

}  // namespace

Folder::Loaded Folder::load() const {
  Loaded loaded;
  const auto before = mark();
  const std::filesystem::path file = running_file();
  const Descriptor input = open_to_read(file);
  struct stat status {};
  if (input.get() < 0 || ::fstat(input.get(), &status) != 0) fail_to_read(file, errno);
  loaded.version.stamp = stamp_of(status);
  loaded.text = read_all(input, file, status, std::string::npos);
  // Read before and after: a writer in between has another one by now.
  const auto after = mark();
  if (before && after && before->generation == after->generation)
    loaded.version.generation = after->settled();
  if (after) loaded.label = after->label;
  return loaded;
}

std::optional<std::string> Folder::text_of(const char *name, size_t most) const {
  const auto file = path_ / name;
  const Descriptor input = open_to_read(file, O_NOFOLLOW);
  if (input.get() < 0 && errno == ENOENT) return std::nullopt;
  struct stat status {};
  if (input.get() < 0 || ::fstat(input.get(), &status) != 0) fail_to_read(file, errno);
  return read_all(input, file, status, most);
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
Version Folder::take_in(const Descriptor &lock, const std::filesystem::path &file, uint64_t label) const {
  const bool is_new = is_empty(lock.get());
  const Mark before = Mark::read(lock).value_or(Mark());
  const Mark during = {before.generation + 1 + before.generation % 2, before.label};
  const Mark after = {during.generation + 1, label};
  if (const int error = is_new ? 0 : during.write(lock); error != 0)
    folder_failure("cannot write", lock_, error, remedy_for_writing(error));
  if (::rename(file.c_str(), running_file().c_str()) != 0)
    folder_failure("cannot replace", running_file(), errno, remedy_for_writing(errno));
  Version version;
  if (after.write(lock) == 0) version.generation = after.generation;
  // The name has changed the inode's time.
  struct stat status {};
  if (::stat(running_file().c_str(), &status) == 0) version.stamp = stamp_of(status);
  sync();
  return version;
}

Version Folder::store(const Descriptor &lock, const std::vector<std::string_view> &pieces,
                      uint64_t label) const {
  const std::filesystem::path temporary = path_ / kTemporary;
  try {
    write(temporary, pieces, Durability::of_machine);
    return take_in(lock, temporary, label);
  } catch (const FolderError &) {
    ::unlink(temporary.c_str());
    throw;
  }
}

void Folder::replace(const char *name, const std::vector<std::string_view> &pieces,
                     Durability durability) const {
  const auto file = path_ / name;
  const auto temporary = path_ / (std::string(name) + ".new");
  try {
    write(temporary, pieces, durability);
    if (::rename(temporary.c_str(), file.c_str()) != 0)
      folder_failure("cannot replace", file, errno, remedy_for_writing(errno));
  } catch (const FolderError &) {
    ::unlink(temporary.c_str());
    throw;
  }
  if (durability == Durability::of_machine) sync();
}

void Folder::remove(const char *name) const {
  const auto file = path_ / name;
  if (::unlink(file.c_str()) != 0 && errno != ENOENT)
    folder_failure("cannot remove", file, errno, remedy_for_writing(errno));
}

// A second name of the same file: that needs no room, then or when it is taken back. Edits replace the file
// and leave it as it is.
void Folder::keep_running() const {
  remove(kBefore);
  const auto before = path_ / kBefore;
  if (::link(running_file().c_str(), before.c_str()) == 0) return;
  if (errno != EPERM && errno != EOPNOTSUPP && errno != EMLINK)
    folder_failure("cannot write", before, errno, remedy_for_writing(errno));
  const auto loaded = load();
  replace(kBefore, {loaded.text}, Durability::of_machine);
}

bool Folder::has_kept() const {
  struct stat status {};
  return ::lstat((path_ / kBefore).c_str(), &status) == 0 || errno != ENOENT;
}

Stamp Folder::stamp() const {
  struct stat status {};
  return ::stat(running_file().c_str(), &status) == 0 ? stamp_of(status) : Stamp();
}

void Folder::restore(const Descriptor &lock) const {
  if (has_kept()) take_in(lock, path_ / kBefore, 0);
}

void Folder::write(const std::filesystem::path &file, const std::vector<std::string_view> &pieces,
                   Durability durability) const {
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
  if (durability == Durability::of_machine && ::fsync(output.get()) != 0) refuse(errno);
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
