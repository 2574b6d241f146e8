// Amplifiers as a table on a terminal, as lines elsewhere.
#include "table.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>
#include <map>
#include <string_view>
#include <vector>

#include "printable.hpp"

namespace ymap {
namespace {

/// One value as it is shown, with the leaf's unit.
struct Cell {
  std::string text;
  std::string unit;
};

/// A leaf's row, or that of a statistics container, whose leaves are one cell.
struct Row {
  std::string section;  ///< "config" or "state"
  std::string label;
  std::string unit;
  std::map<std::string, std::string> cells;  ///< by amplifier
};

struct Table {
  std::vector<std::string> amplifiers;
  std::vector<Row> rows;
  std::size_t next = 0;  ///< where the amplifier's next row stands, or would if it were new
};

uint64_t number(std::string_view text) {
  uint64_t value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

/// A server's names may hold anything.
std::string on_one_line(std::string_view text) {
  std::string line = printable(text);
  std::ranges::replace_if(
      line, [](char character) { return character == '\n' || character == '\t'; }, ' ');
  return line;
}

Cell cell_of(const DataNode &leaf) {
  const auto name = leaf.schema->name;
  if (name == "min-time" || name == "max-time") return {utc_time(number(leaf.value)), {}};
  if (name == "interval") {
    constexpr uint64_t second = 1'000'000'000;
    if (number(leaf.value) % second == 0) return {std::to_string(number(leaf.value) / second), "s"};
  }
  return {on_one_line(leaf.value), std::string(leaf.schema->units)};
}

/// The parts of a statistic in reading order; the words stand before the values where a line holds them all.
constexpr std::array<std::string_view, 7> kStatistic = {"instant",  "avg",      "min",     "max",
                                                        "interval", "min-time", "max-time"};

std::map<std::string_view, Cell> statistic_cells(const DataNode &container) {
  std::map<std::string_view, Cell> cells;
  for (const auto &leaf : container.children) cells[leaf.schema->name] = cell_of(leaf);
  return cells;
}

std::string joined(const std::string &left, const std::string &between, const std::string &right) {
  return left.empty() || right.empty() ? left + right : left + between + right;
}

void add_cell(Table &table, const Row &where, const std::string &text) {
  auto row = std::ranges::find_if(table.rows, [&](const Row &known) {
    return known.section == where.section && known.label == where.label;
  });
  if (row == table.rows.end())
    row = table.rows.insert(table.rows.begin() + static_cast<std::ptrdiff_t>(table.next), where);
  row->cells[table.amplifiers.back()] = text;
  table.next = static_cast<std::size_t>(row - table.rows.begin()) + 1;
}

/// "15.50, avg 15.48, 15.31..15.66" and, below, when that was.
void add_statistic(Table &table, const std::string &section, const DataNode &container) {
  auto cells = statistic_cells(container);
  auto &times = cells["interval"];
  const std::string label(container.schema->name);
  std::string unit;
  for (const auto part : {"instant", "avg", "min", "max"})
    if (unit.empty()) unit = cells[part].unit;
  const auto &average = cells["avg"].text;
  const auto range = joined(cells["min"].text, "..", cells["max"].text);
  add_cell(table, {section, label, unit, {}},
           joined(joined(cells["instant"].text, ", ", average.empty() ? "" : "avg " + average), ", ", range));
  if (!times.text.empty()) add_cell(table, {section, label + " interval", times.unit, {}}, times.text);
  for (const auto *part : {"min-time", "max-time"}) {
    const auto &text = cells[part].text;
    if (!text.empty()) add_cell(table, {section, label + " " + part, {}, {}}, text);
  }
}

/// Calls `visit` for every entry of every list, in the order of the data.
template <typename Visit>
void for_each_entry(const Data &siblings, const Visit &visit) {
  for (const auto &node : siblings) {
    if (node.schema->is_list())
      visit(node);
    else
      for_each_entry(node.children, visit);
  }
}

Table table_of(const Data &data) {
  Table table;
  for_each_entry(data, [&](const DataNode &entry) {
    const auto &key = entry.children.front();
    table.amplifiers.push_back(on_one_line(key.value));
    table.next = 0;
    for (const auto &section : entry.children) {
      const std::string heading(section.schema->name);
      for (const auto &node : section.children) {
        if (!node.schema->is_leaf()) {
          add_statistic(table, heading, node);
          continue;
        }
        // The name heads the column.
        if (node.schema->name == key.schema->name) continue;
        const auto cell = cell_of(node);
        add_cell(table, {heading, std::string(node.schema->name), cell.unit, {}}, cell.text);
      }
    }
  });
  return table;
}

std::string padded(const std::string &text, std::size_t width) {
  return text.size() < width ? text + std::string(width - text.size(), ' ') : text;
}

/// The rows for the amplifiers first..last-1, in columns.
void print_columns(const Table &table, std::size_t first, std::size_t last, const Terminal &terminal,
                   const std::vector<std::size_t> &widths, std::string &out) {
  constexpr std::size_t indent = 2;
  std::string heading = padded("", widths[0]) + padded("", widths[1]);
  for (std::size_t at = first; at < last; ++at) heading += padded(table.amplifiers[at], widths[at + 2]);
  heading.erase(heading.find_last_not_of(' ') + 1);
  out += terminal.bold(heading) + "\n";
  std::string section;
  for (const auto &row : table.rows) {
    const bool shown = std::any_of(table.amplifiers.begin() + static_cast<std::ptrdiff_t>(first),
                                   table.amplifiers.begin() + static_cast<std::ptrdiff_t>(last),
                                   [&](const std::string &name) { return row.cells.contains(name); });
    if (!shown) continue;
    if (row.section != section) out += terminal.bold(row.section) + "\n";
    section = row.section;
    std::string line;
    for (std::size_t at = first; at < last; ++at) {
      const auto cell = row.cells.find(table.amplifiers[at]);
      line += padded(cell == row.cells.end() ? "-" : cell->second, widths[at + 2]);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out += std::string(indent, ' ') + padded(row.label, widths[0] - indent) +
           terminal.dim(padded(row.unit, widths[1])) + line + "\n";
  }
}

std::string print_aligned(const Table &table, const Terminal &terminal) {
  constexpr std::size_t gap = 2;
  std::vector<std::size_t> widths(table.amplifiers.size() + 2, 0);
  for (const auto &row : table.rows) {
    widths[0] = std::max(widths[0], row.label.size() + 2 * gap);
    widths[1] = std::max(widths[1], row.unit.empty() ? 0 : row.unit.size() + gap);
  }
  for (std::size_t at = 0; at < table.amplifiers.size(); ++at) {
    auto &width = widths[at + 2];
    width = table.amplifiers[at].size();
    for (const auto &row : table.rows) {
      const auto cell = row.cells.find(table.amplifiers[at]);
      if (cell != row.cells.end()) width = std::max(width, cell->second.size());
    }
    width += gap;
  }
  std::string out;
  for (std::size_t first = 0; first < table.amplifiers.size();) {
    std::size_t last = first;
    for (auto used = widths[0] + widths[1]; last < table.amplifiers.size(); ++last) {
      used += widths[last + 2];
      if (last > first && used - gap > terminal.width) break;
    }
    if (first > 0) out += "\n";
    print_columns(table, first, last, terminal, widths, out);
    first = last;
  }
  return out;
}

std::string line_of(const std::string &label, const Cell &cell) {
  return label + " " + joined(cell.text, " ", cell.unit);
}

/// "0/0-AMP-PRE0 state/actual-gain instant 15.50 dB avg 15.48 dB min ..."
std::string print_lines(const Data &data) {
  std::string out;
  for_each_entry(data, [&](const DataNode &entry) {
    const auto amplifier = on_one_line(entry.children.front().value);
    for (const auto &section : entry.children) {
      for (const auto &node : section.children) {
        const auto leaf =
            (amplifier + " ").append(section.schema->name).append("/").append(node.schema->name);
        if (node.schema->is_leaf()) {
          out += line_of(leaf, cell_of(node)) + "\n";
          continue;
        }
        const auto cells = statistic_cells(node);
        out += leaf;
        for (const auto part : kStatistic) {
          const auto cell = cells.find(part);
          if (cell != cells.end()) out += " " + line_of(std::string(part), cell->second);
        }
        out += "\n";
      }
    }
  });
  return out;
}

}  // namespace

std::string print_table(const Data &data, const Terminal &terminal) {
  if (data.empty()) return {};
  return terminal.aligned ? print_aligned(table_of(data), terminal) : print_lines(data);
}

std::string utc_time(uint64_t nanoseconds) {
  const auto seconds = static_cast<std::time_t>(nanoseconds / 1'000'000'000);
  const auto milliseconds = nanoseconds / 1'000'000 % 1000;
  std::tm calendar = {};
  std::array<char, 64> buffer = {};
  if (gmtime_r(&seconds, &calendar) == nullptr) return std::to_string(nanoseconds);
  std::strftime(buffer.data(), buffer.size(), "%Y-%m-%dT%H:%M:%S", &calendar);
  std::string text = buffer.data();
  if (milliseconds != 0) text += "." + std::to_string(1000 + milliseconds).substr(1);
  return text + "Z";
}

}  // namespace ymap
