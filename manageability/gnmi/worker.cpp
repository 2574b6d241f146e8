// Tasks in the order of their coming, what is due between them.
#include "worker.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iostream>
#include <system_error>
#include <utility>

#include "printable.hpp"

namespace ymap::telemetry {
namespace {

/// Each answers whoever asked by itself; what still gets here must not end the others.
template <typename Work>
void guarded(const Work &work) {
  try {
    work();
  } catch (const std::exception &error) {
    std::cerr << "ymap: error: " << printable(error.what()) << "\n";
  }
}

/// Not beyond the time: poll() counts whole milliseconds.
int milliseconds_until(std::optional<Worker::Clock::time_point> time) {
  if (!time) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*time - Worker::Clock::now()).count();
  return static_cast<int>(std::clamp<int64_t>(left, 0, 3'600'000));
}

}  // namespace

Worker::Worker(Duties duties) : duties_(std::move(duties)), wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (wake_.get() < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  thread_ = std::thread([this] { loop(); });
}

Worker::~Worker() {
  {
    const std::lock_guard lock(mutex_);
    stops_ = true;
  }
  wake();
  thread_.join();
}

void Worker::wake() const {
  const uint64_t one = 1;
  // A full counter wakes as well.
  if (::write(wake_.get(), &one, sizeof one) < 0) return;
}

bool Worker::offer(Task task) {
  {
    const std::lock_guard lock(mutex_);
    if (tasks_.size() >= kMostWaiting) return false;
    tasks_.push_back(std::move(task));
    if (tasks_.size() > 1) return true;
  }
  wake();
  return true;
}

void Worker::post(Task task) {
  {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    if (tasks_.size() > 1) return;
  }
  wake();
}

void Worker::loop() {
  std::optional<Clock::time_point> next;
  for (;;) {
    std::array<pollfd, 2> waits = {pollfd{wake_.get(), POLLIN, 0}, pollfd{duties_.watched, POLLIN, 0}};
    // Interrupted or not, what there is to do shows below.
    ::poll(waits.data(), waits.size(), milliseconds_until(next));
    uint64_t count = 0;
    if (waits[0].revents != 0 && ::read(wake_.get(), &count, sizeof count) < 0) count = 0;
    if (waits[1].revents != 0) guarded(duties_.readable);
    bool stops = false;
    for (auto &task : take(stops)) {
      guarded(task);
      task = nullptr;  // with what it held
    }
    if (stops) return;
    next = Clock::now() + std::chrono::seconds(1);  // where that fails
    guarded([&] { next = duties_.run(Clock::now()); });
  }
}

std::deque<Worker::Task> Worker::take(bool &stops) {
  const std::lock_guard lock(mutex_);
  stops = stops_;
  return std::exchange(tasks_, {});
}

}  // namespace ymap::telemetry
