// Strings of JSON (RFC 8259, section 7).
#include "json.hpp"

#include <cstdio>

namespace ymap {

void append_quoted(std::string &json, std::string_view text) {
  const auto stands_for_itself = [](char character) {
    return static_cast<unsigned char>(character) >= 0x20 && character != '"' && character != '\\';
  };
  json += '"';
  std::size_t written = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (stands_for_itself(text[at])) continue;
    json.append(text, written, at - written);
    written = at;
    if (static_cast<unsigned char>(text[at]) >= 0x20) {
      json += '\\';
      continue;
    }
    char code[8];
    std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(text[at]));
    json += code;
    ++written;
  }
  json.append(text, written).append(1, '"');
}

std::string quoted(const std::string &text) {
  std::string json;
  append_quoted(json, text);
  return json;
}

}  // namespace ymap
