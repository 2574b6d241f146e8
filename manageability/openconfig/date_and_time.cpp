// Times to and from texts.
#include "date_and_time.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <limits>

namespace ymap {
namespace {

constexpr int64_t kSecond = 1'000'000'000;

/// Takes digits, at least one and no more than that, from the front of `text`, and what stands behind them.
std::optional<int> take(std::string_view &text, std::size_t count, std::string_view behind, int least,
                        int most) {
  if (text.size() < count) return std::nullopt;
  int number = 0;
  for (const char c : text.substr(0, count)) {
    if (c < '0' || c > '9') return std::nullopt;
    number = number * 10 + (c - '0');
  }
  text.remove_prefix(count);
  if (!text.starts_with(behind) || number < least || number > most) return std::nullopt;
  text.remove_prefix(behind.size());
  return number;
}

/// Nanoseconds; 0 where no fraction stands there.
std::optional<int64_t> take_fraction(std::string_view &text) {
  if (!text.starts_with('.')) return 0;
  text.remove_prefix(1);
  int64_t part = 0;
  int64_t unit = kSecond;
  std::size_t digits = 0;
  for (; digits < text.size() && text[digits] >= '0' && text[digits] <= '9'; ++digits) {
    unit /= 10;
    part += (text[digits] - '0') * unit;
  }
  if (digits == 0) return std::nullopt;
  text.remove_prefix(digits);
  return part;
}

/// Seconds that the time is ahead of UTC.
std::optional<int64_t> take_offset(std::string_view &text) {
  if (text == "Z") return 0;
  if (!text.starts_with('+') && !text.starts_with('-')) return std::nullopt;
  const int sign = text.front() == '-' ? -1 : 1;
  text.remove_prefix(1);
  const auto hours = take(text, 2, ":", 0, 23);
  const auto minutes = hours ? take(text, 2, "", 0, 59) : std::nullopt;
  if (!minutes || !text.empty()) return std::nullopt;
  return sign * (*hours * 3600 + *minutes * 60);
}

}  // namespace

std::string date_and_time_of_second(int64_t seconds) {
  const std::time_t when = seconds;
  std::tm utc{};
  gmtime_r(&when, &utc);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc);
  return text.data();
}

std::string date_and_time(int64_t nanoseconds) {
  std::array<char, 16> fraction{};
  std::snprintf(fraction.data(), fraction.size(), ".%06dZ", static_cast<int>(nanoseconds % kSecond / 1000));
  auto text = date_and_time_of_second(nanoseconds / kSecond);
  text.pop_back();
  return text + fraction.data();
}

std::optional<int64_t> read_date_and_time(std::string_view text) {
  struct Field {
    int std::tm::*member;
    std::size_t digits;
    const char *behind;
    int least, most;
  };
  static constexpr std::array<Field, 6> fields = {{{&std::tm::tm_year, 4, "-", 0, 9999},
                                                   {&std::tm::tm_mon, 2, "-", 1, 12},
                                                   {&std::tm::tm_mday, 2, "T", 1, 31},
                                                   {&std::tm::tm_hour, 2, ":", 0, 23},
                                                   {&std::tm::tm_min, 2, ":", 0, 59},
                                                   {&std::tm::tm_sec, 2, "", 0, 60}}};
  std::tm utc{};
  for (const auto &field : fields) {
    const auto number = take(text, field.digits, field.behind, field.least, field.most);
    if (!number) return std::nullopt;
    utc.*field.member = *number;
  }
  utc.tm_year -= 1900;
  utc.tm_mon -= 1;
  const int day = utc.tm_mday;
  const auto fraction = take_fraction(text);
  const auto offset = fraction ? take_offset(text) : std::nullopt;
  if (!offset) return std::nullopt;
  const int64_t seconds = timegm(&utc) - *offset;
  // The 31st of a month that has none is a day of the next.
  if (utc.tm_sec < 60 && utc.tm_mday != day) return std::nullopt;
  constexpr int64_t most = std::numeric_limits<int64_t>::max() / kSecond - 1;
  return std::clamp(seconds, -most, most) * kSecond + *fraction;
}

}  // namespace ymap
