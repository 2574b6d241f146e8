/// \file
/// Hashes that are the same in every process and on every machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace device {

inline constexpr uint64_t kHashOfNothing = 0xcbf29ce484222325;

/// FNV-1a; `before` is the hash of what comes before the text.
constexpr uint64_t fnv1a(std::string_view text, uint64_t before = kHashOfNothing) {
  for (const char c : text) before = (before ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  return before;
}

/// Tells whether a text is still the one that it was, eight bytes at a time. Not for others to see: it
/// depends on the order of a machine's bytes.
inline uint64_t text_hash(std::string_view text, uint64_t before = kHashOfNothing) {
  const auto add = [&before](uint64_t word) {
    before = (before ^ word) * 0x9e3779b97f4a7c15;
    before ^= before >> 32;
  };
  uint64_t word = text.size();
  add(word);
  for (; text.size() >= sizeof word; text.remove_prefix(sizeof word)) {
    std::memcpy(&word, text.data(), sizeof word);
    add(word);
  }
  word = 0;
  if (!text.empty()) std::memcpy(&word, text.data(), text.size());
  add(word);
  return before;
}

}  // namespace device
