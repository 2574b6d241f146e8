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

void print_decibels(char *buffer, double decibels) {
  const auto [end, error] =
      std::to_chars(buffer, buffer + text_size - 1, decibels, std::chars_format::fixed, 2);
  if (error == std::errc{})
    *end = '\0';
  else
    std::snprintf(buffer, text_size, "%.2f", decibels);
}

}  // namespace ymap
