// Native subtree filters over libyang trees.
#include "native_filter.hpp"

#include <cstring>

#include "libyang_versions.hpp"
#include "subtree_filter.hpp"

namespace device {

namespace {

/// Siblings from a node on, for range-based loops.
class Siblings {
 public:
  class Iterator {
   public:
    explicit Iterator(const lyd_node *node) : node_(node) {}
    const lyd_node *operator*() const { return node_; }
    Iterator &operator++() {
      node_ = node_->next;
      return *this;
    }
    bool operator!=(const Iterator &other) const { return node_ != other.node_; }

   private:
    const lyd_node *node_;
  };

  explicit Siblings(const lyd_node *first) : first_(first) {}
  Iterator begin() const { return Iterator(first_); }
  Iterator end() const { return Iterator(nullptr); }

 private:
  const lyd_node *first_;
};

/// The children of a filter node, by address.
class FilterChildren {
 public:
  class Iterator {
   public:
    explicit Iterator(const FilterNode *node) : node_(node) {}
    const FilterNode *operator*() const { return node_; }
    Iterator &operator++() {
      ++node_;
      return *this;
    }
    bool operator!=(const Iterator &other) const { return node_ != other.node_; }

   private:
    const FilterNode *node_;
  };

  explicit FilterChildren(const FilterNode *parent) : children_(parent->children) {}
  Iterator begin() const { return Iterator(children_.data()); }
  Iterator end() const { return Iterator(children_.data() + children_.size()); }

 private:
  const std::vector<FilterNode> &children_;
};

struct Adapter {
  using Filter = const FilterNode *;
  using Data = const lyd_node *;

  FilterChildren filter_children(Filter filter) const { return FilterChildren(filter); }
  Siblings data_children(Data node) const { return Siblings(lyd_child(node)); }
  bool same_node(Filter filter, Data node) const { return filter->schema == node->schema; }
  bool is_content_match(Filter filter) const { return filter->value.has_value(); }
  bool equal(Filter filter, Data leaf) const {
    return filter->possible && *filter->value == lyd_get_value(leaf);
  }
  bool is_leaf(Data node) const { return (node->schema->nodetype & LYD_NODE_TERM) != 0; }
  bool is_key(Data, Data child) const { return lysc_is_key(child->schema); }
};

std::string trimmed(const std::string &text) {
  static constexpr const char *space = " \t\r\n";
  const size_t begin = text.find_first_not_of(space);
  if (begin == std::string::npos) return {};
  return text.substr(begin, text.find_last_not_of(space) - begin + 1);
}

FilterNode bind_node(const Schema &schema, const lysc_node *parent, bool known, const RequestNode &request) {
  FilterNode node;
  if (known) node.schema = schema.find(parent, request.ns, request.name);
  for (const RequestNode &child : request.children) {
    node.children.push_back(bind_node(schema, node.schema, node.schema != nullptr, child));
  }
  // White space around a content match counts for nothing (RFC 6241, section 6.2.5).
  const std::string value = trimmed(request.value.value_or(""));
  if (value.empty() || !node.children.empty()) return node;
  node.value = value;
  if (node.schema != nullptr && (node.schema->nodetype & LYD_NODE_TERM) != 0) {
    node.possible = canonical_value(schema, node.schema, value, *node.value);
  }
  return node;
}

/// Counted on the copy, so that keys that came along are counted too.
size_t count_leaves(const lyd_node *node) {
  if ((node->schema->nodetype & LYD_NODE_TERM) != 0) return 1;
  size_t leaves = 0;
  for (const lyd_node *child : Siblings(lyd_child(node))) leaves += count_leaves(child);
  return leaves;
}

/// Returns the copy, which is not yet linked if there is no parent.
lyd_node *copy(const yfw::Selected<const lyd_node *> &selected, lyd_node *parent) {
  lyd_node *node = nullptr;
  // A list entry's keys are copied with it even when its other children are not.
  libyang::duplicate(selected.node, parent, selected.whole ? LYD_DUP_RECURSIVE : 0, &node);
  if (node == nullptr) throw std::bad_alloc();
  for (const auto &child : selected.children) {
    if (!lysc_is_key(child.node->schema)) copy(child, node);
  }
  return node;
}

}  // namespace

std::vector<FilterNode> bind_filter(const Schema &schema, const std::vector<RequestNode> &request) {
  std::vector<FilterNode> filter;
  filter.reserve(request.size());
  for (const RequestNode &node : request) filter.push_back(bind_node(schema, nullptr, true, node));
  return filter;
}

void copy_selected(const std::vector<FilterNode> &filter, const lyd_node *data, Tree &answer,
                   ReadCount &count) {
  const Adapter adapter;
  std::vector<const FilterNode *> filters;
  filters.reserve(filter.size());
  for (const FilterNode &node : filter) filters.push_back(&node);
  for (const auto &selected : yfw::SubtreeFilter(adapter).select(filters, Siblings(data))) {
    lyd_node *node = copy(selected, nullptr);
    count.leaves += count_leaves(node);
    lyd_node *first = answer.release();
    lyd_insert_sibling(first, node, &first);
    answer.reset(first);
  }
}

Reach::Reach(const std::vector<FilterNode> &filter) {
  for (const FilterNode &node : filter) filters_.push_back(&node);
}

/// Content matches stay in reach: they need something to be compared with.
void Reach::add(const FilterNode &filter) {
  bool all = true;
  for (const FilterNode &child : filter.children) {
    filters_.push_back(&child);
    all = all && child.value.has_value();
  }
  all_ = all_ || all;
}

Reach Reach::child(const char *name) const {
  Reach below;
  below.all_ = all_;
  for (const FilterNode *filter : filters_) {
    if (filter->schema != nullptr && std::strcmp(filter->schema->name, name) == 0) below.add(*filter);
  }
  return below;
}

Reach Reach::entry(const char *list, const char *key, const std::string &value) const {
  Reach below;
  below.all_ = all_;
  for (const FilterNode *filter : filters_) {
    if (filter->schema == nullptr || std::strcmp(filter->schema->name, list) != 0) continue;
    bool other = false;
    for (const FilterNode &child : filter->children) {
      const bool is_key = child.schema != nullptr && std::strcmp(child.schema->name, key) == 0;
      other = other || (is_key && child.value.has_value() && *child.value != value);
    }
    if (!other) below.add(*filter);
  }
  return below;
}

}  // namespace device
