/// \file
/// User names and passwords, as PAM judges them.
#pragma once

#include <grpcpp/support/status.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace ymap::telemetry {

/// On threads of its own: PAM takes its time, above all where it refuses.
class Passwords {
 public:
  explicit Passwords(std::string service);
  ~Passwords();
  Passwords(const Passwords &) = delete;
  Passwords &operator=(const Passwords &) = delete;

  /// Calls `done`, perhaps at once, with UNAUTHENTICATED or RESOURCE_EXHAUSTED where the answer is no.
  using Done = std::function<void(const grpc::Status &status)>;
  void judge(const std::string &user, const std::string &password, const std::string &peer, Done done);

 private:
  using Clock = std::chrono::steady_clock;
  struct Question {
    std::string user, password, peer;
    Done done;
  };
  struct Accepted {
    std::string password;
    Clock::time_point since;
  };

  void loop();
  bool is_known(const std::string &user, const std::string &password);

  const std::string service_;
  std::mutex mutex_;
  std::condition_variable asked_;
  std::deque<Question> questions_;
  std::map<std::string, Accepted> accepted_;  ///< by user
  bool stops_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace ymap::telemetry
