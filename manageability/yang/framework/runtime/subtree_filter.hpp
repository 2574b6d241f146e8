/// \file
/// Subtree filtering (RFC 6241, section 6), independent of how filter and data are kept.
#pragma once

#include <optional>
#include <utility>
#include <vector>

namespace yfw {

/// What a filter selects of a data node. `children` stand in the order of the data; they are empty when the
/// node is given out whole (a leaf always is).
template <class Data>
struct Selected {
  Data node;
  bool whole = false;
  std::vector<Selected> children;
};

/// The algorithm. The adapter names its handles, which are cheap to copy (a pointer), and answers:
///
///     using Filter, using Data
///     range of Filter  filter_children(Filter)
///     range of Data    data_children(Data)
///     bool same_node(Filter, Data)         same name and namespace
///     bool is_content_match(Filter)        a node without children that carries a value
///     bool equal(Filter, Data)             a content match's value against a leaf's, in canonical form
///     bool is_leaf(Data)
///     bool is_key(Data entry, Data child)  the child is a key leaf of its list entry
///
/// and may answer, where that is faster than to look at all children:
///
///     optional<vector<Data>> only_children(Data, vector<Filter>)  those that one of the filters names, in
///     the
///                                                                 order of the data; nothing: look at all
///
/// Filter siblings of one name are alternatives: the answer is their union, and each data node is visited
/// once, whatever number of them applies to it.
template <class Adapter>
class SubtreeFilter {
 public:
  using Filter = typename Adapter::Filter;
  using Data = typename Adapter::Data;
  using Selection = std::vector<Selected<Data>>;

  /// `adapter` must outlive the filter.
  explicit SubtreeFilter(const Adapter &adapter) : adapter_(adapter) {}

  /// The selection among data siblings at the top. No filter node selects nothing.
  template <class Siblings>
  Selection select(const std::vector<Filter> &filters, const Siblings &siblings) const {
    Selection selection;
    for (Data node : siblings) {
      if (auto selected = select_node(filters, node)) selection.push_back(std::move(*selected));
    }
    return selection;
  }

 private:
  std::optional<Selected<Data>> select_node(const std::vector<Filter> &filters, Data node) const {
    return adapter_.is_leaf(node) ? select_leaf(filters, node) : select_inner(filters, node);
  }

  std::optional<Selected<Data>> select_leaf(const std::vector<Filter> &filters, Data leaf) const {
    for (Filter filter : filters) {
      if (!adapter_.same_node(filter, leaf) || has_children(filter)) continue;
      if (adapter_.is_content_match(filter) && !adapter_.equal(filter, leaf)) continue;
      return Selected<Data>{leaf, true, {}};
    }
    return std::nullopt;
  }

  std::optional<Selected<Data>> select_inner(const std::vector<Filter> &filters, Data node) const {
    std::vector<Filter> below;
    for (Filter filter : filters) {
      if (!adapter_.same_node(filter, node) || adapter_.is_content_match(filter)) continue;
      if (!content_matches(filter, node)) continue;
      if (selects_all(filter)) return Selected<Data>{node, true, {}};
      for (Filter child : adapter_.filter_children(filter)) below.push_back(child);
    }
    if (below.empty()) return std::nullopt;
    Selection children = select_children(below, node);
    if (children.empty()) return std::nullopt;
    return Selected<Data>{node, false, std::move(children)};
  }

  /// The keys of an entry come along with whatever is selected, but alone only if they were asked for.
  Selection select_children(const std::vector<Filter> &filters, Data parent) const {
    if constexpr (requires { adapter_.only_children(parent, filters); }) {
      if (const auto only = adapter_.only_children(parent, filters)) return select(filters, *only);
    }
    Selection selection;
    bool asked = false;
    for (Data child : adapter_.data_children(parent)) {
      if (auto selected = select_node(filters, child)) {
        selection.push_back(std::move(*selected));
        asked = true;
      } else if (adapter_.is_key(parent, child)) {
        selection.push_back({child, true, {}});
      }
    }
    if (!asked) selection.clear();
    return selection;
  }

  /// All content match nodes of a sibling set must hold (RFC 6241, section 6.2.5).
  bool content_matches(Filter filter, Data node) const {
    for (Filter match : adapter_.filter_children(filter)) {
      if (adapter_.is_content_match(match) && !holds(match, node)) return false;
    }
    return true;
  }

  bool holds(Filter match, Data node) const {
    for (Data child : adapter_.data_children(node)) {
      if (adapter_.same_node(match, child) && adapter_.is_leaf(child) && adapter_.equal(match, child)) {
        return true;
      }
    }
    return false;
  }

  /// Neither selection nor containment nodes below: everything at this level is meant.
  bool selects_all(Filter filter) const {
    for (Filter child : adapter_.filter_children(filter)) {
      if (!adapter_.is_content_match(child)) return false;
    }
    return true;
  }

  bool has_children(Filter filter) const {
    for ([[maybe_unused]] Filter child : adapter_.filter_children(filter)) return true;
    return false;
  }

  const Adapter &adapter_;
};

}  // namespace yfw
