/// \file
/// The whole page, and what its keys do.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "grid.hpp"
#include "history.hpp"

namespace ymap::watch {

/// Keys beside letters and digits.
inline constexpr char32_t kLeft = U'←';
inline constexpr char32_t kRight = U'→';

/// What the user chose to see.
struct View {
  std::size_t chosen = 0;                 ///< amplifier
  bool shows_all = true;                  ///< beside the others, as many as have room
  std::optional<Quantity> quantity = {};  ///< none: both
  std::size_t zoom = 0;                   ///< time, see step()

  /// Takes a key. Returns whether the page stays.
  bool press(char32_t key, std::size_t amplifiers);
  /// Intervals a column.
  double step() const;
};

struct Status {
  double interval = 1;       ///< seconds between readings
  double end = 0;            ///< time of the newest reading, as in Reading
  std::string at = {};       ///< its time of day
  std::string trouble = {};  ///< of the newest reading; empty: none
  double waiting = 0;        ///< seconds for an answer, where it is late
};

/// Fills a grid of any size.
Grid draw_page(int width, int height, const Amplifiers &amplifiers, const View &view, const Status &status,
               const Glyphs &glyphs);

}  // namespace ymap::watch
