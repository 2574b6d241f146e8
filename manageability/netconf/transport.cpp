// Waiting for the client, with an ear for signals.
#include "transport.hpp"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string>

namespace ymap::netconf {
namespace {

constexpr std::size_t kReadSize = 64U << 10;
constexpr std::array<int, 3> kEndSignals = {SIGTERM, SIGINT, SIGHUP};

volatile std::sig_atomic_t ended_by = 0;

void note_signal(int signal) {
  ended_by = signal;
}

}  // namespace

Transport::Transport(int in, int out) : in_(in), out_(out), buffer_(kReadSize) {
  // A file that is opened later would get the number, and the client's bytes.
  for (const int descriptor : {in, out})
    if (fcntl(descriptor, F_GETFD) < 0) throw TransportError("standard input or output is closed");
  ended_by = 0;
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);  // a limit on file sizes shall be an error of the write
  sigset_t ends;
  sigemptyset(&ends);
  for (const int signal : kEndSignals) sigaddset(&ends, signal);
  pthread_sigmask(SIG_BLOCK, &ends, &outside_);
  struct sigaction action = {};
  action.sa_handler = note_signal;
  for (const int signal : kEndSignals) {
    sigdelset(&outside_, signal);
    sigaction(signal, &action, nullptr);
  }
}

Transport::~Transport() {
  for (const int signal : kEndSignals) std::signal(signal, SIG_DFL);
  pthread_sigmask(SIG_SETMASK, &outside_, nullptr);
}

bool Transport::wait(int descriptor, short event, const timespec *patience) const {
  pollfd polled = {descriptor, event, 0};
  while (true) {
    const int ready = ppoll(&polled, 1, patience, &outside_);
    if (ended_by != 0) throw SessionKilled("ended by signal " + std::to_string(ended_by));
    if (ready >= 0) return ready > 0;
    if (errno != EINTR) throw TransportError(std::string("waiting failed: ") + std::strerror(errno));
  }
}

std::string_view Transport::read(std::optional<std::chrono::milliseconds> patience) {
  timespec limit = {};
  if (patience) {
    limit.tv_sec = patience->count() / 1000;
    limit.tv_nsec = patience->count() % 1000 * 1'000'000;
  }
  if (!wait(in_, POLLIN, patience ? &limit : nullptr)) throw TransportError("the client sends nothing");
  const auto count = ::read(in_, buffer_.data(), buffer_.size());
  if (count < 0) throw TransportError(std::string("reading from the client failed: ") + std::strerror(errno));
  return {buffer_.data(), static_cast<std::size_t>(count)};
}

// As much as a pipe that is ready takes without blocking, which would keep signals out.
void Transport::write(std::string_view bytes) {
  while (!bytes.empty()) {
    wait(out_, POLLOUT, nullptr);
    const auto count = ::write(out_, bytes.data(), std::min<std::size_t>(bytes.size(), PIPE_BUF));
    if (count < 0 && errno == EPIPE) throw TransportError("the client went away before it had its answer");
    if (count < 0 && errno != EINTR && errno != EAGAIN)
      throw TransportError(std::string("writing to the client failed: ") + std::strerror(errno));
    bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }
}

}  // namespace ymap::netconf
