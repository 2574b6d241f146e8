// Native subtree filters over libyang trees and live data.
#include "native_filter.hpp"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

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

/// What filters of both kinds of data have in common.
struct FilterAdapter {
  using Filter = const FilterNode *;

  FilterChildren filter_children(Filter filter) const { return FilterChildren(filter); }
  bool is_content_match(Filter filter) const { return filter->value.has_value(); }
};

struct TreeAdapter : FilterAdapter {
  using Data = const lyd_node *;

  Siblings data_children(Data node) const { return Siblings(lyd_child(node)); }
  bool same_node(Filter filter, Data node) const { return filter->schema == node->schema; }
  bool equal(Filter filter, Data leaf) const {
    return filter->possible && *filter->value == lyd_get_value(leaf);
  }
  bool is_leaf(Data node) const { return (node->schema->nodetype & LYD_NODE_TERM) != 0; }
  bool is_key(Data, Data child) const { return lysc_is_key(child->schema); }

  /// Of a long list the entry whose keys the filter gives is found by them.
  std::optional<std::vector<Data>> only_children(Data parent, const std::vector<Filter> &filters) const {
    if (filters.size() != 1 || parent->schema->nodetype != LYS_CONTAINER || !is_long(parent))
      return std::nullopt;
    const auto keys = keys_in(*filters.front());
    if (!keys) return std::nullopt;
    lyd_node *found = nullptr;
    const LY_ERR result =
        lyd_find_sibling_val(lyd_child(parent), filters.front()->schema, keys->c_str(), keys->size(), &found);
    if (result == LY_ENOTFOUND) return std::vector<Data>();
    if (result != LY_SUCCESS) return std::nullopt;
    return std::vector<Data>{found};
  }

  static const char *name(Data node) { return node->schema->name; }
  const char *ns(Data node) const { return node->schema->module->ns; }
  static const char *value(Data node) { return lyd_get_value(node); }

 private:
  static bool is_long(Data parent) {
    int count = 0;
    for (const lyd_node *child = lyd_child(parent); child != nullptr && count < kLong; child = child->next)
      ++count;
    return count == kLong;
  }

  /// A predicate of all keys of the list; nothing if the filter does not give them all, once each.
  static std::optional<std::string> keys_in(const FilterNode &filter) {
    if (filter.schema == nullptr || filter.schema->nodetype != LYS_LIST) return std::nullopt;
    std::string predicate;
    for (const lysc_node *key = lysc_node_child(filter.schema); key != nullptr && lysc_is_key(key);
         key = key->next) {
      const auto is_key = [&](const FilterNode &child) { return child.schema == key; };
      if (std::ranges::count_if(filter.children, is_key) != 1) return std::nullopt;
      const auto &value = std::ranges::find_if(filter.children, is_key)->value;
      if (!value || value->find('\'') != std::string::npos) return std::nullopt;
      predicate.append("[").append(key->name).append("='").append(*value).append("']");
    }
    return predicate.empty() ? std::nullopt : std::optional(predicate);
  }

  static constexpr int kLong = 32;
};

struct LiveAdapter : FilterAdapter {
  using Data = const PlainNode *;

  std::vector<Data> data_children(Data node) const { return pointers(node->children); }
  bool same_node(Filter filter, Data node) const {
    return filter->name == node->name && (filter->ns.empty() || filter->ns == own_ns);
  }
  bool equal(Filter filter, Data leaf) const { return filter->possible && *filter->value == leaf->value; }
  bool is_leaf(Data node) const { return node->is_leaf; }
  bool is_key(Data, Data child) const { return child->is_key; }

  static const char *name(Data node) { return node->name; }
  const char *ns(Data) const { return own_ns; }
  static const char *value(Data node) { return node->value.c_str(); }

  static std::vector<Data> pointers(const std::vector<PlainNode> &nodes) {
    std::vector<Data> all;
    all.reserve(nodes.size());
    for (const PlainNode &node : nodes) all.push_back(&node);
    return all;
  }

  const char *own_ns;
};

/// Gives out what was selected.
template <class Adapter>
class Giver {
 public:
  using Data = typename Adapter::Data;

  Giver(const Adapter &adapter, AnswerSink &sink, ReadCount &count)
      : adapter_(adapter), sink_(sink), count_(count) {}

  void give(const yfw::Selected<Data> &selected) {
    if (selected.whole) return give_whole(selected.node);
    sink_.open(adapter_.name(selected.node), adapter_.ns(selected.node));
    // A list entry's keys come with it even when they are not selected.
    for (const Data child : adapter_.data_children(selected.node)) {
      if (!adapter_.is_key(selected.node, child)) break;
      give_whole(child);
    }
    for (const auto &child : selected.children) {
      if (!adapter_.is_key(selected.node, child.node)) give(child);
    }
    sink_.close();
  }

 private:
  void give_whole(Data node) {
    if (adapter_.is_leaf(node)) {
      ++count_.leaves;
      return sink_.leaf(adapter_.name(node), adapter_.ns(node), adapter_.value(node));
    }
    sink_.open(adapter_.name(node), adapter_.ns(node));
    for (const Data child : adapter_.data_children(node)) give_whole(child);
    sink_.close();
  }

  const Adapter &adapter_;
  AnswerSink &sink_;
  ReadCount &count_;
};

template <class Adapter, class Tops>
void give_all(const Adapter &adapter, const std::vector<FilterNode> &filter, const Tops &tops,
              AnswerSink &sink, ReadCount &count) {
  std::vector<const FilterNode *> filters;
  filters.reserve(filter.size());
  for (const FilterNode &node : filter) filters.push_back(&node);
  Giver<Adapter> giver(adapter, sink, count);
  for (const auto &selected : yfw::SubtreeFilter(adapter).select(filters, tops)) giver.give(selected);
}

std::string_view trimmed(std::string_view text) {
  static constexpr const char *space = " \t\r\n";
  const size_t begin = text.find_first_not_of(space);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(space) - begin + 1);
}

/// Whether a value is canonical in whatever type live data has that it can be of: words, and integers as they
/// are commonly written. None of these types is a decimal.
bool is_canonical_live_value(std::string_view value) {
  const auto digit = [](char c) { return c >= '0' && c <= '9'; };
  const auto letter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
  if (letter(value.front())) return true;
  return std::ranges::all_of(value, digit) && (value.size() == 1 || value.front() != '0');
}

/// Binds nodes below the place `parents`. Only what needs it looks into the modules of live data, for they
/// are loaded by that.
class Binder {
 public:
  explicit Binder(const Schema &schema) : schema_(schema) {}

  FilterNode bind(const RequestNode &request) {
    FilterNode node = {request.name, request.ns, nullptr, std::nullopt, true, {}};
    const bool is_live = Schema::is_live(request.ns);
    if (!is_live && known()) node.schema = schema_.find(parent(), request.ns, request.name);
    places_.push_back({&request, node.schema});
    for (const RequestNode &child : request.children) node.children.push_back(bind(child));
    // White space around a content match counts for nothing (RFC 6241, section 6.2.5).
    const std::string_view value = trimmed(request.value.value_or(std::string_view()));
    if (!value.empty() && node.children.empty()) {
      node.value = value;
      const auto *leaf = is_live && !is_canonical_live_value(value) ? live_schema() : node.schema;
      if (leaf != nullptr && (leaf->nodetype & LYD_NODE_TERM) != 0)
        node.possible = canonical_value(schema_, leaf, std::string(value), *node.value);
    }
    places_.pop_back();
    return node;
  }

 private:
  struct Place {
    const RequestNode *request;
    const lysc_node *schema;
  };

  bool known() const { return places_.empty() || parent() != nullptr; }
  const lysc_node *parent() const { return places_.empty() ? nullptr : places_.back().schema; }

  const lysc_node *live_schema() const {
    const lysc_node *node = nullptr;
    for (const Place &place : places_) {
      const auto *below = schema_.find(node, place.request->ns, place.request->name);
      if (below == nullptr) return nullptr;
      node = below;
    }
    return node;
  }

  const Schema &schema_;
  std::vector<Place> places_;
};

}  // namespace

std::vector<FilterNode> bind_filter(const Schema &schema, const std::vector<RequestNode> &request) {
  std::vector<FilterNode> filter;
  filter.reserve(request.size());
  for (const RequestNode &node : request) filter.push_back(Binder(schema).bind(node));
  return filter;
}

std::vector<FilterNode> plain_filter(const std::vector<RequestNode> &request) {
  std::vector<FilterNode> filter;
  filter.reserve(request.size());
  for (const RequestNode &node : request) {
    FilterNode &made = filter.emplace_back();
    made.name = node.name;
    made.ns = node.ns;
    if (node.value) made.value = std::string(*node.value);
    made.children = plain_filter(node.children);
  }
  return filter;
}

void give_selected(const std::vector<FilterNode> &filter, const lyd_node *data, AnswerSink &sink,
                   ReadCount &count) {
  give_all(TreeAdapter(), filter, Siblings(data), sink, count);
}

void give_selected(const std::vector<FilterNode> &filter, const std::vector<PlainNode> &data, const char *ns,
                   AnswerSink &sink, ReadCount &count) {
  give_all(LiveAdapter{{}, ns}, filter, LiveAdapter::pointers(data), sink, count);
}

Reach::Reach(const std::vector<FilterNode> &filter, std::string_view ns) : ns_(ns) {
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

Reach Reach::child(std::string_view name) const {
  Reach below(ns_);
  below.all_ = all_;
  for (const FilterNode *filter : filters_) {
    if (names(*filter, name)) below.add(*filter);
  }
  return below;
}

Reach Reach::entry(std::string_view list, std::string_view key, std::string_view value) const {
  Reach below(ns_);
  below.all_ = all_;
  for (const FilterNode *filter : filters_) {
    if (!names(*filter, list)) continue;
    bool other = false;
    for (const FilterNode &child : filter->children) {
      other = other || (names(child, key) && child.value.has_value() && *child.value != value);
    }
    if (!other) below.add(*filter);
  }
  return below;
}

}  // namespace device
