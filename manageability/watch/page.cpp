// Names, charts, legend, status, keys.
#include "page.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

#include "chart.hpp"

namespace ymap::watch {
namespace {

constexpr std::array<double, 9> kSteps = {1, 2, 5, 10, 30, 60, 120, 300, 900};  ///< intervals a column
constexpr double kHold = 10;  ///< intervals for which a value is taken to last

constexpr int kRowsAround = 4;  ///< names; legend, status, keys
constexpr int kLeastPage = kLeastHeight + kRowsAround;
constexpr int kGap = 1;  ///< between charts

std::u32string number(double value) {
  std::array<char, 32> digits = {};
  std::snprintf(digits.data(), digits.size(), "%g", value);
  return characters(digits.data());
}

/// The charts that have room, and of which amplifiers and quantities they are.
struct Layout {
  std::size_t first = 0, count = 1;
  std::vector<Quantity> quantities;

  Layout(int width, int height, std::size_t amplifiers, const View &view) {
    const int rows = height - kRowsAround;
    if (view.shows_all)
      count = std::min(amplifiers, static_cast<std::size_t>((width + kGap) / (kLeastWidth + kGap)));
    first = std::min(view.chosen, amplifiers - count);
    for (const auto quantity : kQuantities)
      if (view.quantity.value_or(quantity) == quantity &&
          static_cast<int>(quantities.size() + 1) * kLeastHeight <= rows)
        quantities.push_back(quantity);
  }
  bool shows(std::size_t amplifier) const { return amplifier >= first && amplifier < first + count; }
};

/// The chosen amplifier's name is always there.
void draw_names(Grid &grid, const std::vector<History> &all, const View &view, const Layout &layout) {
  std::vector<std::u32string> names;
  for (const auto &history : all) {
    names.push_back(U" " + number(static_cast<double>(names.size() + 1)) + U" " + on_one_line(history.name) +
                    U" ");
    if (history.readings.back().enabled == false) names.back() += U"off ";
  }
  std::size_t begin = 0;
  std::size_t used = 0;
  for (std::size_t at = 0; at <= view.chosen; ++at) used += names[at].size();
  for (; begin < view.chosen && used > static_cast<std::size_t>(grid.width()); ++begin)
    used -= names[begin].size();
  int column = 0;
  for (auto at = begin; at < names.size(); ++at) {
    const auto style = at == view.chosen ? Style::chosen : layout.shows(at) ? Style::heading : Style::faint;
    column = grid.put(column, 0, names[at], style);
  }
}

void draw_charts(Grid &grid, const std::vector<History> &all, const View &view, const Layout &layout,
                 const Status &status, const Glyphs &glyphs) {
  const auto columns = static_cast<int>(layout.count);
  const auto rows = static_cast<int>(layout.quantities.size());
  const int width = (grid.width() + kGap) / columns;
  const int height = (grid.height() - kRowsAround) / rows;
  const ChartTime time = {view.step() * status.interval, status.end, kHold * status.interval};
  for (int row = 0; row < rows; ++row)
    for (int column = 0; column < columns; ++column)
      draw_chart(grid, {column * width, 1 + row * height, width - kGap, height},
                 all[layout.first + static_cast<std::size_t>(column)],
                 layout.quantities[static_cast<std::size_t>(row)], time, glyphs);
}

void draw_legend(Grid &grid, int row, const View &view, const Layout &layout, std::size_t amplifiers,
                 const Glyphs &glyphs) {
  int column = grid.put(0, row, std::u32string(2, glyphs.level), Style::instant);
  column = grid.put(column, row, U" instant  ", Style::plain);
  column = grid.put(column, row, std::u32string(2, glyphs.band), Style::band);
  column = grid.put(column, row, U" min..max  ", Style::plain);
  column = grid.put(column, row, std::u32string({glyphs.target, glyphs.marker}), Style::target);
  column = grid.put(column, row, U" target", Style::plain);
  std::u32string missing;
  if (!view.quantity && layout.quantities.size() < kQuantities.size())
    missing = U"tilt: key t, or " + number(2 * kLeastHeight + kRowsAround) + U" rows";
  else if (view.shows_all && layout.count < amplifiers)
    missing = number(static_cast<double>(layout.count)) + U" of " + number(static_cast<double>(amplifiers)) +
              U" amplifiers have room";
  const int begin = grid.width() - static_cast<int>(missing.size());
  if (begin > column + 1) grid.put(begin, row, missing, Style::faint);
}

void draw_status(Grid &grid, int row, const Status &status) {
  if (status.waiting > 0)
    grid.put(0, row, U"no answer for " + number(std::floor(status.waiting)) + U" s; still waiting",
             Style::warning);
  else if (!status.trouble.empty())
    grid.put(0, row, on_one_line(status.at) + U" " + on_one_line(status.trouble), Style::warning);
  else
    grid.put(0, row, U"read at " + on_one_line(status.at) + U", every " + number(status.interval) + U" s",
             Style::faint);
}

/// Those that have room, the way out first.
void draw_keys(Grid &grid, int row, const View &view, const Glyphs &glyphs) {
  struct Key {
    std::u32string keys, what;
  };
  const std::vector<Key> list = {
      {U"q", U"leave"},
      {std::u32string(glyphs.arrows) + U" 1-9", U"amplifier"},
      {U"a", view.shows_all ? U"one" : U"all"},
      {U"g", U"gain"},
      {U"t", U"tilt"},
      {U"b", U"both"},
      {U"+ -", U"time"},
  };
  int column = 0;
  for (const auto &[keys, what] : list) {
    if (column + static_cast<int>(keys.size() + 1 + what.size()) > grid.width()) return;
    column = grid.put(column, row, keys, Style::heading);
    column = grid.put(column + 1, row, what, Style::plain) + 2;
  }
}

/// Broken between words.
void draw_paragraph(Grid &grid, const std::u32string &words) {
  int column = 0;
  int row = 0;
  for (std::size_t at = 0; at < words.size();) {
    const auto end = std::min(words.find(U' ', at), words.size());
    const auto length = static_cast<int>(end - at);
    if (column > 0 && column + length > grid.width()) {
      column = 0;
      ++row;
    }
    column = grid.put(column, row, words.substr(at, end - at), Style::warning) + 1;
    at = end + 1;
  }
}

}  // namespace

bool View::press(char32_t key, std::size_t amplifiers) {
  if (key == U'q') return false;
  if (key == U'g') quantity = Quantity::gain;
  if (key == U't') quantity = Quantity::tilt;
  if (key == U'b') quantity.reset();
  if (key == U'a') shows_all = !shows_all;
  if (key == U'+' && zoom > 0) --zoom;
  if (key == U'-' && zoom + 1 < kSteps.size()) ++zoom;
  if (key == kLeft && chosen > 0) --chosen;
  if (key == kRight && chosen + 1 < amplifiers) ++chosen;
  if (key >= U'1' && key <= U'9' && key - U'1' < amplifiers) {
    chosen = key - U'1';
    shows_all = false;
  }
  return true;
}

double View::step() const {
  return kSteps[zoom];
}

Grid draw_page(int width, int height, const Amplifiers &amplifiers, const View &view, const Status &status,
               const Glyphs &glyphs) {
  Grid grid(width, height);
  if (width < kLeastWidth || height < kLeastPage) {
    draw_paragraph(grid, number(kLeastWidth) + U" columns and " + number(kLeastPage) +
                             U" rows are needed; there are " + number(width) + U" and " + number(height) +
                             U". q leaves");
    return grid;
  }
  const auto &all = amplifiers.all();
  if (all.empty()) {
    grid.put(0, 0, U"No amplifiers are told.", Style::warning);
  } else {
    const Layout layout(width, height, all.size(), view);
    draw_names(grid, all, view, layout);
    draw_charts(grid, all, view, layout, status, glyphs);
    draw_legend(grid, height - 3, view, layout, all.size(), glyphs);
  }
  draw_status(grid, height - 2, status);
  draw_keys(grid, height - 1, view, glyphs);
  return grid;
}

}  // namespace ymap::watch
