// The file of a commit that waits, and the clock that it is judged by.
#include "pending_commit.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <ctime>
#include <string_view>
#include <utility>

#include "session_register.hpp"

namespace device {
namespace {

using std::chrono::nanoseconds;

/// Goes on while the machine sleeps, and whatever is done to the time of day.
nanoseconds time_since_boot() {
  timespec now{};
  ::clock_gettime(CLOCK_BOOTTIME, &now);
  return std::chrono::seconds(now.tv_sec) + nanoseconds(now.tv_nsec);
}

/// Another one after each start of the machine; empty where the system tells none.
std::string boot_id() {
  const Descriptor file(::open("/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC));
  std::array<char, 64> text{};
  const auto count = file.get() < 0 ? 0 : ::read(file.get(), text.data(), text.size());
  std::string id(text.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
  return id.substr(0, id.find('\n'));
}

// A line for each, in this order; the last goes to the end of the file, whatever stands in it.
constexpr std::string_view kSession = "session ";
constexpr std::string_view kUser = "user ";
constexpr std::string_view kBoot = "boot ";
constexpr std::string_view kTimeout = "timeout ";
constexpr std::string_view kDeadline = "deadline ";
constexpr std::string_view kInode = "inode ";
constexpr std::string_view kModified = "modified ";
constexpr std::string_view kPersist = "persist ";

std::optional<std::string_view> take_line(std::string_view &text, std::string_view word) {
  const auto end = text.find('\n');
  if (!text.starts_with(word) || end == std::string_view::npos) return std::nullopt;
  const auto value = text.substr(word.size(), end - word.size());
  text.remove_prefix(end + 1);
  return value;
}

template <typename Number>
bool take_number(std::string_view &text, std::string_view word, Number &number) {
  const auto value = take_line(text, word);
  if (!value) return false;
  const auto read = std::from_chars(value->data(), value->data() + value->size(), number);
  return read.ec == std::errc() && read.ptr == value->data() + value->size();
}

/// Nothing if the text is cut or none of write().
std::optional<PendingCommit> read(std::string_view text) {
  PendingCommit commit;
  int64_t timeout = 0;
  int64_t deadline = 0;
  if (!take_number(text, kSession, commit.session)) return std::nullopt;
  const auto user = take_line(text, kUser);
  const auto boot = take_line(text, kBoot);
  if (!user || !boot || !take_number(text, kTimeout, timeout) || !take_number(text, kDeadline, deadline) ||
      !take_number(text, kInode, commit.inode) || !take_number(text, kModified, commit.modified))
    return std::nullopt;
  if (text.starts_with(kPersist))
    commit.persist = std::string(text.substr(kPersist.size()));
  else if (!text.empty())
    return std::nullopt;
  commit.user = *user;
  commit.boot = *boot;
  commit.timeout = std::chrono::seconds(timeout);
  commit.deadline = nanoseconds(deadline);
  return commit;
}

}  // namespace

nanoseconds PendingCommit::time_left() const {
  return boot == boot_id() ? std::max(deadline - time_since_boot(), nanoseconds::zero())
                           : nanoseconds::zero();
}

bool commit_may_wait(const std::filesystem::path &folder) {
  return ::access((folder / Folder::kUnconfirmed).c_str(), F_OK) == 0;
}

// One that cannot be read is as one of before the machine was started: it is taken back.
std::optional<PendingCommit> PendingCommits::find() const {
  const auto text = folder_.text_of(Folder::kUnconfirmed);
  if (!text) return std::nullopt;
  return read(*text).value_or(PendingCommit());
}

TakenBack::Why PendingCommits::due(const PendingCommit &commit, uint32_t own) const {
  using Why = TakenBack::Why;
  const Stamp runs = folder_.stamp();
  if (runs.inode == commit.inode && runs.modified == commit.modified) return Why::never_made;
  // Whoever took it back died before he could say so.
  if (!folder_.has_kept()) return Why::half_way;
  // A clock that has more left than there was at all is not the one that was read then.
  if (commit.boot != boot_id() || commit.time_left() > commit.timeout) return Why::restart;
  if (commit.time_left() == nanoseconds::zero()) return Why::timeout;
  if (commit.session == 0 || commit.session == own) return Why::not_yet;
  const SessionRegister sessions(folder_.path(), false);
  return sessions.exists() && sessions.process(commit.session) ? Why::not_yet : Why::session_end;
}

void PendingCommits::wait() const {
  constexpr int turn = 1000;  // milliseconds, where a process cannot be watched
  const auto note = folder_.path() / Folder::kUnconfirmed;
  const Descriptor changes(::inotify_init1(IN_CLOEXEC));
  if (changes.get() < 0 ||
      ::inotify_add_watch(changes.get(), note.c_str(), IN_ATTRIB | IN_DELETE_SELF | IN_MODIFY) < 0) {
    if (errno == ENOENT) return;
    folder_failure("cannot watch", note, errno, "the system allows a user so many watches only");
  }
  const auto commit = find();
  if (!commit || due(*commit, 0) != TakenBack::Why::not_yet) return;
  const Descriptor clock(::timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC));
  const auto seconds = std::chrono::floor<std::chrono::seconds>(commit->deadline);
  const itimerspec end = {{}, {seconds.count(), (commit->deadline - seconds).count()}};
  ::timerfd_settime(clock.get(), TFD_TIMER_ABSTIME, &end, nullptr);
  Descriptor session;
  if (commit->session != 0) {
    const auto process = SessionRegister(folder_.path(), false).process(commit->session);
    if (!process) return;
    session = open_process(*process);
  }
  std::array<pollfd, 3> events = {
      {{changes.get(), POLLIN, 0}, {clock.get(), POLLIN, 0}, {session.get(), POLLIN, 0}}};
  ::poll(events.data(), events.size(), commit->session != 0 && session.get() < 0 ? turn : -1);
}

void PendingCommits::write(const PendingCommit &commit) const {
  std::string text;
  const auto add = [&](std::string_view word, const std::string &value) {
    text.append(word).append(value).append("\n");
  };
  add(kSession, std::to_string(commit.session));
  add(kUser, printable_ascii(commit.user));
  add(kBoot, commit.boot);
  add(kTimeout, std::to_string(commit.timeout.count()));
  add(kDeadline, std::to_string(commit.deadline.count()));
  add(kInode, std::to_string(commit.inode));
  add(kModified, std::to_string(commit.modified));
  if (commit.persist) text.append(kPersist).append(*commit.persist);
  folder_.replace(Folder::kUnconfirmed, {text}, Folder::Durability::of_machine);
}

namespace {

void set_time(PendingCommit &commit, const Confirmation &confirmation) {
  commit.boot = boot_id();
  commit.timeout = confirmation.timeout;
  commit.deadline = time_since_boot() + confirmation.timeout;
}

}  // namespace

void PendingCommits::begin(PendingCommit commit, const Confirmation &confirmation) const {
  set_time(commit, confirmation);
  folder_.keep_running();
  const Stamp runs = folder_.stamp();
  commit.inode = runs.inode;
  commit.modified = runs.modified;
  write(commit);
}

void PendingCommits::extend(PendingCommit commit, const Confirmation &confirmation) const {
  set_time(commit, confirmation);
  write(commit);
}

// The note goes first: without it the other file means nothing. It must not come back with the power.
void PendingCommits::end() const {
  folder_.remove(Folder::kUnconfirmed);
  folder_.sync();
  folder_.remove(Folder::kBefore);
}

void PendingCommits::take_back(const Descriptor &lock) const {
  folder_.restore(lock);
  end();
}

}  // namespace device
