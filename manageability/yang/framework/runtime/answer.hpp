/// \file
/// Puts the answers to the parts of a read together.
#pragma once

#include <string>

#include "datatree.hpp"
#include "plugin.hpp"

namespace yfw {

/// Takes the leaves without a value out of an answer, and the containers that hold no others.
void drop_hollow(Datatree &answer);

/// Moves to `answer` the entry with that key out of one part's answer: several entries of the key become one,
/// the first value of a leaf stays. Without such an entry nothing is added.
/// `registration` must outlive the answer.
void merge_answer(const Registration &registration, Datatree part, const std::string &instance,
                  Datatree &answer);

/// Leaves what the filter selects of the answer (RFC 6241, section 6); a filter without a node selects
/// everything.
void prune_answer(const Datatree &filter, Datatree &answer);

}  // namespace yfw
