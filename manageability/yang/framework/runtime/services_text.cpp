// The services that copy texts.
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "request.hpp"

using namespace yfw;

namespace {

/// Copies what fits; 0 when it was all.
[[gnu::always_inline]] inline int bounded_copy(char *dst, std::size_t size, const char *src) {
  const std::size_t wanted = std::strlen(src);
  if (wanted < size) {
    move_text(dst, src, wanted + 1);
    return 0;
  }
  std::memmove(dst, src, size - 1);
  dst[size - 1] = '\0';
  return 1;
}

/// Short owned copies, which a read makes one after the other by the dozen. Which thread or request frees one
/// does not matter.
class OwnedTexts {
 public:
  /// A copy; nullptr when the text is too long or too many are held. `walk`: of a walk that keeps the text as
  /// it is, or 0.
  char *copy(const char *text, std::size_t size, uint64_t walk) {
    if (size > kSize) return nullptr;
    for (Place &place : places_) {
      if (place.taken.exchange(true, std::memory_order_acquire)) continue;
      place.source = text;
      place.walk = walk;
      return static_cast<char *>(std::memcpy(place.text, text, size));
    }
    return nullptr;
  }

  /// The same copy once more, when nothing else was copied to its place since it was freed.
  char *copy_again(const char *text, uint64_t walk) {
    Place &place = places_.front();
    if (place.taken.exchange(true, std::memory_order_acquire)) return nullptr;
    if (place.source == text && place.walk == walk) return place.text;
    place.taken.store(false, std::memory_order_release);
    return nullptr;
  }

  /// False when the text is none of these.
  bool release(const char *text) {
    const auto offset = reinterpret_cast<std::uintptr_t>(text) - reinterpret_cast<std::uintptr_t>(&places_);
    if (offset >= sizeof places_) return false;
    places_[offset / sizeof(Place)].taken.store(false, std::memory_order_release);
    return true;
  }

 private:
  static constexpr std::size_t kSize = 47;
  struct Place {
    char text[kSize];
    std::atomic<bool> taken = false;
    const char *source = nullptr;
    uint64_t walk = 0;
  };
  static_assert(sizeof(Place) == 64, "places are told apart by a shift");
  std::array<Place, 4> places_;
};

OwnedTexts owned_texts;

/// An owned copy, noted as the failing tag unless a fill runs; nullptr when memory is short.
[[gnu::noinline]] char *copy_anew(Request *request, const char *text) {
  const std::size_t size = std::strlen(text) + 1;
  const bool is_tag = request != nullptr && request->is_walked_tag(text);
  char *copy = owned_texts.copy(text, size, is_tag ? request->walk() : 0);
  if (copy == nullptr) {
    copy = static_cast<char *>(std::malloc(size));
    if (copy == nullptr) return nullptr;
    std::memcpy(copy, text, size);
  }
  if (request != nullptr && !request->in_fill()) request->errors.duplicated(request->state(), copy);
  return copy;
}

inline void free_copy(char *text) {
  if (!owned_texts.release(text)) std::free(text);
}

/// As above, of a text that may be the one whose keeping the error notes wait for.
[[gnu::noinline]] void free_noted(Request &request, char *text) {
  request.errors.released(request.state(), text);
  free_copy(text);
}

struct StatusText {
  verrno status;
  const char *text;
};

constexpr StatusText kStatusTexts[] = {
    {YMAP_OK, "Success"},
    {YMAP_ERR_BAD_NODE,
     "The request holds a malformed node: a list entry without its key, or a node without a name"},
    {YMAP_ERR_INVALID_ARGS,
     "The request cannot be worked on: a deleted node has children, or an argument is missing"},
    {YMAP_ERR_UNSUPPORTED_TAG, "The device has no counterpart for this node"},
    {YMAP_ERR_LIST_KEY, "A list entry needs its key exactly once, and with a value"},
    {YMAP_ERR_KEY_DELETE, "A list key cannot be deleted; delete the list entry"},
    {YMAP_ERR_INVALID_VALUE, "The device cannot take this value"},
    {YMAP_SKIP_NODE, "The node is not mapped and is passed over"},
    {YMAP_ERR_AUGMENT_ADD, "A node of a foreign namespace cannot be created here"},
};

}  // namespace

const char *verr_strerror(verrno status) {
  for (const StatusText &row : kStatusTexts) {
    if (row.status == status) return row.text;
  }
  return "Unknown status";
}

int yfw_strcpy_s(const char *, char *dst, size_t size, const char *src) {
  if (dst == nullptr || size == 0) return 1;
  if (src != nullptr) return bounded_copy(dst, size, src);
  *dst = '\0';
  return 1;
}

int yfw_strcat_s(const char *, char *dst, size_t size, const char *src) {
  if (dst == nullptr || size == 0) return 1;
  const std::size_t used = strnlen(dst, size);
  if (used == size || src == nullptr) {
    // A buffer that is not terminated is cut, so that it is a text afterwards.
    if (used == size) dst[size - 1] = '\0';
    return 1;
  }
  char *end = dst + used;
  const std::size_t room = size - used;
  // Paths are put together of names and slashes.
  if (src[0] != '\0' && src[1] == '\0' && room > 1) {
    end[0] = src[0];
    end[1] = '\0';
    return 0;
  }
  return bounded_copy(end, room, src);
}

void __strcpy_to_buf(size_t size, char *dst, const char *src) {
  if (dst != nullptr && size != 0) bounded_copy(dst, size, src == nullptr ? "" : src);
}

char *yfw_strdup(const char *text, const char *) {
  if (text == nullptr) return nullptr;
  Request *request = Request::running();
  // A fill rejects leaf after leaf under the tag of the one node that is walked as all of them.
  if (request != nullptr && request->in_fill()) {
    if (char *again = owned_texts.copy_again(text, request->walk())) return again;
  }
  return copy_anew(request, text);
}

void nos_named_free(void *text) {
  Request *request = Request::running();
  if (request != nullptr && request->errors.is_copy_pending())
    free_noted(*request, static_cast<char *>(text));
  else
    free_copy(static_cast<char *>(text));
}
