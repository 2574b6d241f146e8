/// \file
/// Memory of trees and requests: allocated piece by piece, freed as a whole.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <utility>

namespace yfw {

/// As memmove. Texts of the size of most names and paths, 4 to 32 bytes, go without a call: as two words that
/// may overlap.
inline void move_text(char *to, const char *from, std::size_t size) {
  const auto move_ends = [=](auto word) {
    auto last = word;
    std::memcpy(&word, from, sizeof word);
    std::memcpy(&last, from + size - sizeof last, sizeof last);
    std::memcpy(to, &word, sizeof word);
    std::memcpy(to + size - sizeof last, &last, sizeof last);
  };
  using Pair = std::array<std::uint64_t, 2>;
  if (size < sizeof(Pair)) {
    if (size >= sizeof(std::uint64_t)) return move_ends(std::uint64_t{});
    if (size >= sizeof(std::uint32_t)) return move_ends(std::uint32_t{});
  } else if (size <= 2 * sizeof(Pair)) {
    return move_ends(Pair{});
  }
  std::memmove(to, from, size);
}

/// Bump allocation: nothing is freed before the arena is, so whoever holds a record or a text may go on
/// reading. Chunks come from a small store of the thread's, so that a request after the first one allocates
/// nothing.
class Arena {
 public:
  Arena() = default;
  Arena(Arena &&other) noexcept
      : chunks_(std::exchange(other.chunks_, nullptr)),
        next_(std::exchange(other.next_, 0)),
        end_(std::exchange(other.end_, 0)) {}
  Arena &operator=(Arena &&) = delete;
  ~Arena() {
    if (chunks_ != nullptr) release();
  }

  /// Aligned for pointers; not initialised.
  void *allocate(std::size_t bytes) {
    bytes = (bytes + kAlignment - 1) & ~(kAlignment - 1);
    if (next_ + bytes > end_) grow(bytes);
    return reinterpret_cast<void *>(std::exchange(next_, next_ + bytes));
  }

  /// A terminated copy.
  const char *copy(std::string_view text) {
    auto *result = static_cast<char *>(allocate(text.size() + 1));
    std::memcpy(result, text.data(), text.size());
    result[text.size()] = '\0';
    return result;
  }
  const char *copy(const char *text) {
    const std::size_t size = std::strlen(text) + 1;
    auto *result = static_cast<char *>(allocate(size));
    move_text(result, text, size);
    return result;
  }

 private:
  static constexpr std::size_t kAlignment = alignof(void *);
  struct Chunk;

  void grow(std::size_t bytes);
  void release();

  Chunk *chunks_ = nullptr;
  // As numbers, so that more than there is can be reckoned with: real sizes are far from wrapping round.
  std::uintptr_t next_ = 0, end_ = 0;
};

/// A short list of plain values. The first stand in the list itself, more of them in the arena it grows in.
template <typename T>
class ArenaList {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  ArenaList() = default;
  ArenaList(const ArenaList &) = delete;
  ArenaList &operator=(const ArenaList &) = delete;

  void push_back(Arena &arena, const T &value) {
    if (size_ == capacity_) grow(arena);
    first_[size_++] = value;
  }
  void pop_back() { --size_; }
  /// Leaves the first `size`.
  void truncate(std::size_t size) { size_ = size; }
  void clear() { size_ = 0; }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  T *begin() { return first_; }
  T *end() { return first_ + size_; }
  const T &back() const { return first_[size_ - 1]; }

 private:
  [[gnu::noinline]] void grow(Arena &arena) {
    struct Place {
      T value;
    };
    auto *larger = static_cast<T *>(arena.allocate(2 * capacity_ * sizeof(Place)));
    std::copy_n(first_, size_, larger);
    first_ = larger;
    capacity_ *= 2;
  }

  std::array<T, 2> own_;
  T *first_ = own_.data();
  std::size_t size_ = 0, capacity_ = own_.size();
};

}  // namespace yfw
