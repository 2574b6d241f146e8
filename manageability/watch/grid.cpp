// Glyphs, and texts as cells.
#include "grid.hpp"

#include <algorithm>
#include <bit>

#include "printable.hpp"

namespace ymap::watch {

const Glyphs kUnicode = {.level = U'─',
                         .rise_from = U'╯',
                         .rise_to = U'╭',
                         .fall_from = U'╮',
                         .fall_to = U'╰',
                         .upright = U'│',
                         .band = U'░',
                         .target = U'┄',
                         .marker = U'◄',
                         .axis = U'│',
                         .tick = U'┤',
                         .corner = U'└',
                         .floor = U'─',
                         .floor_tick = U'┬',
                         .arrows = U"←→"};
const Glyphs kAscii = {.level = U'*',
                       .rise_from = U'*',
                       .rise_to = U'*',
                       .fall_from = U'*',
                       .fall_to = U'*',
                       .upright = U'|',
                       .band = U':',
                       .target = U'-',
                       .marker = U'<',
                       .axis = U'|',
                       .tick = U'+',
                       .corner = U'+',
                       .floor = U'-',
                       .floor_tick = U'+',
                       .arrows = U"arrows"};

std::u32string characters(std::string_view utf8) {
  std::u32string text;
  for (const char character : utf8) {
    const auto byte = static_cast<unsigned char>(character);
    const int ones = std::countl_one(byte);
    if (ones == 1 && !text.empty())
      text.back() = text.back() << 6 | (byte & 0x3FU);
    else
      text += static_cast<char32_t>(byte & 0xFFU >> (ones == 0 ? 0 : ones + 1));
  }
  return text;
}

std::u32string on_one_line(std::string_view text) {
  auto line = characters(printable(text));
  std::ranges::replace_if(
      line, [](char32_t character) { return character == U'\n' || character == U'\t'; }, U' ');
  return line;
}

}  // namespace ymap::watch
