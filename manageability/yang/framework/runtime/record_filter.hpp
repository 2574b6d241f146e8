/// \file
/// Subtree filtering (RFC 6241, section 6) of data tree records by data tree records.
#pragma once

#include "record.hpp"
#include "subtree_filter.hpp"

namespace yfw {

/// The same text, or the same decimal number: records know no types, and the plug-in writes "15.50" where the
/// canonical form is "15.5".
bool same_value(std::string_view a, std::string_view b);

/// The filter's view of records on both sides. A filter node without a namespace means every namespace.
struct RecordAdapter {
  using Filter = const vidl_yfw_datatree *;
  using Data = const vidl_yfw_datatree *;

  struct Pointers {
    struct Iterator {
      const vidl_yfw_datatree *at;
      const vidl_yfw_datatree *operator*() const { return at; }
      Iterator &operator++() {
        ++at;
        return *this;
      }
      bool operator!=(const Iterator &other) const { return at != other.at; }
    };
    Children nodes;
    Iterator begin() const { return {nodes.begin()}; }
    Iterator end() const { return {nodes.end()}; }
  };

  Pointers filter_children(Filter filter) const { return {children(*filter)}; }
  Pointers data_children(Data data) const { return {children(*data)}; }
  bool same_node(Filter filter, Data data) const {
    return is_named(*filter, data->tag == nullptr ? "" : data->tag, namespace_of(*data));
  }
  bool is_content_match(Filter filter) const { return child_count(*filter) == 0 && has_value(*filter); }
  bool equal(Filter filter, Data data) const { return same_value(value_of(*filter), value_of(*data)); }
  bool is_leaf(Data data) const { return child_count(*data) == 0; }
  bool is_key(Data, Data leaf) const { return leaf->is_key == 1; }
};

}  // namespace yfw
