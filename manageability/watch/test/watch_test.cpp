// Readings, axes, charts and pages, as they are before any terminal shows them.
#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "axes.hpp"
#include "chart.hpp"
#include "grid.hpp"
#include "history.hpp"
#include "page.hpp"

namespace ymap::watch {
namespace {

std::string utf8(std::u32string_view text) {
  std::string bytes;
  for (const char32_t character : text) {
    if (character < 0x80) {
      bytes += static_cast<char>(character);
      continue;
    }
    EXPECT_LT(character, 0x10000U);  // three bytes are enough for what is written here
    bytes += static_cast<char>(0xE0U | character >> 12U);
    bytes += static_cast<char>(0x80U | (character >> 6U & 0x3FU));
    bytes += static_cast<char>(0x80U | (character & 0x3FU));
  }
  return bytes;
}

std::string row_of(const Grid &grid, int row) {
  std::u32string text;
  for (int column = 0; column < grid.width(); ++column) text += grid.at(column, row).glyph;
  text.erase(text.find_last_not_of(U' ') + 1);
  return utf8(text);
}

/// As it would be typed.
std::string drawn(const Grid &grid) {
  std::string text = "\n";
  for (int row = 0; row < grid.height(); ++row) text += row_of(grid, row) + "\n";
  return text;
}

constexpr auto kNone = std::nullopt;

/// Instants and, from the third on, a band around them.
Reading reading(double time, std::optional<double> instant, std::optional<double> target = 17.2) {
  Values values{instant, kNone, kNone, kNone, target};
  if (instant && time >= 2) values = {*instant, *instant, *instant - 0.1, *instant + 0.1, target};
  return {time, {values, Values{}}, true};
}

TEST(ValueAxis, HasRoundLabelsAndHoldsAllValues) {
  struct Case {
    double least, most;
    int rows;
    std::string labels;
  };
  const std::vector<Case> cases = {
      {17.2, 17.2, 1, "17.20"},
      {17.2, 17.2, 3, "17.21 17.20 17.19"},
      {17.11, 17.29, 10, "- - - - 17.20 - - - - 17.10"},
      {17.11, 17.29, 6, "17.30 - 17.20 - 17.10 -"},
      {-0.59, 0.41, 5, "1.0 - 0.0 - -1.0"},
      {8.0, 38.0, 12, "50 - 40 - 30 - 20 - 10 - 0 -"},
      {-0.004, 0.004, 3, "0.01 0.00 -0.01"},
      {-9.2e16, 9.2e16, 4, "- 0 - -200000000000000000"},
  };
  for (const auto &[least, most, rows, expected] : cases) {
    SCOPED_TRACE(expected);
    const ValueAxis axis(least, most, rows);
    std::string labels;
    for (int row = 0; row < rows; ++row) {
      const auto label = utf8(axis.label(row));
      labels += (row == 0 ? "" : " ") + (label.empty() ? "-" : label);
    }
    EXPECT_EQ(labels, expected);
    EXPECT_GE(axis.row_of(most), 0);
    EXPECT_LT(axis.row_of(least), rows);
  }
}

TEST(TimeAxis, TicksAreRoundAges) {
  struct Case {
    double step;
    int columns;
    std::string ticks;
  };
  const std::vector<Case> cases = {
      {1, 25, "24:now 14:-10 s 4:-20 s"},
      {0.1, 21, "20:now 10:-1 s 0:-2 s"},
      {0.7, 40, "39:now 25:-10 s 10:-20 s"},
      {6, 25, "24:now 14:-1 min 4:-2 min"},
      {360, 12, "11:now 1:-1 h"},
      {1, 10, "9:now"},
      {100'000, 13, "12:now 0:-320 h"},
  };
  for (const auto &[step, columns, expected] : cases) {
    SCOPED_TRACE(expected);
    std::string found;
    for (const auto &tick : ticks({step, 0, columns}))
      found += (found.empty() ? "" : " ") + std::to_string(tick.column) + ":" + utf8(tick.label);
    EXPECT_EQ(found, expected);
  }
}

TEST(Columns, HoldWhatWasReadAndNoMore) {
  struct Case {
    const char *what;
    std::vector<std::pair<double, std::optional<double>>> readings;
    double step;
    std::string columns;  ///< of six: "last", "lowest/last/highest", or "-"
  };
  const std::vector<Case> cases = {
      {"one each", {{0, 1}, {1, 2}, {2, 3}}, 1, "- - - 1 2 3"},
      {"late ones stay in their columns", {{0, 1}, {1.3, 2}, {1.8, 3}}, 1, "- - - 1 2 3"},
      {"what is older is not shown", {{0, 1}, {1, 2}, {2, 3}, {7, 8}}, 1, "3 3 3 3 3 8"},
      {"several in a column", {{0, 1}, {1, 4}, {2, 2}, {3, 3}}, 2, "- - - 1 2/2/4 3"},
      {"left out times are as before", {{0, 1}, {3, 2}}, 1, "- - 1 1 1 2"},
      {"but not for long", {{0, 1}, {5, 2}}, 1, "1 - - - - 2"},
      {"nor after a failure", {{0, 1}, {1, kNone}, {4, 2}}, 1, "- 1 - - - 2"},
  };
  for (const auto &[what, readings, step, expected] : cases) {
    SCOPED_TRACE(what);
    std::deque<Reading> list;
    for (const auto &[time, instant] : readings) list.push_back(reading(time, instant, kNone));
    // One that comes at the begin of the long ones is held for four seconds, or for all of a column's time.
    const double hold = std::string_view(what) == "what is older is not shown" ? 5 : 4;
    std::string found;
    for (const auto &column : columns_of(list, Quantity::gain, {step, list.back().time, 6}, hold)) {
      const auto text = [](double value) { return std::to_string(static_cast<int>(value)); };
      found += found.empty() ? "" : " ";
      if (!column.last)
        found += "-";
      else if (*column.lowest == *column.highest)
        found += text(*column.last);
      else
        found += text(*column.lowest) + "/" + text(*column.last) + "/" + text(*column.highest);
    }
    EXPECT_EQ(found, expected);
  }
}

History steps() {
  return {"amplifier",
          {reading(0, 17.2), reading(1, 17.2), reading(2, 17.2), reading(3, 17.2), reading(4, 17.4, 17.3),
           reading(5, 17.4, 17.3), reading(6, kNone, kNone), reading(7, 17.1, 17.3), reading(8, 17.3, 17.3)}};
}

TEST(Chart, DrawsBandTargetAndInstants) {
  const std::string unicode = R"(
amplifier gain 17.30 dB  target 17.30
       │                            ░░
  17.4 ┤                            ╭─  ░
       │                          ░░│┄ ┄╭◄
  17.2 ┤                        ────╯  ░│
       │                          ░░   ─╯
  17.0 ┤                               ░
    dB └──┬─────────┬─────────┬─────────┬
        -30 s     -20 s     -10 s     now
)";
  const std::string ascii = R"(
amplifier gain 17.30 dB  target 17.30
       |                            ::
  17.4 +                            **  :
       |                          ::|- -*<
  17.2 +                        *****  :|
       |                          ::   **
  17.0 +                               :
    dB +--+---------+---------+---------+
        -30 s     -20 s     -10 s     now
)";
  for (const auto &[glyphs, expected] : {std::pair(&kUnicode, unicode), std::pair(&kAscii, ascii)}) {
    Grid grid(42, 9);
    draw_chart(grid, {0, 0, 42, 9}, steps(), Quantity::gain, {1, 8, 10}, *glyphs);
    EXPECT_EQ(drawn(grid), expected);
  }
}

TEST(Chart, ShowsWhatIsShorterThanAColumn) {
  History history{"amplifier", {}};
  for (const auto &[time, instant] :
       {std::pair(0, 17.2), {1, 17.2}, {4, 17.2}, {5, 17.4}, {6, 17.1}, {7, 17.2}, {8, 17.2}})
    history.readings.push_back({static_cast<double>(time), {Values{.instant = instant}, Values{}}, true});
  Grid grid(26, 7);
  draw_chart(grid, {0, 0, 26, 7}, history, Quantity::gain, {4, 8, 10}, kUnicode);
  EXPECT_EQ(drawn(grid), R"(
amplifier gain 17.20 dB
  17.4 ┤               ╭╮
       │               ││
  17.2 ┤              ─╯╰
       │                │
    dB └─┬──────────────┬
       -1 min         now
)");
}

/// A leaf, or a container, of an answer.
struct Answered {
  SchemaNode schema;
  std::string value;
  std::vector<Answered> children;

  DataNode node() const {
    DataNode data{&schema, value, {}};
    for (const auto &child : children) data.children.push_back(child.node());
    return data;
  }
};
Answered leaf(std::string_view name, std::string value) {
  return {{.name = name, .kind = SchemaNode::Kind::leaf}, std::move(value), {}};
}
Answered container(std::string_view name, std::vector<Answered> children) {
  return {{.name = name}, "", std::move(children)};
}
Answered amplifier(std::string name, std::vector<Answered> state) {
  return {{.name = "amplifier", .kind = SchemaNode::Kind::list},
          "",
          {leaf("name", std::move(name)), container("state", std::move(state))}};
}

/// "name: instant average least..most target on | ..." of the gain; absent values are dashes.
std::string told(const Amplifiers &amplifiers) {
  const auto text = [](std::optional<double> value) {
    return value ? std::to_string(static_cast<int>(*value)) : "-";
  };
  std::string all;
  for (const auto &[name, readings] : amplifiers.all()) {
    all += name + ":";
    for (const auto &one : readings) {
      const auto &values = one.of(Quantity::gain);
      all += " " + text(one.time) + "=" + text(values.instant) + "," + text(values.average) + "," +
             text(values.least) + "," + text(values.most) + "," + text(values.target) +
             (!one.enabled   ? ""
              : *one.enabled ? " on"
                             : " off");
    }
    all += "\n";
  }
  return all;
}

TEST(Amplifiers, KeepWhatIsToldAndWhatIsNot) {
  const auto everything = container(
      "amplifiers",
      {amplifier("a", {leaf("enabled", "true"), leaf("target-gain", "5.00"),
                       container("actual-gain", {leaf("instant", "1.50"), leaf("avg", "2.50"),
                                                 leaf("min", "-3.50"), leaf("max", "4.50")})}),
       amplifier("b", {leaf("enabled", "false"), container("actual-gain-tilt", {leaf("instant", "9.00")}),
                       container("actual-gain", {leaf("max", "loud")})})});
  const auto less =
      container("amplifiers", {amplifier("b", {container("actual-gain", {leaf("avg", "7.00")})})});
  Amplifiers amplifiers(3);
  amplifiers.add(0, {everything.node()});
  EXPECT_EQ(told(amplifiers), "a: 0=1,2,-3,4,5 on\nb: 0=-,-,-,-,- off\n");
  EXPECT_EQ(amplifiers.all()[1].readings[0].of(Quantity::tilt).instant, 9);
  amplifiers.add(1, {less.node()});
  amplifiers.add_failure(2);
  amplifiers.add(3, {everything.node()});
  EXPECT_EQ(told(amplifiers),
            "a: 1=-,-,-,-,- 2=-,-,-,-,- 3=1,2,-3,4,5 on\n"
            "b: 1=-,7,-,-,- 2=-,-,-,-,- 3=-,-,-,-,- off\n");
}

class PageTest : public testing::Test {
 protected:
  PageTest() {
    const auto off = [](const char *name, const char *enabled) {
      return amplifier(name, {leaf("enabled", enabled), leaf("target-gain", "17.20")});
    };
    amplifiers_.add(
        0,
        {container("amplifiers", {off("one", "true"), off("two", "false"), off("3\n\x1b", "true")}).node()});
  }
  Grid page(int width, int height, const View &view, const Status &status = {.at = "08:00:00Z"}) const {
    return draw_page(width, height, amplifiers_, view, status, kUnicode);
  }
  Amplifiers amplifiers_{10};
};

TEST_F(PageTest, TellsWhatHasNoRoom) {
  struct Case {
    int width, height;
    View view;
    int row;
    std::string text;
  };
  const std::vector<Case> cases = {
      {100, 24, {}, 0, " 1 one  2 two off  3 3 \\x1b"},
      {100, 24, {}, 21, "── instant  ░░ min..max  ┄◄ target"},
      {79, 24, {}, 21, "── instant  ░░ min..max  ┄◄ target                  2 of 3 amplifiers have room"},
      {70, 15, {}, 12, "── instant  ░░ min..max  ┄◄ target             tilt: key t, or 16 rows"},
      {70, 15, {.shows_all = false, .quantity = Quantity::tilt}, 12, "── instant  ░░ min..max  ┄◄ target"},
      {70, 15, {.chosen = 2, .shows_all = false}, 1, "3 \\x1b gain -  target 17.20"},
      {26, 10, {.chosen = 2}, 0, " 2 two off  3 3 \\x1b"},
      {26, 10, {}, 9, "q leave  ←→ 1-9 amplifier"},
      {25, 10, {}, 0, "26 columns and 10 rows"},
      {26, 9, {}, 1, "needed; there are 26 and"},
  };
  for (const auto &[width, height, view, row, text] : cases) {
    SCOPED_TRACE(text);
    EXPECT_EQ(row_of(page(width, height, view), row), text);
  }
}

TEST_F(PageTest, HasAStatus) {
  const std::vector<std::pair<Status, std::string>> cases = {
      {{.interval = 0.5, .at = "08:00:00Z"}, "read at 08:00:00Z, every 0.5 s"},
      {{.at = "08:00:00Z", .trouble = "no\nfolder"}, "08:00:00Z no folder"},
      {{.at = "08:00:00Z", .trouble = "old", .waiting = 7.8}, "no answer for 7 s; still waiting"},
  };
  for (const auto &[status, text] : cases) EXPECT_EQ(row_of(page(80, 24, {}, status), 22), text);
  EXPECT_EQ(row_of(draw_page(80, 24, Amplifiers(1), {}, {}, kAscii), 0), "No amplifiers are told.");
}

TEST_F(PageTest, FitsAnySize) {
  for (int width = 1; width < 90; ++width) {
    for (int height = 1; height < 26; ++height) {
      for (const bool shows_all : {true, false}) {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
        const auto grid = page(width, height, {.chosen = 1, .shows_all = shows_all});
        const bool has_room = width >= 26 && height >= 10;
        EXPECT_EQ(row_of(grid, has_room ? height - 1 : 0)[0], has_room ? 'q' : '2');
      }
    }
  }
}

TEST(View, TakesKeys) {
  struct Case {
    std::u32string keys;
    std::string view;  ///< chosen, all, quantity, step
  };
  const std::vector<Case> cases = {
      {U"", "0 all both 1"},
      {U"←", "0 all both 1"},
      {U"→→→→", "2 all both 1"},
      {U"→→←", "1 all both 1"},
      {U"3", "2 one both 1"},
      {U"4", "0 all both 1"},
      {U"0x\n", "0 all both 1"},
      {U"2a", "1 all both 1"},
      {U"gt", "0 all tilt 1"},
      {U"tg", "0 all gain 1"},
      {U"gb", "0 all both 1"},
      {U"+--", "0 all both 5"},
      {U"--------------", "0 all both 900"},
      {U"--+", "0 all both 2"},
  };
  for (const auto &[keys, expected] : cases) {
    View view;
    for (const auto key : keys) EXPECT_TRUE(view.press(key, 3));
    std::string found = std::to_string(view.chosen) + (view.shows_all ? " all " : " one ");
    found += !view.quantity ? "both " : *view.quantity == Quantity::gain ? "gain " : "tilt ";
    EXPECT_EQ(found + std::to_string(static_cast<int>(view.step())), expected);
  }
  EXPECT_FALSE(View().press(U'q', 3));
}

TEST(Characters, AreThoseOfUtf8) {
  EXPECT_EQ(characters("a\xc3\xa9\xe2\x96\x91\xf0\x9d\x84\x9e."), U"aé░\U0001D11E.");
}

}  // namespace
}  // namespace ymap::watch
