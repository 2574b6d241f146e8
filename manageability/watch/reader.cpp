// The thread that asks the device.
#include "reader.hpp"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <utility>

#include "commands.hpp"

namespace ymap::watch {

Reader::Reader(std::function<Answer()> read, Clock::time_point start, Clock::duration interval)
    : read_(std::move(read)),
      start_(start),
      interval_(interval),
      event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (event_ < 0) throw UsageError(std::string("no event descriptor: ") + std::strerror(errno));
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  thread_ = std::thread([this] { run(); });
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

Reader::~Reader() {
  {
    const std::lock_guard lock(mutex_);
    stops_ = true;
  }
  wake_.notify_one();
  thread_.join();
  close(event_);
}

std::vector<Outcome> Reader::take() {
  const std::lock_guard lock(mutex_);
  eventfd_t count = 0;
  eventfd_read(event_, &count);
  return std::exchange(outcomes_, {});
}

void Reader::run() {
  std::unique_lock lock(mutex_);
  while (true) {
    const auto due = start_ + ((Clock::now() - start_) / interval_ + 1) * interval_;
    if (wake_.wait_until(lock, due, [this] { return stops_; })) return;
    lock.unlock();
    Outcome outcome{due, {}, {}};
    try {
      outcome.answer = read_();
    } catch (const RpcError &error) {
      outcome.failure = describe(error.fault());
    } catch (const std::exception &error) {
      outcome.failure = error.what();
    }
    lock.lock();
    outcomes_.push_back(std::move(outcome));
    eventfd_write(event_, 1);
  }
}

}  // namespace ymap::watch
