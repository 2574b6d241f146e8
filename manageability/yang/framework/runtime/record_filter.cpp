// When two values are the same.
#include "record_filter.hpp"

#include <algorithm>
#include <optional>

namespace yfw {
namespace {

/// A number without needless zeros: "-01.50" is negative, "1", "5".
struct Decimal {
  bool negative;
  std::string_view integer, fraction;
  bool operator==(const Decimal &) const = default;
};

bool all_digits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::optional<Decimal> decimal(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  const std::size_t point = std::min(text.find('.'), text.size());
  std::string_view integer = text.substr(0, point);
  std::string_view fraction = text.substr(std::min(point + 1, text.size()));
  if (integer.empty() || !all_digits(integer) || !all_digits(fraction)) return std::nullopt;
  integer.remove_prefix(std::min(integer.find_first_not_of('0'), integer.size()));
  fraction = fraction.substr(0, fraction.find_last_not_of('0') + 1);
  return Decimal{negative && !(integer.empty() && fraction.empty()), integer, fraction};
}

}  // namespace

bool same_value(std::string_view a, std::string_view b) {
  if (a == b) return true;
  const std::optional<Decimal> number = decimal(a);
  return number && number == decimal(b);
}

}  // namespace yfw
