/// \file
/// Trees in a notation that a person types, so that a test row holds its input and its outcome as text:
///
///     amplifier:delete{name=0/0-AMP-BST2 config@foreign{target-gain= "odd tag"="odd value"}}
///
/// A node is `tag[=value][:operation][@namespace][#status][!flag][{children}]`. A namespace is a short name
/// (oc, ifmgr, ots-cfg, ots-oper, pm) or any text, and goes down to the children. The tag `<none>` is no tag.
/// Flags break a node on purpose: `untagged` tag without its presence bit; `unset` data without its presence
/// bit; `null` data bit over a NULL pointer; `stale` status without its
/// presence bit; `hidden` children without their presence bit; `broken` a child
/// count over a NULL array.
/// Printed trees also show what the walkers leave behind: `*` a key, `^N` a walk mark.
#ifndef YMAP_TEST_TREE_HPP
#define YMAP_TEST_TREE_HPP

#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ymap_datatree.h"

namespace ymap_test {

/// Short name of a namespace URI, the URI itself when it has none, and the way back. "" for NULL.
std::string short_namespace(const char *uri);
std::string full_namespace(const std::string &name);

/// Name of a node operation as the notation has it.
std::string operation_name(uint32_t operation);

/// Owns the nodes of one scenario and knows each by its path, also while its parent hides it.
class Forest {
 public:
  /// Builds the tree; throws std::invalid_argument with the place where the notation is wrong. Paths start
  /// with `prefix`. The record stays in place for the life of the forest.
  vidl_yfw_datatree *plant(std::string_view text, const std::string &prefix = "");

  /// A root with the empty tag over the tree, as the framework keeps its copy of the request.
  vidl_yfw_datatree *plant_copy(std::string_view text, const std::string &prefix);

  /// Names a record that is not planted here.
  void name(const vidl_yfw_datatree *node, const std::string &path) { paths_[node] = path; }

  /// The path of a node: `-` for NULL, `?` for a stranger.
  std::string path(const vidl_yfw_datatree *node) const;

  /// Adds a child in place; no record moves, since every array has room for one more.
  vidl_yfw_datatree *append(vidl_yfw_datatree *parent, const char *tag, const char *ns, const char *value);

 private:
  struct Reader;
  const char *keep(std::string text);
  void read_node(Reader &in, vidl_yfw_datatree &node, const std::string &ns);
  void read_attributes(Reader &in, vidl_yfw_datatree &node, std::string &ns, std::vector<std::string> &flags);
  void read_children(Reader &in, vidl_yfw_datatree &node, const std::string &ns);
  void name_all(const vidl_yfw_datatree &node, const std::string &path);

  std::deque<std::vector<vidl_yfw_datatree>> arrays_;
  std::deque<std::string> texts_;
  std::unordered_map<const vidl_yfw_datatree *, std::string> paths_;
};

/// The tree in the notation.
std::string print_tree(const vidl_yfw_datatree &node);

}  // namespace ymap_test

#endif  // YMAP_TEST_TREE_HPP
