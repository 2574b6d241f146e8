#include "record.hpp"

#include <algorithm>
#include <cstring>

namespace yfw {
namespace {

constexpr std::size_t kFirstChunk = 8 * 1024;
constexpr std::size_t kLargestChunk = 256 * 1024;
constexpr std::size_t kSharedTexts = 16;
constexpr uint32_t kFirstCapacity = 4;

void clear_record(vidl_yfw_datatree &node, Arena *owner) {
  std::memset(static_cast<void *>(&node), 0, sizeof node);
  auto *added = new (node.unused_record) RecordExtra{};
  added->magic = kRecordMagic;
  added->arena = owner;
}

}  // namespace

void *Arena::allocate(std::size_t bytes) {
  bytes = (bytes + alignof(std::max_align_t) - 1) & ~(alignof(std::max_align_t) - 1);
  if (bytes > left_) {
    const std::size_t doubled = kFirstChunk << std::min<std::size_t>(chunks_.size(), 5);
    left_ = std::max(bytes, std::min(doubled, kLargestChunk));
    chunks_.emplace_back(new std::byte[left_]);
    next_ = chunks_.back().get();
  }
  void *result = next_;
  next_ += bytes;
  left_ -= bytes;
  return result;
}

const char *Arena::copy(std::string_view text) {
  auto *result = static_cast<char *>(allocate(text.size() + 1));
  text.copy(result, text.size());
  result[text.size()] = '\0';
  return result;
}

const char *Arena::share(std::string_view text) {
  for (std::string_view known : shared_) {
    if (known == text) return known.data();
  }
  const char *added = copy(text);
  if (shared_.size() < kSharedTexts) shared_.emplace_back(added, text.size());
  return added;
}

vidl_yfw_datatree *Arena::records(uint32_t count) {
  void *storage = allocate(count * sizeof(vidl_yfw_datatree));
  auto *result = static_cast<vidl_yfw_datatree *>(storage);
  for (uint32_t i = 0; i < count; ++i) clear_record(result[i], this);
  return result;
}

vidl_yfw_datatree *child(const vidl_yfw_datatree &node, std::string_view tag) {
  for (vidl_yfw_datatree &candidate : children(node)) {
    if (tag_of(candidate) == tag) return &candidate;
  }
  return nullptr;
}

vidl_yfw_datatree *append_child(Arena &arena, vidl_yfw_datatree &parent, Grown *grown) {
  RecordExtra &kept = extra(parent);
  const uint32_t count = child_count(parent);
  // An array of someone else's making has no known capacity and is left as it is.
  const bool ours = kept.magic == kRecordMagic && kept.array == parent.subtrees;
  if (count == 0 || !ours || count == kept.capacity) {
    const uint32_t capacity = std::max(kFirstCapacity, count * 2);
    vidl_yfw_datatree *larger = arena.records(capacity);
    if (count != 0) {
      std::memcpy(static_cast<void *>(larger), parent.subtrees, count * sizeof(vidl_yfw_datatree));
      if (grown != nullptr) *grown = {parent.subtrees, count, larger};
    }
    if (kept.magic != kRecordMagic) kept = {kRecordMagic, 0, 0, 0, 0, nullptr, &arena, nullptr};
    if (kept.arena == nullptr) kept.arena = &arena;
    kept.capacity = capacity;
    kept.array = larger;
  }
  vidl_yfw_datatree_set_subtrees(&parent, kept.array, count + 1);
  kept.hint = count + 1;
  vidl_yfw_datatree *added = &parent.subtrees[count];
  // Not blank where the plug-in put back an older count after a child was added.
  if (added->presence1 != 0) clear_record(*added, &arena);
  return added;
}

void drop_last_child(vidl_yfw_datatree &parent) {
  const uint32_t count = child_count(parent);
  if (count == 0) return;
  vidl_yfw_datatree &last = parent.subtrees[count - 1];
  clear_record(last, extra(last).arena);
  extra(parent).hint = 0;
  if (count > 1) {
    parent.subtree_count = count - 1;
  } else {
    vidl_yfw_datatree_clear_subtrees(&parent);
  }
}

void set_tag(vidl_yfw_datatree &node, const char *tag, const char *ns) {
  node.tag = tag;
  node.namespace_ = ns;
  node.presence1 |= YMAP_HAS_TAG;
}

void set_data(vidl_yfw_datatree &node, const char *data) {
  node.data = data;
  node.presence1 |= YMAP_HAS_DATA;
}

void drop_empty_values(const vidl_yfw_datatree &parent) {
  for (vidl_yfw_datatree &node : children(parent)) {
    drop_empty_values(node);
    if (has_value(node)) continue;
    node.data = nullptr;
    node.presence1 &= static_cast<uint8_t>(~YMAP_HAS_DATA);
  }
}

}  // namespace yfw
