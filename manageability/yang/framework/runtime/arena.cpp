// Chunks of memory for arenas, and the thread's store of them.
#include "arena.hpp"

#include <algorithm>
#include <new>

// Not reused under the address sanitizer: it shall see a record that is used after its tree.
#if defined(__SANITIZE_ADDRESS__)
#define YFW_KEEPS_CHUNKS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define YFW_KEEPS_CHUNKS 0
#endif
#endif
#ifndef YFW_KEEPS_CHUNKS
#define YFW_KEEPS_CHUNKS 1
#endif

namespace yfw {

struct Arena::Chunk {
  Chunk *next;
  std::size_t size;  ///< with this header
};

namespace {

constexpr std::size_t kChunk = std::size_t{16} << 10;  ///< what the store keeps; larger ones go back at once
constexpr std::size_t kLargestChunk = std::size_t{256} << 10;
constexpr std::size_t kMostKept = YFW_KEEPS_CHUNKS ? 16 : 0;

// Found without a call: the library is loaded with the program, or small enough for the room that is left.
#define YFW_THREAD_LOCAL [[gnu::tls_model("initial-exec")]] thread_local

struct Kept {
  Kept *next;
};
struct ChunkStore {
  Kept *first = nullptr;
  std::size_t count = 0;
  bool is_closed_later = false;
};
YFW_THREAD_LOCAL constinit ChunkStore store;

/// Empties the store with its thread. Trees that die later still find it.
struct Closer {
  ~Closer() {
    while (store.first != nullptr) ::operator delete(std::exchange(store.first, store.first->next));
    store.count = kMostKept;
  }
  bool armed = false;
};
YFW_THREAD_LOCAL Closer closer;

void *take_chunk() {
  if (store.first == nullptr) return ::operator new(kChunk);
  --store.count;
  return std::exchange(store.first, store.first->next);
}

void give_chunk(void *chunk) {
  if (store.count >= kMostKept) {
    ::operator delete(chunk);
    return;
  }
  if (!store.is_closed_later) store.is_closed_later = closer.armed = true;  // its first use has it destroyed
  ++store.count;
  store.first = new (chunk) Kept{store.first};
}

}  // namespace

void Arena::grow(std::size_t bytes) {
  const std::size_t wanted = bytes + sizeof(Chunk);
  const std::size_t doubled = chunks_ == nullptr ? kChunk : std::min(2 * chunks_->size, kLargestChunk);
  const bool common = wanted <= kChunk && (chunks_ == nullptr || chunks_->next == nullptr);
  const std::size_t size = common ? kChunk : std::max(wanted, doubled);
  void *memory = common ? take_chunk() : ::operator new(size);
  chunks_ = new (memory) Chunk{chunks_, size};
  next_ = reinterpret_cast<std::uintptr_t>(memory) + sizeof(Chunk);
  end_ = reinterpret_cast<std::uintptr_t>(memory) + size;
}

void Arena::release() {
  while (chunks_ != nullptr) {
    Chunk *chunk = std::exchange(chunks_, chunks_->next);
    if (chunk->size == kChunk)
      give_chunk(chunk);
    else
      ::operator delete(chunk);
  }
}

}  // namespace yfw
