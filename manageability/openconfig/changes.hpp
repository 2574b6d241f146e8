/// \file
/// What an edit alters, leaf by leaf.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "access_rules.hpp"
#include "datatree.hpp"
#include "openconfig_answer.hpp"

namespace ymap {

/// Configuration as leaves by their instance paths, see Fault.
struct Leaves {
  std::map<std::string, std::string> values;
  /// Keys of the entries of lists whose order is the user's.
  std::map<std::string, std::vector<std::string>> orders;
};

/// What is state is left out.
Leaves leaves_of(const Schema &schema, const Data &data);
/// Of access rules, the children of their container.
Leaves leaves_of(const std::vector<device::PlainNode> &rules);

/// Those that an edit of access rules names.
Leaves leaves_of(const std::vector<device::RequestNode> &edit);

/// What `before` becomes by the operations of an OpenConfig edit, as far as the message says it: what the
/// device makes of it, and whether it takes it, is not known here. Texts that are longer than any value are
/// cut.
Leaves after_edit(const Schema &schema, Leaves before, const yfw::Datatree &edit);

/// One leaf that is created, updated or removed; or a list, updated, whose entries are the same in another
/// order.
struct Change {
  std::string path;
  Access access = Access::update;
  std::optional<std::string> before = {}, after = {};
};
std::vector<Change> changes_between(const Leaves &before, const Leaves &after);

/// Takes out what the user may not read, and what is below it.
void prune(const Schema &schema, const Rights &rights, Data &data);
/// The same of access rules.
void prune(const Rights &rights, std::vector<device::PlainNode> &rules);

/// Takes out what a filter selects by the value of a leaf that the user may not read: nobody shall learn by
/// matching. To be called before prune().
void drop_secret_matches(const Schema &schema, const Rights &rights, const yfw::Datatree &filter, Data &data);

}  // namespace ymap
