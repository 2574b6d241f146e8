/// \file
/// Instance paths as values.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ymap {

/// A node on an instance path. Texts are somebody else's.
struct PathStep {
  std::string_view module, name;
  /// Of a list entry; "." is the value of a leaf-list's.
  std::vector<std::pair<std::string_view, std::string_view>> keys = {};
  bool operator==(const PathStep &) const = default;

  /// Whether this step of a path that may leave keys out means `instance`.
  bool covers(const PathStep &instance) const;
};

/// From the top down.
using DataPath = std::vector<PathStep>;

/// Reads "/module:a/b[key='value']/c": a name without module is of the module before it. Nothing is
/// unescaped; a text that breaks off makes as many steps as it has. The result holds views of `text`.
DataPath parse_path(std::string_view text);

/// Whether `path` names `instance` or a node that it stands below.
bool covers(const DataPath &path, const DataPath &instance);

}  // namespace ymap
