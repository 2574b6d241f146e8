/// \file
/// A hash that is the same in every process and on every machine.
#pragma once

#include <cstdint>
#include <string_view>

namespace ymap {

/// FNV-1a; `before` is the hash of what comes before the text.
constexpr uint64_t fnv1a(std::string_view text, uint64_t before = 0xcbf29ce484222325) {
  for (const char character : text) before = (before ^ static_cast<uint8_t>(character)) * 0x100000001b3;
  return before;
}

}  // namespace ymap
