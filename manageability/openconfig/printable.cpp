// Text from outside that must not steer a terminal.
#include "printable.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace ymap {
namespace {

struct Sequence {
  uint8_t mask, lead;  ///< of the first byte
  std::size_t length;
  char32_t least;  ///< smaller characters have a shorter form
};
constexpr std::array<Sequence, 3> kSequences = {{
    {0xe0, 0xc0, 2, 0x80},
    {0xf0, 0xe0, 3, 0x800},
    {0xf8, 0xf0, 4, 0x10000},
}};

/// Length of the character that `text` begins with, 0 if it begins with none that may be shown.
std::size_t character_length(std::string_view text) {
  const auto first = static_cast<uint8_t>(text.front());
  if (first < 0x80) return (first >= 0x20 && first != 0x7f) || first == '\t' || first == '\n' ? 1 : 0;
  for (const auto &row : kSequences) {
    if ((first & row.mask) != row.lead) continue;
    if (text.size() < row.length) return 0;
    char32_t code = first & static_cast<uint8_t>(~row.mask);
    for (std::size_t at = 1; at < row.length; ++at) {
      const auto next = static_cast<uint8_t>(text[at]);
      if ((next & 0xc0U) != 0x80) return 0;
      code = code << 6U | (next & 0x3fU);
    }
    // C1 control characters, surrogates and non-characters are no text either.
    const bool shown = code >= row.least && code >= 0xa0 && (code < 0xd800 || code > 0xdfff) &&
                       (code & 0xfffeU) != 0xfffe && code <= 0x10ffff;
    return shown ? row.length : 0;
  }
  return 0;
}

constexpr std::string_view kDigits = "0123456789abcdef";

void add_byte(uint8_t byte, std::string &text) {
  text.append("\\x").append(1, kDigits[byte >> 4U]).append(1, kDigits[byte & 0xfU]);
}

/// Marks that set or turn the direction of what follows, and ends of lines and paragraphs.
constexpr std::string_view kTurning[] = {
    "\u061c", "\u200e", "\u200f", "\u2028", "\u2029", "\u202a", "\u202b",
    "\u202c", "\u202d", "\u202e", "\u2066", "\u2067", "\u2068", "\u2069",
};

}  // namespace

std::string escaped(std::string_view text) {
  std::string line;
  while (!text.empty()) {
    const auto length = character_length(text);
    const auto character = text.substr(0, length == 0 ? 1 : length);
    text.remove_prefix(character.size());
    const bool steers = length == 0 || character == "\t" || character == "\n" ||
                        (length > 1 && std::ranges::find(kTurning, character) != std::end(kTurning));
    if (steers) {
      for (const char byte : character) add_byte(static_cast<uint8_t>(byte), line);
      continue;
    }
    if (character == "\\" || character == "\"" || character == "]") line += '\\';
    line += character;
  }
  return line;
}

std::string unescaped(std::string_view text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '\\' || at + 1 == text.size()) {
      plain += text[at];
      continue;
    }
    const auto high = at + 3 < text.size() ? kDigits.find(text[at + 2]) : std::string_view::npos;
    const auto low = at + 3 < text.size() ? kDigits.find(text[at + 3]) : std::string_view::npos;
    if (text[at + 1] == 'x' && high != std::string_view::npos && low != std::string_view::npos) {
      plain += static_cast<char>(high << 4U | low);
      at += 3;
    } else {
      plain += text[++at];
    }
  }
  return plain;
}

std::string printable(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const auto length = character_length(text);
    if (length == 0) {
      add_byte(static_cast<uint8_t>(text.front()), shown);
    } else {
      shown.append(text, 0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return shown;
}

std::string shortened(std::string_view text) {
  if (text.size() <= kLongestQuote) return std::string(text);
  auto end = kLongestQuote;
  // Not in the middle of a character.
  while (end > 0 && (static_cast<uint8_t>(text[end]) & 0xc0U) == 0x80) --end;
  return std::string(text.substr(0, end)) + "... (cut, " + std::to_string(text.size()) + " bytes)";
}

}  // namespace ymap
