/// \file
/// A limit on the whole of an answer.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <thread>

namespace ymap::netconf {

/// Puts the end of the stream in the place of what `descriptor` reads when the time is over: libnetconf2
/// counts its own timeouts anew with each byte, so that a server which drips could hold it for ever.
class Deadline {
 public:
  Deadline(int descriptor, std::chrono::milliseconds patience)
      : thread_([this, descriptor, patience](const std::stop_token &answered) {
          std::unique_lock lock(mutex_);
          wake_.wait_for(lock, answered, patience, [] { return false; });
          if (answered.stop_requested()) return;
          passed_ = true;
          const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
          dup3(nothing, descriptor, O_CLOEXEC);
          close(nothing);
        }) {}

  bool passed() const { return passed_; }

 private:
  std::mutex mutex_;
  std::condition_variable_any wake_;
  std::atomic<bool> passed_ = false;
  std::jthread thread_;  // last: it uses the others, and is joined first
};

}  // namespace ymap::netconf
