/// \file
/// A chart of one quantity of one amplifier.
#pragma once

#include "axes.hpp"
#include "grid.hpp"
#include "history.hpp"

namespace ymap::watch {

/// The least area that holds a chart: heading, three rows of values, time axis and its labels.
inline constexpr int kLeastWidth = 26;
inline constexpr int kLeastHeight = 6;

struct ChartTime {
  double step = 1;   ///< seconds a column
  double end = 0;    ///< of the newest reading
  double hold = 10;  ///< see columns_of()
};

void draw_chart(Grid &grid, const Area &area, const History &history, Quantity quantity,
                const ChartTime &time, const Glyphs &glyphs);

}  // namespace ymap::watch
