/// \file
/// Readings, while the page goes on.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "openconfig_answer.hpp"

namespace ymap::watch {

using Clock = std::chrono::steady_clock;

struct Outcome {
  Clock::time_point time;  ///< when it was asked for
  Answer answer;
  std::string failure;  ///< why there is no answer; empty: there is one
};

/// Reads at even times in a thread of its own, which no signal reaches; times that pass while one reading
/// lasts are left out. When it goes it waits for the reading that is under way.
class Reader {
 public:
  /// `read` throws where there is no answer. The first time is an interval after `start`.
  Reader(std::function<Answer()> read, Clock::time_point start, Clock::duration interval);
  ~Reader();
  Reader(const Reader &) = delete;
  Reader &operator=(const Reader &) = delete;

  /// Readable while there are outcomes to take.
  int descriptor() const { return event_; }
  std::vector<Outcome> take();

 private:
  void run();

  std::function<Answer()> read_;
  Clock::time_point start_;
  Clock::duration interval_;
  int event_;
  std::mutex mutex_;
  std::condition_variable wake_;
  bool stops_ = false;
  std::vector<Outcome> outcomes_;
  std::thread thread_;
};

}  // namespace ymap::watch
