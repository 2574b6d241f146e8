// Framework trees as indented text.
#include "native_text.hpp"

#include <cstdio>

#include "operation_words.hpp"
#include "walk.hpp"
#include "ymap_datatree.h"

namespace ymap {
namespace {

constexpr std::size_t kLongPath = 48;

uint32_t child_count(const vidl_yfw_datatree &node) {
  return vidl_yfw_datatree_has_subtrees(&node) && node.subtrees != nullptr ? node.subtree_count : 0;
}

bool has_value(const vidl_yfw_datatree &node) {
  return vidl_yfw_datatree_has_data(&node) && node.data != nullptr;
}

std::string text_of(const char *text) {
  return text == nullptr ? "" : text;
}

void write(const vidl_yfw_datatree *parent, const std::string &parent_ns, std::size_t depth,
           std::string &text) {
  for (uint32_t at = 0; at < child_count(*parent); ++at) {
    const auto *node = &parent->subtrees[at];
    const auto ns = text_of(node->namespace_);
    auto line = std::string(2 * depth, ' ') + text_of(node->tag);
    const auto joins = [&] {
      return child_count(*node) == 1 && child_count(node->subtrees[0]) > 0 &&
             text_of(node->subtrees[0].namespace_) == ns && !vidl_yfw_datatree_has_operation(node);
    };
    while (joins()) {
      node = &node->subtrees[0];
      line += "/" + text_of(node->tag);
    }
    if (has_value(*node)) line += " = " + text_of(node->data);
    const auto operation =
        vidl_yfw_datatree_has_operation(node) ? operation_word(node->operation) : std::string_view();
    if (!operation.empty()) line.append(", operation ").append(operation);
    if (ns != parent_ns) line += "  (" + module_of(node->namespace_) + ")";
    text += line + "\n";
    write(node, ns, depth + 1, text);
  }
}

void count(const vidl_yfw_datatree &parent, const std::set<std::string> &lists, TreeCount &counts) {
  for (uint32_t at = 0; at < child_count(parent); ++at) {
    const auto &node = parent.subtrees[at];
    if (child_count(node) == 0) {
      ++counts.leaves;
      if (!has_value(node)) ++counts.unvalued;
    } else if (lists.contains(text_of(node.tag))) {
      ++counts.entries;
    }
    count(node, lists, counts);
  }
}

}  // namespace

std::string tree_text(const yfw::Datatree &tree, std::size_t depth, const std::string &ns) {
  std::string text;
  write(tree.root(), ns, depth, text);
  return text;
}

TreeCount count_tree(const yfw::Datatree &tree, const std::set<std::string> &lists) {
  TreeCount counts;
  count(*tree.root(), lists, counts);
  return counts;
}

std::string shortened(const std::string &path) {
  if (path.size() <= kLongPath) return path;
  const auto first = path.find('/', 1);
  auto last = path.rfind('/');
  if (last != std::string::npos && last > 0) last = path.rfind('/', last - 1);
  if (last == std::string::npos || first == std::string::npos || last <= first) return path;
  return path.substr(0, first) + "/..." + path.substr(last);
}

std::string plain_number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

std::string counted(std::size_t count, const char *one, const char *many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

}  // namespace ymap
