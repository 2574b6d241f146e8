#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "request.hpp"

using namespace yfw;

namespace {

/// Copies what fits behind the first `used` characters; 0 when it was all.
int bounded_append(char *dst, std::size_t size, std::size_t used, const char *src) {
  const std::size_t wanted = src == nullptr ? 0 : std::strlen(src);
  const std::size_t fits = std::min(wanted, size - used - 1);
  if (fits != 0) std::memmove(dst + used, src, fits);
  dst[used + fits] = '\0';
  return fits == wanted ? 0 : 1;
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
  return bounded_append(dst, size, 0, src) | (src == nullptr ? 1 : 0);
}

int yfw_strcat_s(const char *, char *dst, size_t size, const char *src) {
  if (dst == nullptr || size == 0) return 1;
  const std::size_t used = strnlen(dst, size);
  // A buffer that is not terminated is cut, so that it is a text afterwards.
  return bounded_append(dst, size, std::min(used, size - 1), src) | (src == nullptr || used == size ? 1 : 0);
}

void __strcpy_to_buf(size_t size, char *dst, const char *src) {
  if (dst != nullptr && size != 0) bounded_append(dst, size, 0, src);
}

char *yfw_strdup(const char *text, const char *) {
  if (text == nullptr) return nullptr;
  char *copy = strdup(text);
  Request *request = Request::running();
  if (copy != nullptr && request != nullptr && !request->in_fill())
    request->errors.duplicated(request->state(), copy);
  return copy;
}

void nos_named_free(void *text) {
  if (Request *request = Request::running())
    request->errors.released(request->state(), static_cast<char *>(text));
  std::free(text);
}
