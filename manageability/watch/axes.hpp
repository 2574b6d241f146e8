/// \file
/// Where values and times stand on a chart.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "history.hpp"

namespace ymap::watch {

/// From dB to rows. A row is 1, 2 or 5 of a decimal digit, so that labels are round and exact.
class ValueAxis {
 public:
  /// Of `rows` rows, at least one, around least..most.
  ValueAxis(double least, double most, int rows);

  /// 0 is the uppermost. What is outside has the row that it would have.
  int row_of(double value) const;
  /// Empty where a row has none.
  std::u32string label(int row) const;

 private:
  double unit() const;

  int digits_ = 0;     ///< behind the decimal point
  long of_digit_ = 1;  ///< a row in units of the last digit
  long top_ = 0;       ///< the uppermost row, counted from 0 dB
  long every_ = 1;     ///< rows between labels
};

/// Columns are of `step` seconds; the last one holds `end`.
struct TimeAxis {
  double step = 1;
  double end = 0;
  int columns = 0;

  /// Below 0 for what is older than the first.
  int column_of(double time) const;
};

struct Tick {
  int column = 0;
  std::u32string label;  ///< its age
};
/// From now on back, so that labels have room.
std::vector<Tick> ticks(const TimeAxis &axis);

/// What a column shows: of several readings the range, and where the instants begin and end.
struct Column {
  std::optional<double> first, last, lowest, highest;  ///< instants
  std::optional<double> least, most;                   ///< of the band
  std::optional<double> target;

  bool operator==(const Column &) const = default;
};

/// A column without a reading is like the one before it, but not after a failure, nor beyond `hold` seconds.
std::vector<Column> columns_of(const std::deque<Reading> &readings, Quantity quantity, const TimeAxis &axis,
                               double hold);

}  // namespace ymap::watch
