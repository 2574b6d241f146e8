// Moves operations to where the plug-in keeps the amplifiers apart.
#include "edit_request.hpp"

#include <set>

#include "mapper.hpp"
#include "request.hpp"
#include "tree_store.hpp"

namespace yfw {
namespace {

uint32_t operation_of(const vidl_yfw_datatree &node) {
  return vidl_yfw_datatree_has_operation(&node) ? node.operation : YMAP_OP_NONE;
}

bool deletes(uint32_t operation) {
  return operation == YMAP_OP_DELETE || operation == YMAP_OP_REMOVE;
}

/// The operation that counts at a node: a replace from above covers all but deletions, a create from above
/// counts where the node has no operation of its own.
uint32_t effective(const vidl_yfw_datatree &node, uint32_t above) {
  const uint32_t own = operation_of(node);
  if (above == YMAP_OP_REPLACE) return deletes(own) ? own : above;
  return own == YMAP_OP_NONE && above == YMAP_OP_CREATE ? above : own;
}

/// Copies a merge that is in the form that a Normaliser would give it: one tree of the registered top and
/// namespace, without operations, each list key with its value, which is an amplifier of the device. Names
/// below the top are the plug-in's to judge.
class PlainMerge {
 public:
  PlainMerge(const Registration &registration, Arena &arena) : registration_(registration), arena_(arena) {}

  /// The copy; nullptr for other edits.
  vidl_yfw_datatree *copy(const Datatree &request) {
    if (child_count(*request.root()) != 1) return nullptr;
    const vidl_yfw_datatree &top = *request.root()->subtrees;
    if (!has_tag(top, registration_.top) || !is_step(top) || child_count(top) != 1) return nullptr;
    if (!is_plain_list(*top.subtrees)) return nullptr;
    vidl_yfw_datatree *copied = allocate_records(arena_, 1);
    const auto is_merge = [](const vidl_yfw_datatree &node) {
      return !vidl_yfw_datatree_has_operation(&node);
    };
    return copy_accepted(arena_, *copied, top, is_merge) ? copied : nullptr;
  }

 private:
  bool is_plain_list(const vidl_yfw_datatree &list) {
    if (!is_step(list)) return false;
    for (const vidl_yfw_datatree &entry : children(list)) {
      if (!is_step(entry)) return false;
      for (const vidl_yfw_datatree &below : children(entry)) {
        if (has_tag(below, registration_.key) && !is_instance(registration_, value_of(below))) return false;
      }
    }
    return true;
  }

  /// A tree mostly has one text for the namespace of all of its nodes.
  bool is_step(const vidl_yfw_datatree &node) {
    const bool is_last = ns_ != nullptr && node.namespace_ == ns_;
    ns_ = node.namespace_;
    return node.data == nullptr &&
           (is_last || same_text(namespace_of(node), registration_.openconfig_ns.c_str()));
  }

  const Registration &registration_;
  Arena &arena_;
  const char *ns_ = nullptr;  ///< of the node looked at last
};

class Normaliser {
 public:
  explicit Normaliser(const Registration &registration) : registration_(registration) {}

  Datatree run(const Datatree &request) {
    for (const vidl_yfw_datatree &top : children(*request.root())) {
      if (!is(top, registration_.top)) refuse_top(top);
      if (top_ == nullptr) top_ = add(result_.root(), registration_.top);
      copy_top(top);
    }
    finish();
    return std::move(result_);
  }

 private:
  /// What is to become of one amplifier entry.
  struct Entry {
    const vidl_yfw_datatree *source = nullptr;  ///< nullptr: an instance meant by an operation above
    std::string_view name;
    uint32_t operation = YMAP_OP_NONE;
  };

  bool is(const vidl_yfw_datatree &node, const std::string &tag) const {
    return is_named(node, tag.c_str(), registration_.openconfig_ns.c_str());
  }

  [[noreturn]] void refuse_top(const vidl_yfw_datatree &top) const {
    Refusal refusal(std::string("'").append(tag_of(top)) + "' is not a top container of " +
                    registration_.openconfig_module + "; an edit begins with " + registration_.top);
    refusal.status = YMAP_ERR_UNSUPPORTED_TAG;
    refusal.path = "/" + registration_.openconfig_module + ":" + registration_.top;
    refusal.bad_element = tag_of(top);
    throw refusal;
  }

  [[noreturn]] void refuse_entry(const vidl_yfw_datatree &entry, const std::string &below, const char *tag,
                                 verrno status, const std::string &reason) const {
    Refusal refusal(reason);
    refusal.error_tag = tag;
    refusal.status = status;
    refusal.path = "/" + registration_.openconfig_module + ":" + registration_.top + "/" +
                   registration_.list_container + "/" + path_step(entry, true, registration_.key) + below;
    throw refusal;
  }

  /// An amplifier that is not there can be removed, but not deleted (RFC 6241, section 7.2). Everything else
  /// with it is for the plug-in, and then refuse_unknown(), to judge.
  bool is_removed_already(const Entry &entry) const {
    if (entry.name.empty() || !deletes(entry.operation) || is_instance(registration_, entry.name))
      return false;
    if (entry.operation == YMAP_OP_DELETE)
      refuse_entry(*entry.source, "", "data-missing", YMAP_OK,
                   "there is no " + registration_.list + " " + std::string(entry.name));
    return true;
  }

  /// What no amplifier can do: come into being, or lose its name.
  void refuse_against_hardware(const vidl_yfw_datatree &entry, std::string_view name,
                               uint32_t operation) const {
    if (!is_instance(registration_, name)) return;
    if (operation == YMAP_OP_CREATE) {
      refuse_entry(entry, "", "data-exists", YMAP_OK,
                   registration_.list + " " + std::string(name) + " exists; only its " +
                       registration_.config + " can be created");
    }
    const vidl_yfw_datatree *config = child(entry, registration_.config);
    const vidl_yfw_datatree *copy = config == nullptr ? nullptr : child(*config, registration_.key);
    if (copy == nullptr || !deletes(operation_of(*copy))) return;
    refuse_entry(entry, "/" + registration_.config + "/" + registration_.key, "bad-attribute",
                 YMAP_ERR_KEY_DELETE,
                 "the " + registration_.key + " of an " + registration_.list + " cannot be removed");
  }

  void copy_top(const vidl_yfw_datatree &top) {
    const uint32_t operation = operation_of(top);
    if (deletes(operation)) {
      concern_all(operation);
      return;
    }
    for (const vidl_yfw_datatree &below : children(top)) {
      if (is(below, registration_.list_container)) {
        collect_list(below, effective(below, operation));
      } else {
        copy_other(below, effective(below, operation));
      }
    }
    if (operation == YMAP_OP_REPLACE) concern_unlisted();
  }

  void collect_list(const vidl_yfw_datatree &list, uint32_t operation) {
    if (deletes(operation)) {
      concern_all(operation);
      return;
    }
    for (const vidl_yfw_datatree &entry : children(list)) {
      if (!is(entry, registration_.list)) {
        strays_.push_back(&entry);
        continue;
      }
      const vidl_yfw_datatree *key = child(entry, registration_.key);
      const Entry found = {&entry, key == nullptr ? "" : value_of(*key), effective(entry, operation)};
      if (is_removed_already(found)) continue;
      entries_.push_back(store_of(result_).arena, found);
      refuse_against_hardware(entry, found.name, found.operation);
    }
    list_seen_ = true;
    if (operation == YMAP_OP_REPLACE) concern_unlisted();
  }

  void concern_all(uint32_t operation) {
    for (const std::string &instance : registration_.instances)
      entries_.push_back(store_of(result_).arena, {nullptr, instance, operation});
  }

  void concern_unlisted() {
    std::set<std::string_view> listed;
    for (const Entry &entry : entries_) listed.insert(entry.name);
    for (const std::string &instance : registration_.instances) {
      if (!listed.contains(instance))
        entries_.push_back(store_of(result_).arena, {nullptr, instance, YMAP_OP_REMOVE});
    }
  }

  void finish() {
    if (entries_.empty() && strays_.empty() && !list_seen_) return;
    vidl_yfw_datatree *list = add(top_, registration_.list_container);
    for (const vidl_yfw_datatree *stray : strays_) copy_below(list, *stray, YMAP_OP_NONE);
    for (const Entry &entry : entries_) {
      vidl_yfw_datatree *copy = add(list, registration_.list);
      if (entry.source == nullptr) {
        set_data(*add(copy, registration_.key), entry.name.data());
        add(copy, registration_.config, entry.operation);
      } else {
        copy_entry(copy, *entry.source, entry.operation);
      }
    }
  }

  void copy_entry(vidl_yfw_datatree *copy, const vidl_yfw_datatree &entry, uint32_t operation) {
    bool config = false;
    for (const vidl_yfw_datatree &below : children(entry)) {
      if (is(below, registration_.key)) {
        copy_key(copy, below);
        continue;
      }
      if (deletes(operation)) continue;
      config = config || is(below, registration_.config);
      const bool takes = operation == YMAP_OP_CREATE || is(below, registration_.config);
      copy_below(copy, below, takes ? operation : YMAP_OP_NONE);
    }
    // Without a key the plug-in refuses the entry, and must see it as it is.
    if (deletes(operation)) add(copy, registration_.config, operation);
    if (operation == YMAP_OP_REPLACE && !config) add(copy, registration_.config, YMAP_OP_REMOVE);
  }

  /// XML cannot tell an empty key from one without a value: both are the latter, for the plug-in to refuse.
  void copy_key(vidl_yfw_datatree *entry, const vidl_yfw_datatree &key) {
    vidl_yfw_datatree *copy = add(entry, key, operation_of(key));
    if (!has_value(key)) drop_value(*copy);
  }

  /// A container beside the amplifiers, whose children are list entries.
  void copy_other(const vidl_yfw_datatree &container, uint32_t operation) {
    vidl_yfw_datatree *copy = add(top_, container, operation);
    if (deletes(operation)) return;
    for (const vidl_yfw_datatree &entry : children(container)) {
      const uint32_t at_entry = effective(entry, operation);
      vidl_yfw_datatree *added = add(copy, entry, at_entry);
      for (const vidl_yfw_datatree &below : children(entry)) {
        const bool leaf = child_count(below) == 0;
        if (leaf) add_alias(result_, added, below);
        if (!leaf && !deletes(at_entry)) copy_below(added, below, at_entry);
      }
    }
  }

  /// `above`: the operation that counts at the parent.
  void copy_below(vidl_yfw_datatree *parent, const vidl_yfw_datatree &node, uint32_t above) {
    const uint32_t operation = effective(node, above);
    vidl_yfw_datatree *copy = add(parent, node, operation);
    if (deletes(operation)) return;
    for (const vidl_yfw_datatree &below : children(node)) {
      operation == YMAP_OP_REPLACE ? copy_replacement(copy, below) : copy_below(copy, below, operation);
    }
  }

  /// What a replace brings is written when the old is gone: nothing in it can be there already, or be merged.
  void copy_replacement(vidl_yfw_datatree *parent, const vidl_yfw_datatree &node) {
    const uint32_t operation = operation_of(node);
    vidl_yfw_datatree *copy = add(parent, node, deletes(operation) ? operation : YMAP_OP_NONE);
    if (deletes(operation)) return;
    for (const vidl_yfw_datatree &below : children(node)) copy_replacement(copy, below);
  }

  vidl_yfw_datatree *add(vidl_yfw_datatree *parent, const vidl_yfw_datatree &node, uint32_t operation) {
    vidl_yfw_datatree *added =
        add_alias(result_, parent, node.tag == nullptr ? "" : node.tag, node.namespace_);
    if (node.data != nullptr) set_data(*added, node.data);
    if (operation != YMAP_OP_NONE) vidl_yfw_datatree_set_operation(added, operation);
    return added;
  }

  vidl_yfw_datatree *add(vidl_yfw_datatree *parent, const std::string &tag,
                         uint32_t operation = YMAP_OP_NONE) {
    vidl_yfw_datatree *added = add_alias(result_, parent, tag.c_str(), registration_.openconfig_ns.c_str());
    if (operation != YMAP_OP_NONE) vidl_yfw_datatree_set_operation(added, operation);
    return added;
  }

  const Registration &registration_;
  Datatree result_;
  vidl_yfw_datatree *top_ = nullptr;
  ArenaList<Entry> entries_;
  std::vector<const vidl_yfw_datatree *> strays_;  ///< nodes beside the entries, for the plug-in to judge
  bool list_seen_ = false;
};

[[gnu::noinline]] NormalEdit normalise_other(const Registration &registration, const Datatree &request,
                                             Datatree &holder) {
  Datatree normal = Normaliser(registration).run(request);
  if (child_count(*normal.root()) == 0) return {};
  const NormalEdit edit{normal.root()->subtrees, copy_record_tree(store_of(holder).arena, *normal.root()),
                        false};
  adopt(holder, std::move(normal));
  return edit;
}

}  // namespace

NormalEdit normalise_edit(const Registration &registration, const Datatree &request, Datatree &holder) {
  auto *top = PlainMerge(registration, store_of(holder).arena).copy(request);
  return top != nullptr ? NormalEdit{top, request.root(), true}
                        : normalise_other(registration, request, holder);
}

}  // namespace yfw
