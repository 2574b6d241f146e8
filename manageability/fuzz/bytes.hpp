/// \file
/// The bytes of one input, read as choices. After their end every choice is the first one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ymap_fuzz {

class Bytes {
 public:
  explicit Bytes(std::span<const uint8_t> bytes) : bytes_(bytes) {}

  /// The next byte; 0 after the end.
  uint8_t byte() { return at_ < bytes_.size() ? bytes_[at_++] : uint8_t{0}; }
  uint32_t word() { return byte() | static_cast<uint32_t>(byte()) << 8U; }
  /// A choice among `count` > 0; two bytes are read where one does not reach.
  uint32_t below(size_t count) {
    return static_cast<uint32_t>((count > 256 ? word() : byte()) % static_cast<uint32_t>(count));
  }
  size_t left() const { return bytes_.size() - at_; }

  /// Takes the last `count` bytes away, as an input of their own.
  Bytes split_tail(size_t count) {
    const size_t kept = bytes_.size() - (count < left() ? count : left());
    Bytes tail(bytes_.subspan(kept));
    bytes_ = bytes_.first(kept);
    return tail;
  }

 private:
  std::span<const uint8_t> bytes_;
  size_t at_ = 0;
};

}  // namespace ymap_fuzz
