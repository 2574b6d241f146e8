/// \file
/// The terminal, as long as it shows the page.
#pragma once

#include <memory>
#include <optional>

#include "grid.hpp"

namespace ymap::watch {

class Screen {
 public:
  /// Throws UsageError where standard input and output are no terminal that a page can be shown on.
  static void check();

  /// Takes the terminal over, and gives it back as it was.
  Screen();
  ~Screen();
  Screen(const Screen &) = delete;
  Screen &operator=(const Screen &) = delete;

  int width() const;
  int height() const;
  /// The terminal has another size.
  void resize();

  void show(const Grid &grid);
  /// The next key that was pressed, see View::press(); 0 for one without a meaning.
  std::optional<char32_t> key();

  /// What the locale's characters allow.
  const Glyphs &glyphs() const { return is_unicode_ ? kUnicode : kAscii; }

 private:
  struct Curses;

  bool is_unicode_;
  std::unique_ptr<Curses> curses_;
};

}  // namespace ymap::watch
