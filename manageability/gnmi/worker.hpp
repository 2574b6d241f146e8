/// \file
/// The one thread that owns the device.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

#include "folder.hpp"

namespace ymap::telemetry {

class Worker {
 public:
  using Clock = std::chrono::steady_clock;
  using Task = std::function<void()>;
  /// Beyond that many, requests are refused: each takes about a millisecond, and who waits longer than a
  /// second gives up or asks again.
  static constexpr std::size_t kMostWaiting = 1000;

  /// What the thread does beside its tasks.
  struct Duties {
    /// Does what is due, and returns when there is something to do next.
    std::function<std::optional<Clock::time_point>(Clock::time_point now)> run;
    int watched = -1;  ///< descriptor; -1 for none
    std::function<void()> readable = {};
  };
  explicit Worker(Duties duties);
  /// What has been accepted is done before.
  ~Worker();
  Worker(const Worker &) = delete;
  Worker &operator=(const Worker &) = delete;

  /// False where too much waits already.
  bool offer(Task task);
  /// For what must be done.
  void post(Task task);

 private:
  void loop();
  void wake() const;
  std::deque<Task> take(bool &stops);

  Duties duties_;
  device::Descriptor wake_;
  std::mutex mutex_;
  std::deque<Task> tasks_;
  bool stops_ = false;
  std::thread thread_;
};

}  // namespace ymap::telemetry
