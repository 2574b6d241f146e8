// A process beside all others for the time that a commit waits.
#include "commit_watch.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <exception>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "folder.hpp"
#include "rpc_error.hpp"

namespace ymap {
namespace {

constexpr const char *kThisProgram = "/proc/self/exe";
constexpr int kSignals = 65;
constexpr std::chrono::seconds kTurn{1};

/// What has no way back must not be made.
[[noreturn]] void fail() {
  throw RpcError(
      {.tag = "resource-denied", .message = "no process can be started to take it back, so it is not made"});
}

constexpr const char *kLockFile = "unconfirmed.watch";

/// Held by the process that watches; -1 while another does, or where this user could take nothing back.
device::Descriptor watch_lock(const std::filesystem::path &folder) {
  if (::access(folder.c_str(), W_OK) != 0) return device::Descriptor();
  device::Descriptor file(
      ::open((folder / kLockFile).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666));
  if (file.get() < 0) return file;
  device::share_rights(folder, file.get());
  return ::flock(file.get(), LOCK_EX | LOCK_NB) == 0 ? std::move(file) : device::Descriptor();
}

/// In the new process, between fork and exec: system calls alone. It keeps nothing of this one's: a lock that
/// it held would outlive the session. `word` hears if it comes to nothing.
[[noreturn]] void become(const char *program, char *const *words, int word) {
  ::setsid();
  const pid_t child = ::fork();
  if (child > 0) ::_exit(0);
  if (child == 0) {
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    for (int signal = 1; signal < kSignals; ++signal) ::signal(signal, SIG_DFL);
    const int nothing = ::open("/dev/null", O_RDWR);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::dup2(nothing, standard);
    ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    if (::chdir("/") == 0) ::execv(program, words);
  }
  [[maybe_unused]] const auto said = ::write(word, "x", 1);
  ::_exit(1);
}

}  // namespace

void start_commit_watch(const std::filesystem::path &folder) {
  // Somebody is there already. Between this look and that of the new process another may come: he stays.
  if (watch_lock(folder).get() < 0) return;
  std::error_code error;
  std::string path = std::filesystem::absolute(folder, error).string();
  // By its own name, under which it is listed; one that was replaced meanwhile has this alone.
  auto program = std::filesystem::read_symlink(kThisProgram, error);
  if (error || !std::filesystem::exists(program, error)) program = kThisProgram;
  std::string name = "ymap";
  std::string option = "--device";
  std::string command = "watch-commit";
  const std::array<char *, 5> words = {name.data(), option.data(), path.data(), command.data(), nullptr};
  std::array<int, 2> ends = {-1, -1};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) fail();
  const device::Descriptor hears(ends[0]);
  device::Descriptor says(ends[1]);
  const pid_t child = ::fork();
  if (child < 0) fail();
  if (child == 0) become(program.c_str(), words.data(), says.get());
  says.close();
  while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) continue;
  // The new program begins where the other end is closed.
  char word = 0;
  ssize_t count = 0;
  do count = ::read(hears.get(), &word, 1);
  while (count < 0 && errno == EINTR);
  if (count != 0) fail();
}

void watch_commit(Session &session) {
  auto &device = *session.device().near();
  const auto folder = device.folder();
  // Whoever begins to watch in the moment in which this one ends finds the lock, and leaves it to him.
  while (device::commit_may_wait(folder)) {
    const auto lock = watch_lock(folder);
    if (lock.get() < 0) return;
    while (device::commit_may_wait(folder)) {
      try {
        session.settle();
        device.state().wait_for_commit();
        session.settle();
        if (!device.state().commit_is_overdue()) continue;
      } catch (const std::exception &) {
        // What fails now may do again in a moment, and nobody else is here.
      }
      std::this_thread::sleep_for(kTurn);
    }
  }
}

}  // namespace ymap
