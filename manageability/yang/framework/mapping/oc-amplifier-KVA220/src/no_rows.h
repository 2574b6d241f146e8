/// \file
/// How the parser units of the native modules write their rows. Each defines YMAP_NO(word), which puts the
/// module prefix before a name, and `module`.
#ifndef YMAP_NO_ROWS_H
#define YMAP_NO_ROWS_H

#include <array>
#include <iterator>

#include "handlers.h"
#include "no_walk.h"

#define NO_NAME(word) YMAP_STRING(YMAP_NO(word))

/// A mapped leaf, and one that is a list key.
#define NO_LEAF(tag, word)                                                                               \
  {                                                                                                      \
    tag, NO_NAME(word), &module, ymap::walk_no_leaf, YMAP_NO(leaf_##word), nullptr, nullptr, nullptr, 0, \
        nullptr, nullptr, false                                                                          \
  }
#define NO_KEY(tag, word)                                                                                \
  {                                                                                                      \
    tag, NO_NAME(word), &module, ymap::walk_no_leaf, YMAP_NO(leaf_##word), nullptr, nullptr, nullptr, 0, \
        nullptr, nullptr, true                                                                           \
  }

/// A container with the rows of its children; `no_rows` when it has none.
#define NO_CONTAINER(tag, word, rows)                                                             \
  {                                                                                               \
    tag, NO_NAME(word), &module, ymap::walk_no_container, nullptr, YMAP_NO(cont_##word),          \
        YMAP_NO(word##_parse_augments), std::data(rows), std::size(rows), nullptr, nullptr, false \
  }

/// A list entry: its list path, the tags of its keys and the rows of its children.
#define NO_ENTRY(tag, word, path, keys, rows)                                               \
  {                                                                                         \
    tag, NO_NAME(word), &module, ymap::walk_no_list_entry, YMAP_NO(list_##word), nullptr,   \
        YMAP_NO(word##_parse_augments), std::data(rows), std::size(rows), path, keys, false \
  }

namespace ymap {

/// For a node without mapped children.
inline constexpr std::array<NoRow, 0> no_rows{};

}  // namespace ymap

#endif  // YMAP_NO_ROWS_H
