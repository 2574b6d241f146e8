/// \file
/// Foreign text in messages.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ymap {

/// The text with every byte that is not UTF-8, and every control character but tab and line feed, as "\x1b":
/// messages quote what a request or a file held, and neither XML nor a terminal may take that as it is.
std::string printable(std::string_view text);

/// The same on one line: also without tabs, line feeds and all that turns the direction of text around, so
/// that nobody can make a line look like two, or like another. Backslashes are doubled and quotation marks
/// and closing brackets get one, so that the text can be told from what is around it (RFC 5424,
/// section 6.3.3).
std::string escaped(std::string_view text);
/// The text that was escaped.
std::string unescaped(std::string_view text);

/// As much of a text as a message quotes of it, in bytes.
inline constexpr std::size_t kLongestQuote = 200;

/// The text, or its begin and how long it is where it is longer than kLongestQuote: no message grows with
/// what it refuses.
std::string shortened(std::string_view text);

}  // namespace ymap
