// What standard output is and can.
#include "terminal.hpp"

#include <sys/ioctl.h>
#include <unistd.h>
#include <algorithm>

#include <cstdlib>
#include <iostream>

#include "rpc_error.hpp"

namespace ymap {
namespace {

std::string styled(std::string_view text, const char *code, bool coloured) {
  if (!coloured) return std::string(text);
  return std::string("\033[").append(code).append("m").append(text).append("\033[0m");
}

}  // namespace

Terminal Terminal::of_standard_output() {
  Terminal terminal;
  terminal.aligned = isatty(STDOUT_FILENO) == 1;
  if (!terminal.aligned) return terminal;
  const char *no_color = std::getenv("NO_COLOR");
  const char *term = std::getenv("TERM");
  const bool refused = no_color != nullptr && *no_color != '\0';
  terminal.redraws = term != nullptr && *term != '\0' && std::string_view(term) != "dumb";
  terminal.coloured = terminal.redraws && !refused;
  winsize size = {};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) terminal.width = size.ws_col;
  return terminal;
}

std::string Terminal::columns(const std::vector<Row> &rows) const {
  std::vector<std::size_t> widths(rows.front().size());
  for (const auto &row : rows)
    for (std::size_t at = 0; at < row.size(); ++at) widths[at] = std::max(widths[at], row[at].size());
  std::string text;
  for (const auto &row : rows) {
    std::string line;
    for (std::size_t at = 0; at + 1 < row.size(); ++at)
      line += row[at] + std::string(widths[at] - row[at].size() + 2, ' ');
    line += row.back();
    text += "  " + (&row == &rows.front() ? dim(line) : line) + "\n";
  }
  return text;
}

std::string Terminal::bold(std::string_view text) const {
  return styled(text, "1", coloured);
}
std::string Terminal::dim(std::string_view text) const {
  return styled(text, "2", coloured);
}

void flush_output() {
  if (!std::cout.flush()) throw UsageError("standard output cannot be written");
}

}  // namespace ymap
