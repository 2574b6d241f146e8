// ymap watch: readings on one side, keys and signals on the other, a page between them.
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>

#include "commands.hpp"
#include "held_errors.hpp"
#include "history.hpp"
#include "openconfig_request.hpp"
#include "page.hpp"
#include "reader.hpp"
#include "screen.hpp"
#include "table.hpp"

namespace ymap::watch {
namespace {

constexpr std::size_t kMostReadings = 20'000;  ///< of each amplifier: 5 hours at one a second, 4 MB
constexpr auto kTick = std::chrono::seconds(1);
constexpr double kPatience = 2;  ///< seconds after which an answer is late
constexpr int kSignalled = 128;  ///< exit status of shells: this and the signal

using Seconds = std::chrono::duration<double>;

std::string time_of_day() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  constexpr std::size_t date = sizeof "2026-11-24T" - 1;
  return utc_time(static_cast<uint64_t>(std::chrono::floor<std::chrono::seconds>(now) /
                                        std::chrono::nanoseconds(1)))
      .substr(date);
}

/// Signals as bytes to read, while the object lives.
class Signals {
 public:
  Signals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGWINCH}) sigaddset(&set, signal);
    pthread_sigmask(SIG_BLOCK, &set, &before_);
    descriptor_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
  }
  ~Signals() {
    close(descriptor_);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  Signals(const Signals &) = delete;
  Signals &operator=(const Signals &) = delete;

  int descriptor() const { return descriptor_; }
  /// 0 where none came.
  int take() const {
    signalfd_siginfo info = {};
    return read(descriptor_, &info, sizeof info) == sizeof info ? static_cast<int>(info.ssi_signo) : 0;
  }

 private:
  int descriptor_ = -1;
  sigset_t before_ = {};
};

class Watch {
 public:
  Watch(Clock::time_point start, double interval) : start_(start) { status_.interval = interval; }

  void take(const Outcome &outcome) {
    const auto time = Seconds(outcome.time - start_).count();
    newest_ = Clock::now();
    status_.end = time;
    status_.at = time_of_day();
    status_.trouble = outcome.failure;
    if (!outcome.failure.empty()) return amplifiers_.add_failure(time);
    amplifiers_.add(time, outcome.answer.data);
    if (!outcome.answer.warnings.empty()) status_.trouble = outcome.answer.warnings.front();
  }

  /// Shows the page until the user or a signal ends it. Returns the exit status.
  int show(Reader &reader) {
    const HeldErrors held;
    const Signals signals;
    Screen screen;
    enum { keys, signal, readings };
    std::array<pollfd, 3> wait = {
        {{STDIN_FILENO, POLLIN, 0}, {signals.descriptor(), POLLIN, 0}, {reader.descriptor(), POLLIN, 0}}};
    while (true) {
      const double age = Seconds(Clock::now() - newest_).count() - status_.interval;
      status_.waiting = age > kPatience ? age : 0;
      screen.show(draw_page(screen.width(), screen.height(), amplifiers_, view_, status_, screen.glyphs()));
      poll(wait.data(), wait.size(), static_cast<int>(std::chrono::milliseconds(kTick).count()));
      for (const auto &outcome : reader.take()) take(outcome);
      held.limit();
      while (const int number = signals.take()) {
        if (number == SIGINT) return kDone;
        if (number != SIGWINCH) return kSignalled + number;
        screen.resize();
      }
      // The terminal is gone.
      if ((wait[keys].revents & (POLLHUP | POLLERR)) != 0) return kSignalled + SIGHUP;
      while (const auto key = screen.key())
        if (!view_.press(*key, amplifiers_.all().size())) return kDone;
    }
  }

 private:
  Clock::time_point start_, newest_;
  Amplifiers amplifiers_{kMostReadings};
  View view_;
  Status status_;
};

int watch(const Schema &schema, const Run &run, const Options &options) {
  Screen::check();
  const auto request = read_request(schema, Request::Kind::get, true, options.amplifiers);
  const auto read = [&] { return run(request); };
  const double interval = options.watch.value_or(1);
  const auto start = Clock::now();
  Watch page(start, interval);
  // What is wrong from the beginning is told as other commands tell it.
  page.take({start, read(), {}});
  // From now on ssh has no terminal to ask on; where somebody must be asked, it fails.
  setenv("SSH_ASKPASS", "false", 0);
  setenv("SSH_ASKPASS_REQUIRE", "force", 0);
  Reader reader(read, start, std::chrono::duration_cast<Clock::duration>(Seconds(interval)));
  return page.show(reader);
}

}  // namespace
}  // namespace ymap::watch

int main(int argc, char **argv) {
  return ymap::run_tool(argc, argv, {nullptr, ymap::watch::watch});
}
