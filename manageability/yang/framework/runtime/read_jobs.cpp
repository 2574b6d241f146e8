// Splits reads, and takes out of them what has no mapping.
#include "read_jobs.hpp"

#include <algorithm>
#include <utility>

#include "tree_store.hpp"

namespace yfw {
namespace {

using Nodes = std::vector<const vidl_yfw_datatree *>;

bool is_openconfig(const Registration &registration, const vidl_yfw_datatree &node, const std::string &tag) {
  return is_named(node, tag.c_str(), registration.openconfig_ns.c_str());
}

bool has_leaf(const vidl_yfw_datatree &node, const std::string &tag) {
  for (const vidl_yfw_datatree &below : children(node)) {
    if ((has_tag(below, tag) && child_count(below) == 0) || has_leaf(below, tag)) return true;
  }
  return false;
}

void add_filter_copy(Datatree &tree, vidl_yfw_datatree *parent, const vidl_yfw_datatree &node) {
  vidl_yfw_datatree *copy = add_record_alias(tree, parent, node);
  for (const vidl_yfw_datatree &below : children(node)) add_filter_copy(tree, copy, below);
}

bool only_matches(const vidl_yfw_datatree &node) {
  for (const vidl_yfw_datatree &below : children(node)) {
    if (child_count(below) != 0 || !has_value(below)) return false;
  }
  return true;
}

/// A copy that selects what the content matches of the filter must be compared with. The matching itself is
/// left to the answer's filter: a value in the plug-in's hands would narrow what other parts of the filter
/// select, or be refused where it can just not match.
void add_selection(Datatree &tree, vidl_yfw_datatree *parent, const vidl_yfw_datatree &node) {
  vidl_yfw_datatree *copy = add_alias(tree, parent, node.tag == nullptr ? "" : node.tag, node.namespace_);
  if (only_matches(node)) return;  // RFC 6241, section 6.2.5: matches alone select all that is beside them
  for (const vidl_yfw_datatree &below : children(node)) add_selection(tree, copy, below);
}

/// Asks for config/name: the least that keeps the plug-in from filling the whole entry.
void add_key_copy(const Registration &registration, Datatree &tree, vidl_yfw_datatree *entry) {
  const char *ns = registration.openconfig_ns.c_str();
  vidl_yfw_datatree *config = add_alias(tree, entry, registration.config.c_str(), ns);
  add_alias(tree, config, registration.key.c_str(), ns);
}

/// The key with a value that is all an entry holds, as most do; else nullptr.
const vidl_yfw_datatree *lone_key(const Registration &registration, const vidl_yfw_datatree &entry) {
  if (child_count(entry) != 1) return nullptr;
  const vidl_yfw_datatree *key = entry.subtrees;
  const bool matches = child_count(*key) == 0 && has_value(*key);
  return matches && is_openconfig(registration, *key, registration.key) ? key : nullptr;
}

/// The only child of a node, if it has that name; else nullptr.
const vidl_yfw_datatree *lone_child(const Registration &registration, const vidl_yfw_datatree *node,
                                    const std::string &tag) {
  if (node == nullptr || child_count(*node) != 1) return nullptr;
  return is_openconfig(registration, *node->subtrees, tag) ? node->subtrees : nullptr;
}

/// The instance that a filter names when it asks for all of one entry and for nothing else, as most do; else
/// nullptr.
const std::string *lone_instance(const Registration &registration, const Datatree &filter) {
  const vidl_yfw_datatree *entry = filter.root();
  for (const std::string *tag : {&registration.top, &registration.list_container, &registration.list})
    entry = lone_child(registration, entry, *tag);
  const vidl_yfw_datatree *key = entry == nullptr ? nullptr : lone_key(registration, *entry);
  if (key == nullptr) return nullptr;
  const auto &instances = registration.instances;
  const auto named = std::find(instances.begin(), instances.end(), value_of(*key));
  return named == instances.end() ? nullptr : &*named;
}

vidl_yfw_datatree *add_list(const Registration &registration, Datatree &request) {
  const char *ns = registration.openconfig_ns.c_str();
  return add_alias(request, add_alias(request, request.root(), registration.top.c_str(), ns),
                   registration.list_container.c_str(), ns);
}

/// Adds a request for all of an instance, which is one of the registration's own texts; its entry.
vidl_yfw_datatree *add_entry(const Registration &registration, const std::string &instance,
                             Datatree &request) {
  const char *ns = registration.openconfig_ns.c_str();
  vidl_yfw_datatree *entry =
      add_alias(request, add_list(registration, request), registration.list.c_str(), ns);
  set_data(*add_alias(request, entry, registration.key.c_str(), ns), instance.c_str());
  return entry;
}

/// What the filter's entries ask of one instance: all of it, or some of its children.
struct Wanted {
  bool whole = false;
  Nodes nodes;
};

class Splitter {
 public:
  Splitter(const Registration &registration, const Datatree &filter)
      : registration_(registration), wanted_(registration.instances.size()) {
    if (child_count(*filter.root()) == 0) want_all(*filter.root());
    for (const vidl_yfw_datatree &top : children(*filter.root())) {
      if (is_openconfig(registration_, top, registration_.top))
        split_top(top);
      else
        exact_ = false;
    }
  }

  ReadPlan plan() {
    for (std::size_t i = 0; i < wanted_.size(); ++i) {
      if (wanted_[i].whole) wanted_[i].nodes.clear();
      if (wanted_[i].whole || !wanted_[i].nodes.empty()) add_amplifier(i);
    }
    return {std::move(jobs_), exact_};
  }

 private:
  /// What a container without children asks for. One with a value matches nothing.
  void want_all(const vidl_yfw_datatree &container) {
    exact_ = exact_ && !has_value(container);
    for (Wanted &wanted : wanted_) wanted.whole = true;
  }

  void split_top(const vidl_yfw_datatree &top) {
    if (child_count(top) == 0) want_all(top);
    for (const vidl_yfw_datatree &below : children(top)) {
      if (is_openconfig(registration_, below, registration_.list_container)) {
        split_list(below);
      } else {
        exact_ = false;
        ReadJob job{ReadJob::Kind::other, {}, {}, false};
        vidl_yfw_datatree *copy = add_alias(job.request, job.request.root(), registration_.top.c_str(),
                                            registration_.openconfig_ns.c_str());
        add_filter_copy(job.request, copy, below);
        jobs_.push_back(std::move(job));
      }
    }
  }

  void split_list(const vidl_yfw_datatree &list) {
    if (child_count(list) == 0) want_all(list);
    for (const vidl_yfw_datatree &entry : children(list)) {
      if (!is_openconfig(registration_, entry, registration_.list))
        exact_ = false;
      else if (const vidl_yfw_datatree *key = lone_key(registration_, entry))
        split_named(entry, value_of(*key), {});
      else
        split_entry(entry);
    }
  }

  void split_entry(const vidl_yfw_datatree &entry) {
    exact_ = false;
    Nodes keys, others;
    for (const vidl_yfw_datatree &below : children(entry)) {
      (is_openconfig(registration_, below, registration_.key) ? keys : others).push_back(&below);
    }
    if (keys.size() == 1 && !has_value(*keys.front())) {
      // A selected key alone asks for the keys of all entries, and for nothing else.
      for (Wanted &wanted : wanted_) want(wanted, others.empty() ? keys : others);
    } else if (keys.empty()) {
      for (Wanted &wanted : wanted_) want(wanted, others);
    } else if (keys.size() > 1) {
      judge(entry, std::string(value_of(*keys.front())));
    } else {
      split_named(entry, value_of(*keys.front()), others);
    }
  }

  void split_named(const vidl_yfw_datatree &entry, std::string_view name, const Nodes &nodes) {
    const auto &instances = registration_.instances;
    const auto named = std::find(instances.begin(), instances.end(), name);
    if (named == instances.end())
      judge(entry, std::string(name));
    else
      want(wanted_[static_cast<std::size_t>(named - instances.begin())], nodes);
  }

  static void want(Wanted &wanted, const Nodes &nodes) {
    if (nodes.empty()) wanted.whole = true;
    wanted.nodes.insert(wanted.nodes.end(), nodes.begin(), nodes.end());
  }

  void judge(const vidl_yfw_datatree &entry, std::string name) {
    ReadJob job{ReadJob::Kind::judge, std::move(name), {}, false};
    add_filter_copy(job.request, add_list(registration_, job.request), entry);
    jobs_.push_back(std::move(job));
  }

  void add_amplifier(std::size_t instance) {
    ReadJob job{ReadJob::Kind::amplifier, registration_.instances[instance], {}, false};
    vidl_yfw_datatree *entry = add_entry(registration_, registration_.instances[instance], job.request);
    for (const vidl_yfw_datatree *node : wanted_[instance].nodes) {
      if (is_openconfig(registration_, *node, registration_.key)) {
        add_key_copy(registration_, job.request, entry);
      } else {
        add_selection(job.request, entry, *node);
        job.key_copies = job.key_copies || has_leaf(*node, registration_.key);
      }
    }
    jobs_.push_back(std::move(job));
  }

  const Registration &registration_;
  std::vector<Wanted> wanted_;
  std::vector<ReadJob> jobs_;
  bool exact_ = true;
};

/// Copies a request but for the nodes at one place.
class Remover {
 public:
  Remover(Datatree &to, const std::vector<std::string> &tags) : to_(to), tags_(tags) {}

  bool removed() const { return removed_; }

  void copy(vidl_yfw_datatree *parent, const vidl_yfw_datatree &node, std::size_t depth, bool on_path) {
    on_path = on_path && depth < tags_.size() && has_tag(node, tags_[depth]);
    if (on_path && depth + 1 == tags_.size()) {
      removed_ = true;
      return;
    }
    vidl_yfw_datatree *copy = add_record_alias(to_, parent, node);
    for (const vidl_yfw_datatree &below : children(node)) this->copy(copy, below, depth + 1, on_path);
    if (child_count(node) != 0 && child_count(*copy) == 0)
      truncate_children(*parent, child_count(*parent) - 1);
  }

 private:
  Datatree &to_;
  const std::vector<std::string> &tags_;
  bool removed_ = false;
};

}  // namespace

ReadPlan split_read(const Registration &registration, const Datatree &filter) {
  if (const std::string *instance = lone_instance(registration, filter)) {
    ReadPlan one{{}, true};
    one.jobs.push_back({ReadJob::Kind::amplifier, *instance, {}, false});
    add_entry(registration, *instance, one.jobs.front().request);
    return one;
  }
  ReadPlan plan = Splitter(registration, filter).plan();
  if (plan.jobs.size() > 1) {
    std::stable_partition(plan.jobs.begin(), plan.jobs.end(),
                          [](const ReadJob &job) { return job.kind == ReadJob::Kind::judge; });
  }
  return plan;
}

bool remove_nodes(const Registration &registration, ReadJob &job, const std::vector<std::string> &tags) {
  ReadJob rest{job.kind, job.instance, {}, job.key_copies};
  Remover remover(rest.request, tags);
  for (const vidl_yfw_datatree &top : children(*job.request.root())) {
    remover.copy(rest.request.root(), top, 0, true);
  }
  if (!remover.removed()) return false;
  if (job.kind == ReadJob::Kind::amplifier) {
    vidl_yfw_datatree *entry = rest.request.root();
    for (const std::string &tag : {registration.top, registration.list_container, registration.list}) {
      if (entry != nullptr) entry = child(*entry, tag);
    }
    if (entry != nullptr && child_count(*entry) == 1) add_key_copy(registration, rest.request, entry);
  }
  job = std::move(rest);
  return true;
}

}  // namespace yfw
