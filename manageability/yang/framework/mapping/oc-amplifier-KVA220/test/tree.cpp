// Trees as they are written and printed; see tree.hpp.
#include "tree.hpp"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace ymap_test {

namespace {

constexpr std::array<std::pair<const char *, const char *>, 5> kNamespaces{{
    {"oc", YMAP_NS_OPENCONFIG},
    {"ifmgr", YMAP_NS_IFMGR_CFG},
    {"ots-cfg", YMAP_NS_OTS_CFG},
    {"ots-oper", YMAP_NS_OTS_OPER},
    {"pm", YMAP_NS_PMENGINE_OPER},
}};

constexpr std::array<const char *, 6> kOperations{"none", "replace", "create", "delete", "remove", "merge"};

uint32_t operation_value(const std::string &name) {
  for (uint32_t i = 0; i < kOperations.size(); ++i) {
    if (name == kOperations[i]) return i;
  }
  throw std::invalid_argument("no operation is called '" + name + "'");
}

std::string quoted(const std::string &text) {
  return text.find_first_of(" \n{}") == std::string::npos ? text : '"' + text + '"';
}

}  // namespace

std::string short_namespace(const char *uri) {
  if (uri == nullptr) return "";
  for (const auto &[name, full] : kNamespaces) {
    if (std::string(full) == uri) return name;
  }
  return uri;
}

std::string full_namespace(const std::string &name) {
  for (const auto &[known, full] : kNamespaces) {
    if (name == known) return full;
  }
  return name;
}

std::string operation_name(uint32_t operation) {
  return operation < kOperations.size() ? kOperations[operation] : std::to_string(operation);
}

struct Forest::Reader {
  std::string_view text;
  size_t at = 0;

  void blanks() {
    while (at < text.size() && (text[at] == ' ' || text[at] == '\n')) ++at;
  }
  bool take(char c) {
    if (at >= text.size() || text[at] != c) return false;
    ++at;
    return true;
  }
  std::string word(std::string_view stop) {
    if (take('"')) {
      const size_t end = text.find('"', at);
      if (end == std::string_view::npos)
        throw std::invalid_argument("no closing quote: " + std::string(text));
      std::string found(text.substr(at, end - at));
      at = end + 1;
      return found;
    }
    const size_t end = std::min(text.find_first_of(stop, at), text.size());
    std::string found(text.substr(at, end - at));
    at = end;
    return found;
  }
};

const char *Forest::keep(std::string text) {
  return texts_.emplace_back(std::move(text)).c_str();
}

vidl_yfw_datatree *Forest::plant(std::string_view text, const std::string &prefix) {
  Reader in{text};
  arrays_.emplace_back(2, vidl_yfw_datatree{});
  vidl_yfw_datatree &root = arrays_.back().front();
  read_node(in, root, "oc");
  in.blanks();
  if (in.at != text.size()) throw std::invalid_argument("text after the root node: " + std::string(text));
  name_all(root, prefix + "/" + (root.tag == nullptr ? "<none>" : root.tag));
  return &root;
}

vidl_yfw_datatree *Forest::plant_copy(std::string_view text, const std::string &prefix) {
  vidl_yfw_datatree *root = plant("\"\"{" + std::string(text) + "}", prefix);
  paths_[root] = prefix;
  return root;
}

void Forest::read_node(Reader &in, vidl_yfw_datatree &node, const std::string &parent_ns) {
  const std::string tag = in.word(" \n=:@#!{}");
  if (tag != "<none>") {
    node.tag = keep(tag);
    node.presence1 |= YMAP_HAS_TAG;
  }
  std::string ns = parent_ns;
  std::vector<std::string> flags;
  read_attributes(in, node, ns, flags);
  node.namespace_ = ns == "null" ? nullptr : keep(full_namespace(ns));
  if (in.take('{')) read_children(in, node, ns);
  for (const std::string &flag : flags) {
    if (flag == "untagged") {
      node.presence1 &= static_cast<uint8_t>(~YMAP_HAS_TAG);
    } else if (flag == "unset") {
      node.presence1 &= static_cast<uint8_t>(~YMAP_HAS_DATA);
    } else if (flag == "null") {
      node.presence1 |= YMAP_HAS_DATA;
    } else if (flag == "stale") {
      node.presence2 &= static_cast<uint8_t>(~YMAP_HAS_STATUS);
    } else if (flag == "hidden") {
      node.presence1 &= static_cast<uint8_t>(~YMAP_HAS_SUBTREES);
    } else if (flag == "broken") {
      vidl_yfw_datatree_set_subtrees(&node, nullptr, 2);
    } else {
      throw std::invalid_argument("no flag is called '" + flag + "'");
    }
  }
}

void Forest::read_attributes(Reader &in, vidl_yfw_datatree &node, std::string &ns,
                             std::vector<std::string> &flags) {
  constexpr std::string_view kStop = " \n:@#!{}";
  for (;;) {
    if (in.take('=')) {
      node.data = keep(in.word(kStop));
      node.presence1 |= YMAP_HAS_DATA;
    } else if (in.take(':')) {
      vidl_yfw_datatree_set_operation(&node, operation_value(in.word(kStop)));
    } else if (in.take('@')) {
      ns = in.word(kStop);
    } else if (in.take('#')) {
      node.node_status = static_cast<uint32_t>(std::stoul(in.word(kStop)));
      node.presence2 |= YMAP_HAS_STATUS;
    } else if (in.take('!')) {
      flags.push_back(in.word(kStop));
    } else {
      return;
    }
  }
}

void Forest::read_children(Reader &in, vidl_yfw_datatree &node, const std::string &ns) {
  std::vector<vidl_yfw_datatree> children;
  for (in.blanks(); !in.take('}'); in.blanks()) {
    if (in.at >= in.text.size()) throw std::invalid_argument("no closing brace: " + std::string(in.text));
    read_node(in, children.emplace_back(), ns);
  }
  const auto count = static_cast<uint32_t>(children.size());
  children.emplace_back();
  arrays_.push_back(std::move(children));
  vidl_yfw_datatree_set_subtrees(&node, arrays_.back().data(), count);
}

void Forest::name_all(const vidl_yfw_datatree &node, const std::string &path) {
  paths_[&node] = path;
  if (node.subtrees == nullptr) return;
  std::unordered_map<std::string, int> seen;
  std::unordered_map<std::string, int> total;
  const auto tag_of = [](const vidl_yfw_datatree &n) { return std::string(n.tag ? n.tag : "<none>"); };
  for (uint32_t i = 0; i < node.subtree_count; ++i) ++total[tag_of(node.subtrees[i])];
  for (uint32_t i = 0; i < node.subtree_count; ++i) {
    const std::string tag = tag_of(node.subtrees[i]);
    const std::string index = total[tag] > 1 ? "[" + std::to_string(++seen[tag]) + "]" : "";
    name_all(node.subtrees[i], (path.ends_with('/') ? path : path + "/") + tag + index);
  }
}

std::string Forest::path(const vidl_yfw_datatree *node) const {
  if (node == nullptr) return "-";
  const auto found = paths_.find(node);
  return found == paths_.end() ? "?" : found->second;
}

vidl_yfw_datatree *Forest::append(vidl_yfw_datatree *parent, const char *tag, const char *ns,
                                  const char *value) {
  if (parent->subtrees == nullptr) parent->subtrees = arrays_.emplace_back(2, vidl_yfw_datatree{}).data();
  vidl_yfw_datatree *child = &parent->subtrees[parent->subtree_count];
  vidl_yfw_datatree_set_subtrees(parent, parent->subtrees, parent->subtree_count + 1);
  child->tag = keep(tag);
  child->presence1 |= YMAP_HAS_TAG;
  child->namespace_ = ns == nullptr ? nullptr : keep(ns);
  if (value != nullptr) {
    child->data = keep(value);
    child->presence1 |= YMAP_HAS_DATA;
  }
  paths_[child] = path(parent) + "/" + tag;
  return child;
}

std::string print_tree(const vidl_yfw_datatree &node) {
  std::string text = node.tag == nullptr ? "<none>" : quoted(node.tag);
  if (vidl_yfw_datatree_has_data(&node)) text += "=" + quoted(node.data == nullptr ? "(null)" : node.data);
  if (vidl_yfw_datatree_has_operation(&node)) text += ":" + operation_name(node.operation);
  if (node.is_key != 0) text += "*";
  if ((node.walk_info.presence & YMAP_HAS_WALK_MARK) != 0)
    text += "^" + std::to_string(node.walk_info.walk_mark);
  if (!vidl_yfw_datatree_has_subtrees(&node)) return text;
  text += "{";
  for (uint32_t i = 0; i < node.subtree_count; ++i) {
    text += (i == 0 ? "" : " ") + print_tree(node.subtrees[i]);
  }
  return text + "}";
}

}  // namespace ymap_test
