// ncurses.
#include "screen.hpp"

#define NCURSES_NOMACROS 1
#define NCURSES_WIDECHAR 1
#include <curses.h>
#include <term.h>

#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <string_view>
#include <utility>

#include "page.hpp"
#include "rpc_error.hpp"

namespace ymap::watch {
namespace {

constexpr int kEscapeDelay = 25;  ///< ms; between the bytes of a key

/// In the order of Style.
struct Look {
  short colour;  ///< -1: the terminal's own
  attr_t with_colour, without;
};
constexpr std::array<Look, 8> kLooks = {{
    {-1, A_NORMAL, A_NORMAL},
    {-1, A_DIM, A_NORMAL},
    {-1, A_BOLD, A_BOLD},
    {-1, A_REVERSE | A_BOLD, A_REVERSE | A_BOLD},
    {COLOR_GREEN, A_BOLD, A_BOLD},
    {COLOR_CYAN, A_NORMAL, A_NORMAL},
    {COLOR_YELLOW, A_BOLD, A_NORMAL},
    {COLOR_RED, A_BOLD, A_BOLD},
}};

bool colours_are_refused() {
  const char *no_color = std::getenv("NO_COLOR");
  return no_color != nullptr && *no_color != '\0';
}

std::string quoted_type() {
  const char *type = std::getenv("TERM");
  return type == nullptr ? "(TERM is not set)" : "\"" + std::string(type) + "\" (TERM)";
}

}  // namespace

struct Screen::Curses {
  SCREEN *screen;
  bool is_coloured;
};

void Screen::check() {
  for (const auto &[descriptor, name] :
       {std::pair(STDIN_FILENO, "input"), std::pair(STDOUT_FILENO, "output")})
    if (isatty(descriptor) != 1)
      throw UsageError(std::string("standard ") + name +
                       " is no terminal, which a page needs; \"ymap get --watch SECONDS\" writes lines");
  int found = 0;
  const bool can_place = setupterm(nullptr, STDOUT_FILENO, &found) != ERR && cursor_address != nullptr;
  // The page begins with a description of its own.
  del_curterm(cur_term);
  if (!can_place)
    throw UsageError("on a terminal of the type " + quoted_type() +
                     " no page can be shown; \"ymap get --watch SECONDS\" writes lines");
}

Screen::Screen() {
  std::setlocale(LC_CTYPE, "");
  is_unicode_ = std::string_view(nl_langinfo(CODESET)) == "UTF-8";
  curses_ = std::make_unique<Curses>(Curses{newterm(nullptr, stdout, stdin), false});
  if (curses_->screen == nullptr) throw UsageError("ncurses cannot show a page on " + quoted_type());
  curses_->is_coloured = has_colors() && !colours_are_refused();
  if (curses_->is_coloured) {
    start_color();
    const bool has_own = use_default_colors() == OK;
    const short ground = has_own ? -1 : COLOR_BLACK;
    const short text = has_own ? -1 : COLOR_WHITE;
    for (std::size_t style = 0; style < kLooks.size(); ++style) {
      const short colour = kLooks[style].colour;
      init_pair(static_cast<short>(style + 1), colour < 0 ? text : colour, ground);
    }
  }
  cbreak();
  noecho();
  curs_set(0);
  set_escdelay(kEscapeDelay);
  keypad(stdscr, TRUE);
  nodelay(stdscr, TRUE);
}

Screen::~Screen() {
  endwin();
  delscreen(curses_->screen);
}

int Screen::width() const {
  return getmaxx(stdscr);
}
int Screen::height() const {
  return getmaxy(stdscr);
}

void Screen::resize() {
  winsize size = {};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0)
    resizeterm(size.ws_row, size.ws_col);
}

void Screen::show(const Grid &grid) {
  erase();
  for (int row = 0; row < grid.height(); ++row) {
    for (int column = 0; column < grid.width(); ++column) {
      const auto &cell = grid.at(column, row);
      const auto &look = kLooks[static_cast<std::size_t>(cell.style)];
      // Wide and combining characters of foreign names would shift the row.
      const auto glyph = static_cast<wchar_t>(cell.glyph);
      const std::array<wchar_t, 2> text = {wcwidth(glyph) == 1 ? glyph : L'?', L'\0'};
      cchar_t character = {};
      const auto pair = static_cast<short>(curses_->is_coloured ? static_cast<int>(cell.style) + 1 : 0);
      setcchar(&character, text.data(), curses_->is_coloured ? look.with_colour : look.without, pair,
               nullptr);
      mvadd_wch(row, column, &character);
    }
  }
  refresh();
}

std::optional<char32_t> Screen::key() {
  const int code = getch();
  switch (code) {
    case ERR:
      return std::nullopt;
    case KEY_LEFT:
    case KEY_UP:
      return kLeft;
    case KEY_RIGHT:
    case KEY_DOWN:
      return kRight;
    default:
      return code < 0x80 ? static_cast<char32_t>(code) : U'\0';
  }
}

}  // namespace ymap::watch
