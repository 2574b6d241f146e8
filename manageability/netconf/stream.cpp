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

bool Stream::wait(int descriptor, short event, End end) const {
  std::array<pollfd, 2> polled = {{{descriptor, event, 0}, {event == POLLIN ? lifeline_ : -1, 0, 0}}};
  while (true) {
    timespec limit = {};
    if (end) {
      const auto left = *end - Clock::now();
      if (left <= left.zero()) return false;
      limit = time_of(left);
    }
    const int ready =
        ppoll(polled.data(), polled.size(), end ? &limit : nullptr, signals_ ? &signals_->mask : nullptr);
    const int error = errno;
    if (signals_) signals_->check();
    if (ready > 0 && polled[0].revents != 0) return true;
    if (ready > 0) throw LifelineCut();
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
bool Stream::write(std::string_view bytes, End end) {
  while (!bytes.empty()) {
    if (!wait(out_, POLLOUT, end)) return false;
    const auto count = ::write(out_, bytes.data(), std::min<std::size_t>(bytes.size(), PIPE_BUF));
    if (count < 0 && !is_worth_a_retry(errno)) fail();
    bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }
  return true;
}

}  // namespace ymap::netconf
