// Scales, ticks, and readings put into columns.
#include "axes.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "grid.hpp"

namespace ymap::watch {
namespace {

constexpr int kDigits = 2;  ///< of the model's values: 0.01 dB
constexpr std::array<long, 3> kOfDigit = {1, 2, 5};

constexpr long kLabelColumns = 10;  ///< between ticks: "-90 min" and room
constexpr int64_t kMinute = 60;
constexpr int64_t kHour = 3600;
constexpr std::array<int64_t, 15> kTickSeconds = {1,   2,   5,    10,   20,   30,   60,   120,
                                                  300, 600, 1200, 1800, 3600, 7200, 18000};

std::u32string age(int64_t seconds, int64_t spacing) {
  if (seconds == 0) return U"now";
  const int64_t unit = spacing % kHour == 0 ? kHour : spacing % kMinute == 0 ? kMinute : 1;
  const char *name = unit == kHour ? " h" : unit == kMinute ? " min" : " s";
  return characters("-" + std::to_string(seconds / unit) + name);
}

void widen(std::optional<double> &low, std::optional<double> &high, std::optional<double> by_low,
           std::optional<double> by_high) {
  if (by_low) low = low ? std::min(*low, *by_low) : *by_low;
  if (by_high) high = high ? std::max(*high, *by_high) : *by_high;
}

void merge(Column &column, const Values &values) {
  if (!column.first) column.first = values.instant;
  if (values.instant) column.last = values.instant;
  widen(column.lowest, column.highest, values.instant, values.instant);
  // A bound alone makes no band.
  if (values.least && values.most) widen(column.least, column.most, values.least, values.most);
  if (values.target) column.target = values.target;
}

}  // namespace

ValueAxis::ValueAxis(double least, double most, int rows) {
  for (digits_ = kDigits;; --digits_) {
    for (const auto of_digit : kOfDigit) {
      of_digit_ = of_digit;
      if ((most - least) / unit() >= rows) continue;
      const auto low = std::lround(least / unit());
      const auto high = std::lround(most / unit());
      if (high - low >= rows) continue;
      top_ = high + (rows - 1 - (high - low)) / 2;
      // Round numbers: 0.05, 0.1, 0.25 ...
      every_ = of_digit == 5 ? 2 : 5;
      if (rows < 2 * every_) every_ = of_digit == 5 || rows < 4 ? 1 : 2;
      return;
    }
  }
}

double ValueAxis::unit() const {
  return static_cast<double>(of_digit_) * std::pow(10.0, -digits_);
}

int ValueAxis::row_of(double value) const {
  return static_cast<int>(top_ - std::lround(value / unit()));
}

std::u32string ValueAxis::label(int row) const {
  const long steps = top_ - row;
  if (steps % every_ != 0) return {};
  std::array<char, 32> text = {};
  const int digits = std::max(digits_, 0);
  std::snprintf(text.data(), text.size(), "%.*f", digits, static_cast<double>(steps) * unit());
  return characters(text.data());
}

int TimeAxis::column_of(double time) const {
  // A reading stands in the middle of its column, and stays there as time goes on.
  const auto number = [this](double seconds) { return std::floor(seconds / step + 0.5); };
  const double back = std::min(number(end) - number(time), static_cast<double>(columns));
  return columns - 1 - static_cast<int>(back);
}

std::vector<Tick> ticks(const TimeAxis &axis) {
  int64_t spacing = kTickSeconds.front();
  const auto is_narrow = [&](int64_t seconds) {
    return static_cast<double>(seconds) / axis.step < kLabelColumns;
  };
  for (const auto seconds : kTickSeconds)
    if (is_narrow(spacing)) spacing = seconds;
  while (is_narrow(spacing)) spacing *= 2;
  std::vector<Tick> list;
  for (int64_t seconds = 0;; seconds += spacing) {
    const auto back = std::lround(static_cast<double>(seconds) / axis.step);
    if (back >= axis.columns) return list;
    list.push_back({axis.columns - 1 - static_cast<int>(back), age(seconds, spacing)});
  }
}

std::vector<Column> columns_of(const std::deque<Reading> &readings, Quantity quantity, const TimeAxis &axis,
                               double hold) {
  std::vector<Column> columns(static_cast<std::size_t>(axis.columns));
  for (auto reading = readings.begin(); reading != readings.end(); ++reading) {
    const auto next = std::next(reading);
    const int at = axis.column_of(reading->time);
    int until = at + 1;
    if (next != readings.end() && next->time - reading->time <= hold)
      until = std::max(until, axis.column_of(next->time));
    for (int column = std::max(at, 0); column < std::min(until, axis.columns); ++column)
      merge(columns[static_cast<std::size_t>(column)], reading->of(quantity));
  }
  return columns;
}

}  // namespace ymap::watch
