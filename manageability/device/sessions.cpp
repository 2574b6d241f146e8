// A session among those of its device folder: the lock on running, and the end of other sessions.
#include "sessions.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <utility>

#include "candidate_file.hpp"
#include "device.hpp"
#include "pending_commit.hpp"
#include "session_register.hpp"

namespace device {

namespace {

/// Files of the locks, by datastore.
constexpr std::array<const char *, 2> kLockFiles = {"running.lock", "candidate.lock"};

constexpr size_t index_of(Datastore datastore) {
  return static_cast<size_t>(datastore);
}

constexpr int kPatience = 2000;  ///< milliseconds until a session that should end is made to

// The range of a lock tells who has it and since when: it begins with the holder's id and ends
// this far behind the time. So the kernel answers both at once and never for a holder that is gone; nothing
// is written, which a full disk could prevent. All ranges meet below this offset, so that one excludes the
// others.
constexpr off_t kBeyondIds = off_t{1} << 32;

struct flock lock_range(uint32_t id, int64_t since) {
  auto range = whole_file(F_WRLCK);
  range.l_start = id;
  range.l_len = kBeyondIds + since - id;
  return range;
}

std::optional<Sessions::Lock> probe_lock(const Descriptor &file) {
  auto lock = whole_file(F_WRLCK);
  if (file.get() < 0 || ::fcntl(file.get(), F_OFD_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) {
    return std::nullopt;
  }
  const bool ours = lock.l_start < kBeyondIds && lock.l_start + lock.l_len >= kBeyondIds;
  if (!ours) return Sessions::Lock{};
  return Sessions::Lock{static_cast<uint32_t>(lock.l_start), lock.l_start + lock.l_len - kBeyondIds};
}

/// Waits until the process is gone; false if the time is over before.
bool has_ended(const Descriptor &process, int milliseconds) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
  for (;;) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    struct pollfd ended {
      process.get(), POLLIN, 0
    };
    const int count = ::poll(&ended, 1, static_cast<int>(std::max<int64_t>(left.count(), 0)));
    if (count >= 0 || errno != EINTR) return count > 0;
  }
}

/// The process that gets it can see which session sends it.
bool send(const Descriptor &process, int signal, uint32_t session) {
  siginfo_t info{};
  info.si_signo = signal;
  info.si_code = SI_QUEUE;
  info.si_pid = ::getpid();
  info.si_uid = ::getuid();
  info.si_value.sival_int = static_cast<int>(session);
  return ::syscall(SYS_pidfd_send_signal, process.get(), signal, &info, 0) == 0;
}

}  // namespace

const char *name_of(Datastore datastore) {
  return datastore == Datastore::running ? "running" : "candidate";
}

struct Sessions::Impl {
  Impl(const std::filesystem::path &path, SessionRecord session)
      : folder(checked(path)), sessions(opened(path)), self(std::move(session)) {
    try {
      if (!sessions.exists()) throw_no_rights();
      entry.emplace(sessions.enter(self));
    } catch (const FolderError &error) {
      // Whoever may only read needs no place among those who write: nobody but itself waits for it.
      if (!error.no_rights) throw;
      self.id = SessionRegister::id_without_entry(self.process);
    }
  }

  [[noreturn]] static void throw_no_rights() {
    FolderError error("the folder of sessions cannot be made");
    error.no_rights = true;
    throw error;
  }

  static SessionRegister opened(const std::filesystem::path &path) {
    try {
      return {path, true};
    } catch (const FolderError &error) {
      if (!error.no_rights) throw;
      return {path, false};
    }
  }

  static Folder checked(const std::filesystem::path &path) {
    Folder folder(path);
    folder.check_purpose();
    return folder;
  }

  Folder folder;
  SessionRegister sessions;
  SessionRecord self;
  std::optional<Descriptor> entry;  ///< the file of this session, locked; none in a folder that is only read
  std::optional<Denial> denial(Datastore datastore) const;

  struct Held {
    Descriptor file;
    Lock lock;
  };
  std::array<std::optional<Held>, kLockFiles.size()> held;  ///< locks, by datastore
};

Sessions::Sessions(const std::filesystem::path &folder, std::string user, std::string source_host)
    : impl_(
          std::make_unique<Impl>(folder, SessionRecord{.process = ::getpid(),
                                                       .user = printable_ascii(std::move(user)),
                                                       .source_host = printable_ascii(std::move(source_host)),
                                                       .login_time = std::time(nullptr)})) {}

Sessions::~Sessions() {
  try {
    unlock(Datastore::candidate);
  } catch (const FolderError &) {
    // Nobody takes the edits for his without this session's lock.
  }
  impl_->sessions.remove(std::to_string(impl_->self.id));
}

uint32_t Sessions::id() const {
  return impl_->self.id;
}

std::vector<SessionRecord> Sessions::live() const {
  auto found = impl_->sessions.others(impl_->self.id);
  found.insert(std::ranges::lower_bound(found, impl_->self.id, {}, &SessionRecord::id), impl_->self);
  return found;
}

std::optional<Sessions::Lock> Sessions::lock_state(Datastore datastore) const {
  return probe_lock(impl_->sessions.open_to_read(kLockFiles[index_of(datastore)]));
}

std::optional<Sessions::Lock> Sessions::lock_state(const std::filesystem::path &folder, Datastore datastore) {
  const SessionRegister sessions(folder, false);
  return sessions.exists() ? probe_lock(sessions.open_to_read(kLockFiles[index_of(datastore)]))
                           : std::nullopt;
}

std::string Sessions::user_of(const std::filesystem::path &folder, uint32_t id) {
  const SessionRegister sessions(folder, false);
  SessionRecord record;
  return sessions.exists() && sessions.process(id, &record) ? record.user : std::string();
}

/// What stands against a lock, apart from another one.
std::optional<Sessions::Denial> Sessions::Impl::denial(Datastore datastore) const {
  using Why = Denial::Why;
  if (datastore == Datastore::candidate) {
    if (CandidateFile(folder).find()) return Denial{Why::candidate_is_edited};
    return std::nullopt;
  }
  const PendingCommits commits(folder);
  const auto waiting = commits.may_wait() ? commits.find() : std::nullopt;
  if (!waiting || commits.due(*waiting, self.id) != TakenBack::Why::not_yet ||
      (waiting->session == self.id && self.id != 0))
    return std::nullopt;
  return Denial{Why::commit_waits, waiting->session};
}

// An open file description's lock, for it holds against the rest of this process too: the device, which asks
// who has it before an edit, may be in the same one.
std::optional<Sessions::Denial> Sessions::lock(Datastore datastore) {
  auto &held = impl_->held[index_of(datastore)];
  if (held) return Denial{Denial::Why::held, held->lock.holder};
  const char *name = kLockFiles[index_of(datastore)];
  const Descriptor no_edit = impl_->folder.lock();
  Descriptor file = impl_->sessions.open_to_write(name);
  if (const auto other = probe_lock(file)) return Denial{Denial::Why::held, other->holder};
  if (const auto denial = impl_->denial(datastore)) return denial;
  const Lock own = {impl_->self.id, std::max<int64_t>(std::time(nullptr), 0)};
  for (;;) {
    auto range = lock_range(own.holder, own.since);
    if (::fcntl(file.get(), F_OFD_SETLK, &range) == 0) break;
    if (errno != EAGAIN && errno != EACCES) {
      folder_failure("cannot lock", impl_->sessions.file(name), errno, "use a file system with file locks");
    }
    // Released in between: try again.
    if (const auto other = probe_lock(file)) return Denial{Denial::Why::held, other->holder};
  }
  held.emplace(Impl::Held{std::move(file), own});
  return std::nullopt;
}

// The edits go before the lock does: others shall not see them without (RFC 6241, section 8.3.5.2).
bool Sessions::unlock(Datastore datastore) {
  auto &held = impl_->held[index_of(datastore)];
  const bool was_held = held.has_value();
  if (was_held && datastore == Datastore::candidate) {
    const Descriptor no_edit = impl_->folder.lock();
    CandidateFile(impl_->folder).remove();
  }
  held.reset();
  return was_held;
}

Sessions::Kill Sessions::kill(uint32_t id) {
  if (id == impl_->self.id) return Kill::denied;
  const auto process = impl_->sessions.process(id);
  if (!process) return Kill::no_such_session;
  // The process of another machine or container cannot be told.
  if (*process <= 0) return Kill::denied;
  const Descriptor handle = open_process(*process);
  // Asked again now that the handle keeps the process' number from passing to another one.
  if (handle.get() < 0 || impl_->sessions.process(id) != process) return Kill::no_such_session;
  if (!send(handle, SIGTERM, impl_->self.id)) return errno == EPERM ? Kill::denied : Kill::no_such_session;
  if (!has_ended(handle, kPatience)) {
    send(handle, SIGKILL, impl_->self.id);
    has_ended(handle, kPatience);
  }
  impl_->sessions.remove(std::to_string(id));
  return Kill::done;
}

}  // namespace device
