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

/// As much of a text as a message quotes of it, in bytes.
inline constexpr std::size_t kLongestQuote = 200;

/// The text, or its begin and how long it is where it is longer than kLongestQuote: no message grows with
/// what it refuses.
std::string shortened(std::string_view text);

}  // namespace ymap
