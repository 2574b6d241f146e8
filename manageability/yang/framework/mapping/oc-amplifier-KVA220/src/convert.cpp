// Numbers in texts; see convert.h.
#include "convert.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace ymap {

namespace {

// Integers of so many digits and the powers of ten up to them are exact as doubles, so that their quotient is
// the double nearest to the number, the same as strtod's (IEEE 754).
constexpr double powers_of_ten[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                    1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
constexpr ptrdiff_t most_digits = std::size(powers_of_ten) - 1;

// Appends digits to a number; the end of the digits.
const char *append_digits(const char *text, uint64_t &number) {
  for (;; ++text) {
    const unsigned digit = static_cast<unsigned char>(*text) - unsigned{'0'};
    if (digit > 9) return text;
    number = 10 * number + digit;
  }
}

// The number that any text begins with. What is more than digits and a point (blanks, a plus sign,
// hexadecimal) is scanf's.
__attribute__((noinline)) double scan_number(const char *text) {
  double number = 0.0;
  const char *end = text + std::strlen(text);
  const auto [rest, error] = std::from_chars(text, end, number, std::chars_format::fixed);
  if (error == std::errc{} && rest == end) return number;
  number = 0.0;
  if (std::sscanf(text, "%lf", &number) != 1) return 0.0;
  return number;
}

}  // namespace

double parse_number(const char *text) {
  // What clients and devices send: a sign, digits and a point.
  const bool negative = *text == '-';
  const char *first = negative ? text + 1 : text;
  uint64_t mantissa = 0;
  const char *end = append_digits(first, mantissa);
  ptrdiff_t digits = end - first;
  ptrdiff_t decimals = 0;
  if (*end == '.') {
    const char *point = end;
    end = append_digits(point + 1, mantissa);
    decimals = end - point - 1;
    digits += decimals;
  }
  if (*end != '\0' || digits == 0 || digits > most_digits) return scan_number(text);
  const double number = static_cast<double>(static_cast<int64_t>(mantissa)) / powers_of_ten[decimals];
  return negative ? -number : number;
}

void convert_tenths(const char *tenths, char *buffer) {
  // What devices send, up to 999 tenths; others, and the number -0, take the long way.
  const bool negative = *tenths == '-';
  const char *digits = tenths + (negative ? 1 : 0);
  int number = 0;
  size_t count = 0;
  for (; count < 3 && digits[count] >= '0' && digits[count] <= '9'; ++count)
    number = 10 * number + (digits[count] - '0');
  if (count == 0 || digits[count] != '\0' || (negative && number == 0)) {
    print_decibels(buffer, parse_number(tenths) / 10.0);
    return;
  }
  if (negative) *buffer++ = '-';
  if (number >= 100) *buffer++ = static_cast<char>('0' + number / 100);
  const char rest[] = {static_cast<char>('0' + number / 10 % 10), '.', static_cast<char>('0' + number % 10),
                       '0', '\0'};
  std::memcpy(buffer, rest, sizeof rest);
}

void print_decibels(char *buffer, double decibels) {
  const auto [end, error] =
      std::to_chars(buffer, buffer + text_size - 1, decibels, std::chars_format::fixed, 2);
  if (error == std::errc{})
    *end = '\0';
  else
    std::snprintf(buffer, text_size, "%.2f", decibels);
}

}  // namespace ymap
