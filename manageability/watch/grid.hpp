/// \file
/// A page of characters before it is on any terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ymap::watch {

/// What a cell says, from which the terminal makes colours or, without, attributes.
enum class Style { plain, faint, heading, chosen, instant, band, target, warning };

struct Cell {
  char32_t glyph = U' ';
  Style style = Style::plain;
};

/// Characters of one cell each. What is put outside is cut off.
class Grid {
 public:
  Grid(int width, int height)
      : width_(width),
        height_(height),
        cells_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {}

  int width() const { return width_; }
  int height() const { return height_; }
  const Cell &at(int column, int row) const { return cells_[index(column, row)]; }

  void put(int column, int row, char32_t glyph, Style style) {
    if (column >= 0 && column < width_ && row >= 0 && row < height_)
      cells_[index(column, row)] = {glyph, style};
  }
  /// Returns the column behind the text.
  int put(int column, int row, std::u32string_view text, Style style) {
    for (const char32_t glyph : text) put(column++, row, glyph, style);
    return column;
  }

 private:
  std::size_t index(int column, int row) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(width_) +
           static_cast<std::size_t>(column);
  }

  int width_, height_;
  std::vector<Cell> cells_;
};

struct Area {
  int column = 0, row = 0, width = 0, height = 0;
};

/// What charts are drawn with.
struct Glyphs {
  char32_t level, rise_from, rise_to, fall_from, fall_to, upright;  ///< instants, joined
  char32_t band, target, marker;
  char32_t axis, tick, corner, floor, floor_tick;
  std::u32string_view arrows;
};
extern const Glyphs kUnicode;
extern const Glyphs kAscii;

/// The characters of UTF-8, such as printable() gives.
std::u32string characters(std::string_view utf8);
/// Those of foreign text, where none moves the cursor.
std::u32string on_one_line(std::string_view text);

}  // namespace ymap::watch
