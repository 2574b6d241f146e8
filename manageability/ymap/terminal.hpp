/// \file
/// What standard output can show.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ymap {

struct Terminal {
  bool aligned = false;   ///< a person reads: columns, headings
  bool redraws = false;   ///< understands control sequences: TERM is set and not "dumb"
  bool coloured = false;  ///< redraws, and NO_COLOR is not set
  std::size_t width = 80;

  /// The properties of standard output.
  static Terminal of_standard_output();

  using Row = std::vector<std::string>;
  /// Rows of as many cells each, indented; the first row is the heading. Texts are ASCII where that matters.
  std::string columns(const std::vector<Row> &rows) const;

  std::string bold(std::string_view text) const;
  std::string dim(std::string_view text) const;
};

/// Ends what was written to std::cout. Throws UsageError when it cannot be written.
void flush_output();

}  // namespace ymap
