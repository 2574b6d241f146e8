/// \file
/// What amplifiers told, reading by reading.
#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "openconfig_answer.hpp"

namespace ymap::watch {

enum class Quantity { gain, tilt };
inline constexpr std::array<Quantity, 2> kQuantities = {Quantity::gain, Quantity::tilt};

/// One quantity at a time, in dB; what the device does not tell is absent.
struct Values {
  std::optional<double> instant = {}, average = {}, least = {}, most = {}, target = {};

  bool operator==(const Values &) const = default;
};

struct Reading {
  double time = 0;  ///< seconds since the first one
  std::array<Values, kQuantities.size()> values;
  std::optional<bool> enabled;

  const Values &of(Quantity quantity) const { return values[static_cast<std::size_t>(quantity)]; }
};

/// The readings of one amplifier, the oldest first. It has one without values where it was asked in vain.
struct History {
  std::string name;
  std::deque<Reading> readings;
};

/// Those of all, in the order in which they came up.
class Amplifiers {
 public:
  /// Keeps so many readings of each amplifier.
  explicit Amplifiers(std::size_t most) : most_(most) {}

  void add(double time, const Data &data);
  /// No answer came.
  void add_failure(double time) { add(time, {}); }

  const std::vector<History> &all() const { return histories_; }

 private:
  std::size_t most_;
  std::vector<History> histories_;
};

}  // namespace ymap::watch
