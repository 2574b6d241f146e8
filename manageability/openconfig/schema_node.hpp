/// \file
/// What requests and answers need to know of the nodes of the OpenConfig module, without libyang.
#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <string_view>

namespace ymap {

/// A data node. Nodes and texts live as long as the schema that gives them out.
struct SchemaNode {
  enum class Kind : uint8_t { container, list, leaf };
  /// Of a leaf's values, a leafref's being those of its target. Which `other` values hold libyang alone
  /// tells.
  enum class Type : uint8_t { other, text, boolean, identity, decimal, unsigned_integer };

  std::string_view name;
  std::string_view units = {};
  Kind kind = Kind::container;
  bool is_config = false;
  bool is_key = false;
  Type type = Type::other;
  uint8_t fraction_digits = 0;  ///< of a decimal
  /// Range of a decimal, in units of its last fraction digit.
  int64_t least = std::numeric_limits<int64_t>::min();
  int64_t most = std::numeric_limits<int64_t>::max();
  std::span<const std::string_view> words = {};  ///< that a leaf takes: identities or booleans; else empty
  const SchemaNode *parent = nullptr;
  std::span<const SchemaNode> children = {};  ///< in the order of the module

  bool is_leaf() const { return kind == Kind::leaf; }
  bool is_list() const { return kind == Kind::list; }
};

/// The data nodes of a module.
struct SchemaTable {
  std::string_view module, ns, prefix, revision;
  std::span<const SchemaNode> tops = {};
};

}  // namespace ymap
