/// \file
/// Readings of the device, each for as many as want one at that time.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "leaves.hpp"
#include "session.hpp"

namespace ymap::telemetry {

class Readings {
 public:
  using Clock = std::chrono::steady_clock;

  /// `session` must outlive the object.
  explicit Readings(Session &session) : session_(session) {}

  /// Of all amplifiers, or at least of `amplifiers`, which need not be there. One that is not older than
  /// `age` and from after the last edit that is known of may be an earlier one. Throws as Session::run().
  std::shared_ptr<const Reading> read(const std::vector<std::string> &amplifiers, Clock::duration age,
                                      Clock::time_point now);
  /// No earlier one will do: something is another now, which a device elsewhere does not tell.
  void forget() { last_.reset(); }

 private:
  std::shared_ptr<const Reading> read_now(const std::vector<std::string> &amplifiers);
  uint64_t version();

  Session &session_;
  struct Last {
    std::shared_ptr<const Reading> reading;
    std::vector<std::string> amplifiers;  ///< none: all
    Clock::time_point time;
    uint64_t version = 0;
  };
  std::optional<Last> last_;
  std::set<std::string> known_;  ///< amplifiers, as the last reading of all had them
  std::vector<std::string> warnings_;
};

}  // namespace ymap::telemetry
