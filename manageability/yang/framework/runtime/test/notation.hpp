/// \file
/// Data trees as one writes them: `top{list{name=x leaf other!remove}}`. `!word` is the operation, `=text`
/// the value (up to a blank or brace; `=` alone is the empty text).
#pragma once

#include <array>
#include <cctype>
#include <stdexcept>
#include <string>
#include <string_view>

#include "datatree.hpp"
#include "record.hpp"

namespace yfw::test {

inline constexpr std::array<std::string_view, 6> kOperations = {"none",   "replace", "create",
                                                                "delete", "remove",  "merge"};

struct TopNamespace {
  std::string_view tag;
  const char *ns;
};
/// The nodes at which a namespace begins.
inline constexpr TopNamespace kNamespaces[] = {
    {"optical-amplifier", YMAP_NS_OPENCONFIG},
    {"interface-configurations", YMAP_NS_IFMGR_CFG},
    {"ots", YMAP_NS_OTS_CFG},
    {"ots-oper", YMAP_NS_OTS_OPER},
    {"performance-management-history", YMAP_NS_PMENGINE_OPER},
    {"foreign", "urn:foreign"},
};

class Parser {
 public:
  Parser(Datatree &tree, std::string_view text) : tree_(tree), text_(text) { siblings(tree.root(), ""); }

 private:
  void siblings(vidl_yfw_datatree *parent, std::string_view ns) {
    for (;;) {
      while (at_ < text_.size() && text_[at_] == ' ') ++at_;
      if (at_ == text_.size() || text_[at_] == '}') return;
      node(parent, ns);
    }
  }

  void node(vidl_yfw_datatree *parent, std::string_view ns) {
    const std::string_view tag = word("!={} ");
    for (const TopNamespace &row : kNamespaces) {
      if (row.tag == tag) ns = row.ns;
    }
    uint32_t operation = YMAP_OP_NONE;
    if (next('!')) {
      const std::string_view name = word("={} ");
      while (operation < kOperations.size() && kOperations[operation] != name) ++operation;
      if (operation == kOperations.size()) throw std::invalid_argument(std::string(name));
    }
    std::optional<std::string_view> value;
    if (next('=')) value = word("{} ");
    vidl_yfw_datatree *added = tree_.add(parent, tag, ns, value, operation);
    if (!next('{')) return;
    siblings(added, ns);
    if (!next('}')) throw std::invalid_argument(std::string(text_));
  }

  bool next(char c) {
    const bool here = at_ < text_.size() && text_[at_] == c;
    if (here) ++at_;
    return here;
  }

  std::string_view word(std::string_view ends) {
    const std::size_t begin = at_;
    at_ = std::min(text_.find_first_of(ends, at_), text_.size());
    return text_.substr(begin, at_ - begin);
  }

  Datatree &tree_;
  std::string_view text_;
  std::size_t at_ = 0;
};

inline Datatree parse(std::string_view text) {
  Datatree tree;
  Parser(tree, text);
  return tree;
}

inline std::string print(const vidl_yfw_datatree &parent) {
  std::string text;
  for (const vidl_yfw_datatree &node : children(parent)) {
    if (!text.empty()) text += ' ';
    text += tag_of(node);
    if (node.operation != YMAP_OP_NONE) text.append("!").append(kOperations.at(node.operation));
    if (node.data != nullptr) text.append("=").append(node.data);
    if (child_count(node) != 0) text.append("{").append(print(node)).append("}");
  }
  return text;
}

inline std::string print(const Datatree &tree) {
  return print(*tree.root());
}

}  // namespace yfw::test
