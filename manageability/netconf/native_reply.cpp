// Answers by the filter and the models, error paths by the request.
#include "native_reply.hpp"

#include <libyang/libyang.h>

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

#include "libyang_versions.hpp"
#include "printable.hpp"
#include "subtree_filter.hpp"
#include "ymap_datatree.h"

namespace ymap::netconf {
namespace {

std::string_view text_of(const char *text) {
  return text == nullptr ? std::string_view() : std::string_view(text);
}

std::string_view value_of(const vidl_yfw_datatree &node) {
  return vidl_yfw_datatree_has_data(&node) ? text_of(node.data) : std::string_view();
}

/// The records below a node.
std::vector<const vidl_yfw_datatree *> children_of(const vidl_yfw_datatree *node) {
  std::vector<const vidl_yfw_datatree *> children;
  if (!vidl_yfw_datatree_has_subtrees(node)) return children;
  for (uint32_t at = 0; at < node->subtree_count; ++at) children.push_back(&node->subtrees[at]);
  return children;
}

/// Records as the filter of elements. Keys need no mention: the plug-in asks for those of every entry.
struct ElementAdapter {
  using Filter = const vidl_yfw_datatree *;
  using Data = XmlElement;

  std::vector<Filter> filter_children(Filter filter) const { return children_of(filter); }
  XmlElements data_children(Data data) const { return data.children(); }
  bool same_node(Filter filter, Data data) const {
    return data.name() == text_of(filter->tag) && data.ns() == text_of(filter->namespace_);
  }
  bool is_content_match(Filter filter) const {
    return children_of(filter).empty() && !value_of(*filter).empty();
  }
  bool equal(Filter filter, Data data) const { return trimmed(data.text()) == value_of(*filter); }
  bool is_leaf(Data data) const { return data.children().empty(); }
  bool is_key(Data /*entry*/, Data /*child*/) const { return false; }
};
using Selected = yfw::Selected<XmlElement>;

class Reader {
 public:
  Reader(const device::Schema &schema, device::AnswerSink &sink, std::vector<std::string> &warnings)
      : schema_(schema), sink_(sink), warnings_(warnings) {}

  void give_all(const std::vector<Selected> &siblings, const lysc_node *parent, const std::string &path) {
    std::set<const lysc_node *> leaves;
    for (const auto &selected : siblings) give(selected, parent, path, leaves);
  }

 private:
  void warn(const std::string &path, const std::string &reason) {
    warnings_.push_back("left out " + path + " of the device's answer: " + reason);
  }

  /// `leaves` are those of the same parent before.
  void give(const Selected &selected, const lysc_node *parent, const std::string &parent_path,
            std::set<const lysc_node *> &leaves) {
    const auto &element = selected.node;
    const auto *node = schema_.find(parent, element.ns(), element.name());
    auto path = parent_path + "/";
    if (node != nullptr && (parent == nullptr || parent->module != node->module))
      path.append(node->module->name).append(":");
    path += shortened(element.name());
    if (node == nullptr) return warn(path, "the device's modules have no such node");
    if ((node->nodetype & LYD_NODE_TERM) != 0) {
      if (!leaves.insert(node).second) return warn(path, "it stands twice");
      return give_leaf(element, node, path);
    }
    if (!element.text().empty()) return warn(path, "it holds text in the place of nodes");
    std::vector<Selected> keys;
    if (node->nodetype == LYS_LIST && !find_keys(element, node, path, keys)) return;
    sink_.open(node->name, node->module->ns);
    // Keys come with their entry whether they are selected or not.
    auto children = selected.whole ? all_of(element) : selected.children;
    std::erase_if(children, [&](const Selected &child) { return key_of(child.node, node) != nullptr; });
    children.insert(children.begin(), keys.begin(), keys.end());
    give_all(children, node, path);
    sink_.close();
  }

  void give_leaf(const XmlElement &element, const lysc_node *node, const std::string &path) {
    if (!element.children().empty()) return warn(path, "it is a leaf and holds nodes");
    std::string canonical;
    if (!device::canonical_value(schema_, node, std::string(trimmed(element.text())), canonical))
      return warn(path, shortened(schema_.error_message()));
    sink_.leaf(node->name, node->module->ns, canonical.c_str());
  }

  /// The key of a list that an element is; null if it is none.
  static const lysc_node *key_of(const XmlElement &element, const lysc_node *list) {
    for (const lysc_node *key = lysc_node_child(list); key != nullptr && lysc_is_key(key); key = key->next)
      if (element.name() == key->name && element.ns() == key->module->ns) return key;
    return nullptr;
  }

  /// The keys of an entry, in the order of the model, which are added to its path too; false, with a warning,
  /// if they are not all there, or not once.
  bool find_keys(const XmlElement &entry, const lysc_node *list, std::string &path,
                 std::vector<Selected> &keys) {
    std::string predicates;
    for (const lysc_node *key = lysc_node_child(list); key != nullptr && lysc_is_key(key); key = key->next) {
      const auto before = keys.size();
      for (const auto &child : entry.children())
        if (key_of(child, list) == key) keys.push_back({child, true, {}});
      if (keys.size() != before + 1) {
        warn(path, "the entry needs its key " + std::string(key->name) + " once");
        return false;
      }
      predicates += "[" + std::string(key->name) + "='" + shortened(trimmed(keys.back().node.text())) + "']";
    }
    path += predicates;
    return true;
  }

  static std::vector<Selected> all_of(const XmlElement &parent) {
    std::vector<Selected> all;
    for (const auto &child : parent.children()) all.push_back({child, true, {}});
    return all;
  }

  const device::Schema &schema_;
  device::AnswerSink &sink_;
  std::vector<std::string> &warnings_;
};

/// One step of an instance path.
struct Step {
  std::string_view name;
  std::vector<std::pair<std::string_view, std::string_view>> keys;
};

/// The text up to one of `ends`, which are not counted within quotation marks.
std::string_view take_until(std::string_view &text, std::string_view ends) {
  char quote = '\0';
  std::size_t at = 0;
  for (; at < text.size(); ++at) {
    const char character = text[at];
    if (quote != '\0') {
      if (character == quote) quote = '\0';
    } else if (character == '\'' || character == '"') {
      quote = character;
    } else if (ends.find(character) != std::string_view::npos) {
      break;
    }
  }
  const auto taken = text.substr(0, at);
  text.remove_prefix(at);
  return taken;
}

/// Takes the next step, with its slash, from the front of a path; nothing where none is.
std::optional<Step> take_step(std::string_view &path) {
  if (!path.starts_with('/')) return std::nullopt;
  path.remove_prefix(1);
  Step step;
  step.name = take_until(path, "/[");
  if (const auto colon = step.name.find(':'); colon != std::string_view::npos)
    step.name.remove_prefix(colon + 1);
  while (path.starts_with('[')) {
    path.remove_prefix(1);
    const auto predicate = take_until(path, "]");
    if (!path.empty()) path.remove_prefix(1);
    const auto equals = predicate.find('=');
    if (equals == std::string_view::npos || predicate.size() < equals + 3) return std::nullopt;
    step.keys.emplace_back(predicate.substr(0, equals),
                           predicate.substr(equals + 2, predicate.size() - equals - 3));
  }
  return step;
}

std::size_t count_below(const device::Schema &schema, const vidl_yfw_datatree *parent,
                        const lysc_node *parent_schema) {
  std::size_t count = 0;
  for (const auto *child : children_of(parent)) {
    const auto *node = schema.find(parent_schema, text_of(child->namespace_), text_of(child->tag));
    const bool is_leaf = node == nullptr || (node->nodetype & LYD_NODE_TERM) != 0;
    if (!is_leaf)
      count += count_below(schema, child, node);
    else if (node == nullptr || !lysc_is_key(node))
      ++count;
  }
  return count;
}

bool has_keys(const vidl_yfw_datatree *entry, const Step &step) {
  const auto leaves = children_of(entry);
  return std::ranges::all_of(step.keys, [&](const auto &key) {
    return std::ranges::any_of(leaves, [&](const vidl_yfw_datatree *leaf) {
      return text_of(leaf->tag) == key.first && value_of(*leaf) == key.second;
    });
  });
}

}  // namespace

void read_native(const device::Schema &schema, const yfw::Datatree &filter, const XmlElements &data,
                 device::AnswerSink &sink, std::vector<std::string> &warnings) {
  const device::LogScope log;
  const ElementAdapter adapter;
  const auto selection = yfw::SubtreeFilter(adapter).select(children_of(filter.root()), data);
  Reader(schema, sink, warnings).give_all(selection, nullptr, {});
}

const vidl_yfw_datatree *find_node(const yfw::Datatree &request, std::string_view path) {
  const vidl_yfw_datatree *node = nullptr;
  while (!path.empty()) {
    const auto step = take_step(path);
    if (!step) return nullptr;
    const auto below = children_of(node == nullptr ? request.root() : node);
    const auto found = std::ranges::find_if(below, [&](const vidl_yfw_datatree *child) {
      return text_of(child->tag) == step->name && has_keys(child, *step);
    });
    if (found == below.end()) return nullptr;
    node = *found;
  }
  return node;
}

const vidl_yfw_datatree *find_only(const yfw::Datatree &request, std::string_view name) {
  std::vector<const vidl_yfw_datatree *> found;
  const auto collect = [&](const auto &self, const vidl_yfw_datatree *parent) -> void {
    for (const auto *child : children_of(parent)) {
      if (text_of(child->tag) == name) found.push_back(child);
      self(self, child);
    }
  };
  collect(collect, request.root());
  return found.size() == 1 ? found.front() : nullptr;
}

std::size_t count_leaves(const device::Schema &schema, const yfw::Datatree &edit) {
  return count_below(schema, edit.root(), nullptr);
}

}  // namespace ymap::netconf
