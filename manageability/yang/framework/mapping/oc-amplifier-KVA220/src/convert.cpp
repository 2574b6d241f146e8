// Numbers in texts; see convert.h.
#include "convert.h"

#include <charconv>
#include <cstdio>
#include <cstring>

namespace ymap {

double parse_number(const char *text) {
  double number = 0.0;
  const char *end = text + std::strlen(text);
  // What is more than digits and a point (blanks, a plus sign, hexadecimal) is scanf's.
  const auto [rest, error] = std::from_chars(text, end, number, std::chars_format::fixed);
  if (error == std::errc{} && rest == end) return number;
  number = 0.0;
  if (std::sscanf(text, "%lf", &number) != 1) return 0.0;
  return number;
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
