// Strings of JSON (RFC 8259, section 7).
#include "json.hpp"

#include <cstdio>

namespace ymap {

std::string quoted(const std::string &text) {
  std::string json = "\"";
  for (const char character : text) {
    if (character == '"' || character == '\\') json += '\\';
    if (static_cast<unsigned char>(character) < 0x20) {
      char code[8];
      std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(character));
      json += code;
    } else {
      json += character;
    }
  }
  return json + "\"";
}

}  // namespace ymap
