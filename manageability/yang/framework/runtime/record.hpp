/// \file
/// Storage of data tree records: the arena that they live in, and what the runtime keeps in each of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string_view>
#include <vector>

#include "ymap_datatree.h"

namespace yfw {

/// Bump allocation: nothing is freed before the arena is, so whoever holds a record or a text may go on
/// reading.
class Arena {
 public:
  void *allocate(std::size_t bytes);
  /// A terminated copy.
  const char *copy(std::string_view text);
  /// As copy(), but the first few texts are shared when asked for again; meant for the namespaces of a tree.
  const char *share(std::string_view text);
  /// `count` empty records that belong to this arena.
  vidl_yfw_datatree *records(uint32_t count);

 private:
  std::vector<std::unique_ptr<std::byte[]>> chunks_;
  std::byte *next_ = nullptr;
  std::size_t left_ = 0;
  std::vector<std::string_view> shared_;
};

/// What the runtime keeps in the record's unused_record. The plug-in never looks there, and the presence byte
/// beside it stays 0, so that the record still counts as empty for vidl_yfw_datatree_is_set().
struct RecordExtra {
  uint32_t magic;            ///< kRecordMagic in a record of ours; a record built by others holds zeros
  uint32_t capacity;         ///< records that fit into `array`
  uint32_t hint;             ///< 1 + index of the child last found or added
  uint32_t selected;         ///< 1 + index of the current list entry
  uint32_t closed;           ///< children below this index are out of reach for a search
  vidl_yfw_datatree *array;  ///< whose capacity it is: the plug-in swaps child arrays while it walks
  Arena *arena;              ///< owner of the record
  const vidl_yfw_datatree *source;  ///< the request node that a native node came from
};
static_assert(sizeof(RecordExtra) <= sizeof(vidl_yfw_datatree::unused_record));
static_assert(offsetof(vidl_yfw_datatree, unused_record) % alignof(RecordExtra) == 0);

inline constexpr uint32_t kRecordMagic = 0x59465752;

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
/// A node without a namespace is taken for one of any.
inline bool is_named(const vidl_yfw_datatree &node, std::string_view tag, std::string_view ns) {
  return tag_of(node) == tag && (*namespace_of(node) == '\0' || ns == namespace_of(node));
}
inline bool has_value(const vidl_yfw_datatree &node) {
  return node.data != nullptr && *node.data != '\0';
}
inline bool is_deletion(const vidl_yfw_datatree &node) {
  return vidl_yfw_datatree_has_operation(&node) &&
         (node.operation == YMAP_OP_DELETE || node.operation == YMAP_OP_REMOVE);
}

/// The first child of that name, or nullptr.
vidl_yfw_datatree *child(const vidl_yfw_datatree &node, std::string_view tag);

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

/// Appends an empty record to the children of `parent`, from `arena`. Arrays grow by doubling; the old one
/// stays readable and is told in `grown`.
vidl_yfw_datatree *append_child(Arena &arena, vidl_yfw_datatree &parent, Grown *grown = nullptr);

/// Drops the child appended last.
void drop_last_child(vidl_yfw_datatree &parent);

void set_tag(vidl_yfw_datatree &node, const char *tag, const char *ns);
void set_data(vidl_yfw_datatree &node, const char *data);

/// Makes every node below `parent` whose value is the empty text one without a value.
void drop_empty_values(const vidl_yfw_datatree &parent);

}  // namespace yfw
