/// \file
/// Numbers in small texts that are written over in place, or read without the rest: always as long.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace device {

inline constexpr size_t kFixedDigits = 20;

/// The number behind `word`.
inline std::string fixed_number(std::string_view word, uint64_t number) {
  const std::string text = std::to_string(number);
  return std::string(word) + std::string(kFixedDigits - text.size(), '0') + text;
}

/// Takes `word` and the number behind it from the front of `text`; nothing if they are not there.
inline std::optional<uint64_t> take_fixed_number(std::string_view &text, std::string_view word) {
  if (!text.starts_with(word) || text.size() < word.size() + kFixedDigits) return std::nullopt;
  const char *begin = text.data() + word.size();
  uint64_t number = 0;
  const auto [stop, error] = std::from_chars(begin, begin + kFixedDigits, number);
  if (error != std::errc() || stop != begin + kFixedDigits) return std::nullopt;
  text.remove_prefix(word.size() + kFixedDigits);
  return number;
}

}  // namespace device
