/// \file
/// Native subtree filters, bound to the schema, over configuration and live data.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "device.hpp"
#include "yang.hpp"

namespace device {

/// A filter node that was judged once, however many data nodes it meets.
struct FilterNode {
  std::string_view name;
  std::string_view ns;
  const lysc_node *schema = nullptr;  ///< of configuration; null also where the device has no such node
  std::optional<std::string> value;   ///< of a content match
  bool possible = true;               ///< false: the type refuses the value, so no data can equal it
  std::vector<FilterNode> children;
};

/// A content match value that the type writes another way is brought to its canonical form.
std::vector<FilterNode> bind_filter(const Schema &schema, const std::vector<RequestNode> &request);

/// A filter of data that has no schema, where values are equal if their texts are.
std::vector<FilterNode> plain_filter(const std::vector<RequestNode> &request);

/// Gives out what `filter` selects among `data` and its siblings; counts the leaves.
void give_selected(const std::vector<FilterNode> &filter, const lyd_node *data, AnswerSink &sink,
                   ReadCount &count);
/// The same of live data, all of it of the namespace `ns`.
void give_selected(const std::vector<FilterNode> &filter, const std::vector<PlainNode> &data, const char *ns,
                   AnswerSink &sink, ReadCount &count);

/// Which part of the data a filter can reach at all: live data is made for that part only.
class Reach {
 public:
  Reach(const std::vector<FilterNode> &filter, std::string_view ns);

  /// The reach below a container or leaf.
  Reach child(std::string_view name) const;
  /// The reach below the entry of a list whose key has this value.
  Reach entry(std::string_view list, std::string_view key, std::string_view value) const;
  explicit operator bool() const { return all_ || !filters_.empty(); }

 private:
  explicit Reach(std::string_view ns) : ns_(ns) {}
  bool names(const FilterNode &filter, std::string_view name) const {
    return filter.name == name && (filter.ns.empty() || filter.ns == ns_);
  }
  void add(const FilterNode &filter);

  std::string_view ns_;                      ///< of the data
  std::vector<const FilterNode *> filters_;  ///< filter nodes of this level
  bool all_ = false;                         ///< the level is given out whole
};

}  // namespace device
