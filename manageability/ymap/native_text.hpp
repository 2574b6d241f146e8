/// \file
/// Data trees of the framework as indented text for a person.
#pragma once

#include <cstddef>
#include <set>
#include <string>

#include "datatree.hpp"
#include "openconfig_request.hpp"

namespace ymap {

/// One line a leaf, its containers above it; containers with nothing beside them share a line. Operations
/// and, where it is not that of the node above (`ns` at the top), the module are named.
std::string tree_text(const yfw::Datatree &tree, std::size_t depth, const std::string &ns = {});

struct TreeCount {
  std::size_t entries = 0;   ///< nodes whose tags are in `lists`
  std::size_t leaves = 0;    ///< all leaves, keys among them
  std::size_t unvalued = 0;  ///< of them, those without a value: a read asks for these
};
TreeCount count_tree(const yfw::Datatree &tree, const std::set<std::string> &lists);

/// "interface-configurations/.../ots/ots-egress-osri": a path's first and last two steps where it is long.
std::string shortened(const std::string &path);

/// "10", "0.1".
std::string plain_number(double value);

/// "3 leaves", "1 leaf".
std::string counted(std::size_t count, const char *one, const char *many);

}  // namespace ymap
