/// \file
/// Data tree records: what the runtime keeps in each of them, and how they are made, found and changed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "arena.hpp"
#include "ymap_datatree.h"

namespace yfw {

struct PathStep;
struct TreeStore;

/// What the runtime keeps in the record's unused_record. The plug-in never looks there, and the presence byte
/// beside it stays 0, so that the record still counts as empty for vidl_yfw_datatree_is_set(). A record built
/// by others holds zeros.
struct RecordExtra {
  uint32_t capacity;  ///< records that fit into `array`
  uint32_t hint;      ///< 1 + index of the child last found or added
  uint32_t selected;  ///< 1 + index of the current list entry
  uint32_t closed;    ///< children below this index are out of reach for a search
  uint32_t named;
  vidl_yfw_datatree *array;         ///< whose capacity it is: the plug-in swaps child arrays while it walks
  const vidl_yfw_datatree *source;  ///< the request node that a native node came from
  const PathStep *step;             ///< where the node stands, when its tag is that step's own text
  uint64_t name_bits;               ///< which steps below it the first `named` records of `array` may be
  TreeStore *tree;                  ///< in the root of a Datatree: what it owns
};
static_assert(sizeof(RecordExtra) <= sizeof(vidl_yfw_datatree::unused_record));
static_assert(offsetof(vidl_yfw_datatree, unused_record) % alignof(RecordExtra) == 0);

inline RecordExtra &extra(vidl_yfw_datatree &node) {
  return *std::launder(reinterpret_cast<RecordExtra *>(node.unused_record));
}
inline const RecordExtra &extra(const vidl_yfw_datatree &node) {
  return *std::launder(reinterpret_cast<const RecordExtra *>(node.unused_record));
}

/// The children that count: a child array without its presence bit does not.
inline uint32_t child_count(const vidl_yfw_datatree &node) {
  return vidl_yfw_datatree_has_subtrees(&node) && node.subtrees != nullptr ? node.subtree_count : 0;
}

/// For range-based loops over the children.
struct Children {
  vidl_yfw_datatree *first;
  uint32_t count;
  vidl_yfw_datatree *begin() const { return first; }
  vidl_yfw_datatree *end() const { return first + count; }
};
inline Children children(const vidl_yfw_datatree &node) {
  return {node.subtrees, child_count(node)};
}

inline std::string_view tag_of(const vidl_yfw_datatree &node) {
  return node.tag == nullptr ? std::string_view() : node.tag;
}
inline std::string_view value_of(const vidl_yfw_datatree &node) {
  return node.data == nullptr ? std::string_view() : node.data;
}
inline const char *namespace_of(const vidl_yfw_datatree &node) {
  return node.namespace_ == nullptr ? "" : node.namespace_;
}
/// Mostly decided by the first character, or by the address.
inline bool same_text(const char *a, const char *b) {
  return *a == *b && (a == b || std::strcmp(a, b) == 0);
}
inline bool has_tag(const vidl_yfw_datatree &node, const char *tag) {
  return node.tag != nullptr && same_text(node.tag, tag);
}
inline bool has_tag(const vidl_yfw_datatree &node, const std::string &tag) {
  return has_tag(node, tag.c_str());
}
/// A node without a namespace is taken for one of any.
inline bool is_named(const vidl_yfw_datatree &node, const char *tag, const char *ns) {
  return has_tag(node, tag) && (*namespace_of(node) == '\0' || same_text(ns, namespace_of(node)));
}
inline bool has_value(const vidl_yfw_datatree &node) {
  return node.data != nullptr && *node.data != '\0';
}
inline bool is_deletion(const vidl_yfw_datatree &node) {
  return vidl_yfw_datatree_has_operation(&node) &&
         (node.operation == YMAP_OP_DELETE || node.operation == YMAP_OP_REMOVE);
}

inline void set_tag(vidl_yfw_datatree &node, const char *tag, const char *ns) {
  node.tag = tag;
  node.namespace_ = ns;
  node.presence1 |= YMAP_HAS_TAG;
}
inline void set_data(vidl_yfw_datatree &node, const char *data) {
  node.data = data;
  node.presence1 |= YMAP_HAS_DATA;
}

inline void drop_value(vidl_yfw_datatree &node) {
  node.data = nullptr;
  node.presence1 &= static_cast<uint8_t>(~YMAP_HAS_DATA);
}

/// Drops the children from `count` on.
void truncate_children(vidl_yfw_datatree &parent, uint32_t count);

/// The first child of that name, or nullptr.
inline vidl_yfw_datatree *child(const vidl_yfw_datatree &node, const char *tag) {
  for (vidl_yfw_datatree &candidate : children(node)) {
    if (has_tag(candidate, tag)) return &candidate;
  }
  return nullptr;
}
inline vidl_yfw_datatree *child(const vidl_yfw_datatree &node, const std::string &tag) {
  return child(node, tag.c_str());
}

/// A child array that moved when it grew.
struct Grown {
  vidl_yfw_datatree *from = nullptr;
  uint32_t count = 0;
  vidl_yfw_datatree *to = nullptr;

  /// The new place of a record that `node` held; the very same pointer when it was not moved.
  template <typename Node>
  Node *follow(Node *node) const {
    return from != nullptr && node >= from && node < from + count ? to + (node - from) : node;
  }
};

/// Room for `count` records, not yet cleared.
inline vidl_yfw_datatree *allocate_records(Arena &arena, uint32_t count) {
  return static_cast<vidl_yfw_datatree *>(arena.allocate(count * sizeof(vidl_yfw_datatree)));
}

/// In parts that a compiler clears with a few wide stores: for a record as a whole it takes a string
/// instruction, which is slow to start.
inline void clear(vidl_yfw_datatree &record) {
  static_assert(sizeof record == 3 * 64 + 8);
  auto *bytes = reinterpret_cast<std::byte *>(&record);
  std::memset(bytes, 0, 64);
  std::memset(bytes + 64, 0, 64);
  std::memset(bytes + 128, 0, 64);
  std::memset(bytes + 192, 0, 8);
}

/// Makes `copy` a record of this tree: what `node` says, without its marks and children.
inline void copy_record(vidl_yfw_datatree &copy, const vidl_yfw_datatree &node) {
  const bool has_operation = vidl_yfw_datatree_has_operation(&node);
  clear(copy);
  set_tag(copy, node.tag == nullptr ? "" : node.tag, node.namespace_);
  copy.data = vidl_yfw_datatree_has_data(&node) ? node.data : nullptr;
  copy.presence1 = YMAP_HAS_TAG | (node.presence1 & (YMAP_HAS_DATA | YMAP_HAS_OPERATION));
  if (has_operation) copy.operation = node.operation;
  if (vidl_yfw_datatree_has_status(&node)) {
    copy.node_status = node.node_status;
    copy.presence2 = YMAP_HAS_STATUS;
  }
}

/// Makes `array`, of which `count` records are children and `capacity` there are, the children of `parent`.
inline void own_children(vidl_yfw_datatree &parent, vidl_yfw_datatree *array, uint32_t count,
                         uint32_t capacity) {
  extra(parent).capacity = capacity;
  extra(parent).array = array;
  vidl_yfw_datatree_set_subtrees(&parent, array, count);
}

/// Gives a parent without children an array for `capacity` of them.
inline void begin_children(Arena &arena, vidl_yfw_datatree &parent, uint32_t capacity) {
  own_children(parent, allocate_records(arena, capacity), 0, capacity);
  extra(parent).named = 0;
  extra(parent).name_bits = 0;
}

/// Appends an empty record where there is no room: arrays grow from `capacity` records on by doubling.
vidl_yfw_datatree *append_to_larger(Arena &arena, vidl_yfw_datatree &parent, Grown *grown, uint32_t capacity);

/// Appends an empty record to the children of `parent` where there is room; else nullptr. An array of someone
/// else's making has no known capacity.
inline vidl_yfw_datatree *append_if_room(vidl_yfw_datatree &parent) {
  RecordExtra &kept = extra(parent);
  const uint32_t count = parent.subtree_count;
  if (!vidl_yfw_datatree_has_subtrees(&parent) || kept.array != parent.subtrees || count >= kept.capacity)
    return nullptr;
  kept.hint = parent.subtree_count = count + 1;
  vidl_yfw_datatree *added = &parent.subtrees[count];
  clear(*added);
  return added;
}

/// Appends an empty record to the children of `parent`, from `arena`. When the array grows the old one stays
/// readable and is told in `grown`.
inline vidl_yfw_datatree *append_child(Arena &arena, vidl_yfw_datatree &parent, Grown *grown = nullptr,
                                       uint32_t capacity = 4) {
  vidl_yfw_datatree *added = append_if_room(parent);
  return added != nullptr ? added : append_to_larger(arena, parent, grown, capacity);
}

/// Makes `copy` one of `node` and all below it, as long as `accepts` says true for each node; false
/// otherwise.
template <typename Accepts>
bool copy_accepted(Arena &arena, vidl_yfw_datatree &copy, const vidl_yfw_datatree &node, Accepts accepts) {
  if (!accepts(node)) return false;
  copy_record(copy, node);
  const Children below = children(node);
  if (below.count == 0) return true;
  vidl_yfw_datatree *place = allocate_records(arena, below.count);
  own_children(copy, place, below.count, below.count);
  for (const vidl_yfw_datatree &child : below) {
    if (!copy_accepted(arena, *place++, child, accepts)) return false;
  }
  return true;
}

/// A copy of `node` and all below it whose texts are those of `node`. Operations and the status are copied,
/// marks are not.
vidl_yfw_datatree *copy_record_tree(Arena &arena, const vidl_yfw_datatree &node);

/// As copy_record_tree(), as a new child of `parent`.
vidl_yfw_datatree *append_alias(Arena &arena, vidl_yfw_datatree &parent, const vidl_yfw_datatree &node);

/// As append_alias(), of the record alone: no children, no operation, and of its value what is not the empty
/// text.
vidl_yfw_datatree *append_record_alias(Arena &arena, vidl_yfw_datatree &parent,
                                       const vidl_yfw_datatree &node);

/// Keeps the children that `keeps` says true for, in their order.
template <typename Keeps>
void filter_children(vidl_yfw_datatree &parent, Keeps keeps) {
  const Children all = children(parent);
  uint32_t kept = 0;
  for (uint32_t i = 0; i < all.count; ++i) {
    if (!keeps(all.first[i])) continue;
    if (kept != i) all.first[kept] = all.first[i];
    ++kept;
  }
  truncate_children(parent, kept);
}

/// Makes every node below `parent` whose value is the empty text one without a value.
void drop_empty_values(const vidl_yfw_datatree &parent);

}  // namespace yfw
