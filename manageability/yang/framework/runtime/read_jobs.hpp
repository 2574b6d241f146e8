/// \file
/// Splits an OpenConfig read into requests that the plug-in can take: its slots hold one amplifier's
/// selection.
#pragma once

#include <string>
#include <vector>

#include "datatree.hpp"
#include "plugin.hpp"

namespace yfw {

/// One request to the plug-in.
struct ReadJob {
  enum class Kind {
    amplifier,  ///< one registered instance
    judge,      ///< names no registered instance, or its keys are wrong: only the plug-in's verdict is wanted
    other       ///< other children of the top, which the native models have no counterpart of
  };
  Kind kind;
  std::string instance;     ///< the amplifier named; empty for other
  Datatree request;         ///< its texts are the filter's and the registration's
  bool key_copies = false;  ///< asks for a leaf that repeats the key (config/name)
};

struct ReadPlan {
  /// Those to be judged first, then the amplifiers in the order of the instances.
  std::vector<ReadJob> jobs;
  /// The filter names amplifiers and nothing else: it selects just what the jobs ask for.
  bool exact;
};

/// The jobs of a filter.
ReadPlan split_read(const Registration &registration, const Datatree &filter);

/// Takes the nodes at `tags` (from the top down) out of the request, and the containers that become empty by
/// that: an empty container would select all of itself. An amplifier of which only the key is left is asked
/// for config/name. False when there was no such node; then nothing is changed.
bool remove_nodes(const Registration &registration, ReadJob &job, const std::vector<std::string> &tags);

}  // namespace yfw
