/// \file
/// Native subtree filters, bound to the schema, over libyang trees.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "device.hpp"
#include "yang.hpp"

namespace device {

/// A filter node whose name and value the schema has judged once, however many data nodes it meets.
struct FilterNode {
  const lysc_node *schema = nullptr;  ///< null: the device has no such node, and it selects nothing
  std::optional<std::string> value;   ///< of a content match
  bool possible = true;               ///< false: the type refuses the value, so no data can equal it
  std::vector<FilterNode> children;
};

/// A content match value that the type writes another way is brought to its canonical form.
std::vector<FilterNode> bind_filter(const Schema &schema, const std::vector<RequestNode> &request);

/// Copies what `filter` selects among `data` and its siblings to the end of `answer`; counts its leaves.
void copy_selected(const std::vector<FilterNode> &filter, const lyd_node *data, Tree &answer,
                   ReadCount &count);

/// Which part of the data a filter can reach at all: live data is made for that part only.
class Reach {
 public:
  explicit Reach(const std::vector<FilterNode> &filter);

  /// The reach below a container or leaf.
  Reach child(const char *name) const;
  /// The reach below the entry of a list whose key has this value.
  Reach entry(const char *list, const char *key, const std::string &value) const;
  explicit operator bool() const { return all_ || !filters_.empty(); }

 private:
  Reach() = default;
  void add(const FilterNode &filter);

  std::vector<const FilterNode *> filters_;  ///< filter nodes of this level
  bool all_ = false;                         ///< the level is given out whole
};

}  // namespace device
