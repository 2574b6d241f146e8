/// \file
/// Foreign text in messages.
#pragma once

#include <string>
#include <string_view>

namespace ymap {

/// The text with every byte that is not UTF-8, and every control character but tab and line feed, as "\x1b":
/// messages quote what a request or a file held, and neither XML nor a terminal may take that as it is.
std::string printable(std::string_view text);

}  // namespace ymap
