/// \file
/// NETCONF edit operations (RFC 6241, section 7.2) on a native configuration tree.
#pragma once

#include <string>
#include <vector>

#include "device.hpp"
#include "yang.hpp"

namespace device {

/// A tree with all its siblings.
Tree copy_of(const lyd_node *siblings);

/// An edit, applied and validated, before it takes the place of what was. An edit that says something of list
/// entries of interfaces alone works on a copy of these, any other on a copy of everything.
class Edited {
 public:
  enum class Scope { what_it_touches, everything };
  /// What is validated: each node for itself, or also whether all go together.
  enum class Check { each_node, the_whole };

  /// Applies the request in document order. `running` stays as it is. Throws EditError.
  Edited(const Schema &schema, const Tree &running, const std::vector<RequestNode> &request,
         Scope scope = Scope::what_it_touches, Check check = Check::the_whole);

  /// An entry of interfaces that the request names.
  struct Entry {
    std::string keys;            ///< predicate of its path
    lyd_node *before = nullptr;  ///< in `running`
    lyd_node *after = nullptr;   ///< what became of it; null if it is gone
    bool moved = false;          ///< made anew it stands behind the others
    bool keeps_place() const { return before != nullptr && after != nullptr && !moved; }
  };
  /// True if entries() is all that changes; else all() is what the configuration becomes.
  bool is_by_entry() const { return container_ != nullptr; }
  /// In the order in which those are added that were not there.
  const std::vector<Entry> &entries() const { return entries_; }
  const lyd_node *all() const { return tree_.get(); }

  /// Puts it in the place of `running`, which is still the same. Nodes of entries() that came from the copy
  /// stay where they are in memory.
  void commit(Tree &running);

 private:
  lyd_node *entries_only(const Tree &running, const std::vector<RequestNode> &request) const;
  void copy_entry(const RequestNode &request, lyd_node *copy);

  const Schema &schema_;
  lyd_node *container_ = nullptr;  ///< in `running`, of an edit by entry
  Tree tree_;
  std::vector<Entry> entries_;
};

}  // namespace device
