/// \file
/// Memory of trees and requests: allocated piece by piece, freed as a whole.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>
#include <utility>

namespace yfw {

/// Bump allocation: nothing is freed before the arena is, so whoever holds a record or a text may go on
/// reading. Chunks come from a small store of the thread's, so that a request after the first one allocates
/// nothing.
class Arena {
 public:
  Arena() = default;
  Arena(Arena &&other) noexcept
      : chunks_(std::exchange(other.chunks_, nullptr)),
        next_(std::exchange(other.next_, nullptr)),
        left_(std::exchange(other.left_, 0)) {}
  Arena &operator=(Arena &&) = delete;
  ~Arena() {
    if (chunks_ != nullptr) release();
  }

  /// Aligned for pointers; not initialised.
  void *allocate(std::size_t bytes) {
    bytes = (bytes + kAlignment - 1) & ~(kAlignment - 1);
    if (bytes > left_) grow(bytes);
    void *result = next_;
    next_ += bytes;
    left_ -= bytes;
    return result;
  }

  /// A terminated copy.
  const char *copy(std::string_view text) {
    auto *result = static_cast<char *>(allocate(text.size() + 1));
    std::memcpy(result, text.data(), text.size());
    result[text.size()] = '\0';
    return result;
  }

 private:
  static constexpr std::size_t kAlignment = alignof(void *);
  struct Chunk;

  void grow(std::size_t bytes);
  void release();

  Chunk *chunks_ = nullptr;
  std::byte *next_ = nullptr;
  std::size_t left_ = 0;
};

}  // namespace yfw
