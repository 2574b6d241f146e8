// Waits, reads and writes.
#include "stream.hpp"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <system_error>

namespace ymap::netconf {
namespace {

constexpr std::size_t kReadSize = 64U << 10;

[[noreturn]] void fail() {
  throw std::system_error(errno, std::generic_category());
}

bool is_worth_a_retry(int error) {
  return error == EINTR || error == EAGAIN;
}

timespec time_of(std::chrono::nanoseconds left) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
  return {seconds.count(), (left - seconds).count()};
}

}  // namespace

Stream::Stream(int in, int out, const Signals *signals)
    : in_(in), out_(out), signals_(signals), buffer_(kReadSize) {}

/// True if there was something to do.
bool Stream::attend_if_due(bool is_readable) const {
  if (attention_ == nullptr) return false;
  const auto due = attention_->due();
  if (!is_readable && (!due || Clock::now() < *due)) return false;
  attention_->attend();
  return true;
}

bool Stream::wait(int descriptor, short event, End end) const {
  const bool reads = event == POLLIN;
  while (true) {
    if (reads && attend_if_due(false)) continue;
    const bool attends = reads && attention_ != nullptr;
    std::array<pollfd, 3> polled = {{{descriptor, event, 0},
                                     {reads ? lifeline_ : -1, 0, 0},
                                     {attends ? attention_->descriptor() : -1, POLLIN, 0}}};
    End first = end;
    if (const auto due = attends ? attention_->due() : std::nullopt; due && (!first || *due < *first))
      first = due;
    timespec limit = {};
    if (first) {
      const auto now = Clock::now();
      if (end && *end <= now) return false;
      limit = time_of(std::max(*first - now, Clock::duration::zero()));
    }
    const int ready =
        ppoll(polled.data(), polled.size(), first ? &limit : nullptr, signals_ ? &signals_->mask : nullptr);
    const int error = errno;
    if (signals_) signals_->check();
    // Messages of a client that sends without end must not keep it waiting.
    if (ready > 0 && polled[2].revents != 0) attend_if_due(true);
    if (ready > 0 && polled[0].revents != 0) return true;
    if (ready > 0 && polled[1].revents != 0) throw LifelineCut();
    errno = error;
    if (ready < 0 && error != EINTR) fail();
  }
}

std::optional<std::string_view> Stream::read(End end) {
  while (wait(in_, POLLIN, end)) {
    const auto count = ::read(in_, buffer_.data(), buffer_.size());
    if (count >= 0) return std::string_view(buffer_.data(), static_cast<std::size_t>(count));
    if (!is_worth_a_retry(errno)) fail();
  }
  return std::nullopt;
}

// As much as a pipe that is ready takes without blocking, which would keep signals out and take for ever.
std::size_t Stream::write_some(std::string_view bytes) {
  const auto count = ::write(out_, bytes.data(), std::min<std::size_t>(bytes.size(), PIPE_BUF));
  if (count < 0 && !is_worth_a_retry(errno)) fail();
  return static_cast<std::size_t>(std::max<ssize_t>(count, 0));
}

bool Stream::write(std::string_view bytes, End end) {
  while (!bytes.empty()) {
    if (!wait(out_, POLLOUT, end)) return false;
    bytes.remove_prefix(write_some(bytes));
  }
  return true;
}

bool Stream::write(std::string_view bytes, Clock::duration patience) {
  while (!bytes.empty()) {
    if (!wait(out_, POLLOUT, Clock::now() + patience)) return false;
    bytes.remove_prefix(write_some(bytes));
  }
  return true;
}

}  // namespace ymap::netconf
