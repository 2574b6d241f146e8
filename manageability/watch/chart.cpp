// Heading, axes, band, target and instants.
#include "chart.hpp"

#include <algorithm>
#include <array>
#include <cstdio>

namespace ymap::watch {
namespace {

constexpr int kLabelWidth = 6;          ///< "-12.34"
constexpr int kPlot = kLabelWidth + 2;  ///< where it begins: label, space, axis
constexpr int kMarker = 1;              ///< beside the plot, of the target

struct Piece {
  std::u32string text;
  Style style;
};

std::u32string decibel(double value) {
  std::array<char, 32> text = {};
  std::snprintf(text.data(), text.size(), "%.2f", value);
  return characters(text.data());
}

/// The newest values, what matters most first: what does not fit is left out.
std::vector<Piece> heading_of(const History &history, Quantity quantity) {
  std::vector<Piece> pieces = {
      {on_one_line(history.name) + (quantity == Quantity::gain ? U" gain" : U" tilt"), Style::heading}};
  const auto &newest = history.readings.back();
  const auto &values = newest.of(quantity);
  if (values == Values{}) return pieces;
  pieces.push_back({values.instant ? decibel(*values.instant) + U" dB" : U"-", Style::instant});
  if (newest.enabled == false) pieces.push_back({U"off", Style::warning});
  if (values.target) pieces.push_back({U"target " + decibel(*values.target), Style::target});
  if (values.least && values.most)
    pieces.push_back({decibel(*values.least) + U".." + decibel(*values.most), Style::band});
  if (values.average) pieces.push_back({U"avg " + decibel(*values.average), Style::plain});
  return pieces;
}

void draw_heading(Grid &grid, const Area &area, const std::vector<Piece> &pieces) {
  int column = area.column;
  int gap = 0;
  for (const auto &[text, style] : pieces) {
    const auto room = static_cast<std::size_t>(std::max(area.column + area.width - column - gap, 0));
    if (text.size() > room && gap > 0) return;
    column = grid.put(column + gap, area.row, std::u32string_view(text).substr(0, room), style);
    gap = gap == 0 ? 1 : 2;
  }
}

std::optional<ValueAxis> value_axis(const std::vector<Column> &columns, int rows) {
  std::optional<double> least, most;
  for (const auto &column : columns) {
    for (const auto &value : {column.lowest, column.highest, column.least, column.most, column.target}) {
      if (!value) continue;
      least = least ? std::min(*least, *value) : *value;
      most = most ? std::max(*most, *value) : *value;
    }
  }
  if (!least) return std::nullopt;
  return ValueAxis(*least, *most, rows);
}

void draw_value_axis(Grid &grid, const Area &plot, const ValueAxis &axis, const Glyphs &glyphs) {
  for (int row = 0; row < plot.height; ++row) {
    const auto label = axis.label(row);
    const auto width = static_cast<int>(label.size());
    grid.put(plot.column - 2 - width, plot.row + row, label, Style::faint);
    grid.put(plot.column - 1, plot.row + row, label.empty() ? glyphs.axis : glyphs.tick, Style::faint);
  }
}

void draw_time_axis(Grid &grid, const Area &plot, const TimeAxis &axis, const Glyphs &glyphs) {
  const int row = plot.row + plot.height;
  grid.put(plot.column - 4, row, U"dB", Style::faint);
  grid.put(plot.column - 1, row, glyphs.corner, Style::faint);
  for (int column = 0; column < plot.width; ++column)
    grid.put(plot.column + column, row, glyphs.floor, Style::faint);
  for (const auto &tick : ticks(axis)) {
    const auto width = static_cast<int>(tick.label.size());
    grid.put(plot.column + tick.column, row, glyphs.floor_tick, Style::faint);
    // The last label ends with the plot, the others have their ticks in the middle.
    const int begin = std::min(tick.column - (width - 1) / 2, plot.width - width);
    if (plot.column + begin > plot.column - kPlot)
      grid.put(plot.column + begin, row + 1, tick.label, Style::faint);
  }
}

/// Instants, as a line that is broken where there are none.
void draw_line(Grid &grid, const Area &plot, int column, const Column &now, const Column *before,
               const ValueAxis &axis, const Glyphs &glyphs) {
  if (!now.last) return;
  const auto put = [&](int row, char32_t glyph) {
    grid.put(plot.column + column, plot.row + row, glyph, Style::instant);
  };
  const int to = axis.row_of(*now.last);
  const int from = before != nullptr && before->last ? axis.row_of(*before->last) : to;
  const int above = std::min({from, to, axis.row_of(*now.highest)});
  const int below = std::max({from, to, axis.row_of(*now.lowest)});
  for (int row = above; row <= below; ++row) put(row, glyphs.upright);
  if (from != to) put(from, to < from ? glyphs.rise_from : glyphs.fall_from);
  put(to, to == from ? glyphs.level : to < from ? glyphs.rise_to : glyphs.fall_to);
}

}  // namespace

void draw_chart(Grid &grid, const Area &area, const History &history, Quantity quantity,
                const ChartTime &time, const Glyphs &glyphs) {
  draw_heading(grid, area, heading_of(history, quantity));
  const Area plot = {area.column + kPlot, area.row + 1, area.width - kPlot - kMarker, area.height - 3};
  const TimeAxis times = {time.step, time.end, plot.width};
  const auto columns = columns_of(history.readings, quantity, times, time.hold);
  const auto axis = value_axis(columns, plot.height);
  if (!axis) {
    grid.put(plot.column, plot.row + plot.height / 2, U"no values", Style::faint);
    return;
  }
  draw_value_axis(grid, plot, *axis, glyphs);
  draw_time_axis(grid, plot, times, glyphs);
  const Column *before = nullptr;
  for (int at = 0; at < plot.width; ++at) {
    const auto &column = columns[static_cast<std::size_t>(at)];
    if (column.least)
      for (int row = axis->row_of(*column.most); row <= axis->row_of(*column.least); ++row)
        grid.put(plot.column + at, plot.row + row, glyphs.band, Style::band);
    if (column.target)
      grid.put(plot.column + at, plot.row + axis->row_of(*column.target), glyphs.target, Style::target);
    draw_line(grid, plot, at, column, before, *axis, glyphs);
    before = &column;
  }
  // Instants may hide the line of the target.
  if (const auto &target = columns.back().target)
    grid.put(plot.column + plot.width, plot.row + axis->row_of(*target), glyphs.marker, Style::target);
}

}  // namespace ymap::watch
