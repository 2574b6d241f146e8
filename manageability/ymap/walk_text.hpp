/// \file
/// A walk as indented text for a person.
#pragma once

#include <cstddef>
#include <string>

#include "terminal.hpp"
#include "walk.hpp"

namespace ymap {

/// One line a node with its handler, indented by depth, and below it what came of it.
std::string walk_text(const Walk &walk, std::size_t depth, const Terminal &terminal);

/// The leaf that a walk without a native request ended at, with its handler: the plug-in has no mapping for
/// it. The empty text when the walk ended otherwise.
std::string turned_down(const Walk &walk);

}  // namespace ymap
