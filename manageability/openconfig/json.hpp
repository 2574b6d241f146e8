/// \file
/// JSON that the tool writes of its own data.
#pragma once

#include <string>
#include <string_view>

namespace ymap {

/// A string; `text` is UTF-8.
std::string quoted(const std::string &text);
void append_quoted(std::string &json, std::string_view text);

/// An array of what `text` makes of the items.
template <typename List, typename Text>
std::string json_list(const List &list, Text text) {
  std::string json;
  for (const auto &item : list) json += (json.empty() ? "" : ", ") + text(item);
  return "[" + json + "]";
}

}  // namespace ymap
