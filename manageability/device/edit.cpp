// Native edits by node operation, applied to a copy of what they touch.
#include "edit.hpp"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "libyang_versions.hpp"

namespace device {

namespace {

using Operation = RequestNode::Operation;

[[noreturn]] void refuse(const char *tag, std::string path, const void *origin, const std::string &message) {
  throw EditError(message, tag, std::move(path), origin);
}

std::string quoted(std::string_view name) {
  return "'" + std::string(name) + "'";
}

bool removes(Operation operation) {
  return operation == Operation::remove || operation == Operation::remove_existing;
}

std::string child_path(const lyd_node *parent, std::string_view name, const lysc_node *node = nullptr) {
  std::string path = parent != nullptr ? data_path(parent) : "";
  path += '/';
  if (node != nullptr && (parent == nullptr || node->module != parent->schema->module)) {
    path += node->module->name;
    path += ':';
  }
  path += name;
  return path;
}

/// Where a request node is applied. The path is made where something is wrong there.
struct Spot {
  lyd_node *parent;
  const lysc_node *node;
  const RequestNode &request;
  std::string keys;  ///< predicate of a list entry's path; of a leaf-list's entry its value

  std::string path() const {
    return child_path(parent, request.name, node) + (node->nodetype == LYS_LEAFLIST ? std::string() : keys);
  }
};

/// One edit at work on a tree.
class Edit {
 public:
  Edit(const Schema &schema, lyd_node *&tree) : schema_(schema), tree_(tree) {}

  /// Applies a request node and all below it under `parent`, at the top if that is null. Merging needs no
  /// inheritance of operations: below a created or replaced node there is nothing left to meet.
  void apply(lyd_node *parent, const RequestNode &request);

  /// The keys of a list entry as a predicate of its path, in the order of the schema.
  std::string keys(lyd_node *parent, const lysc_node *list, const RequestNode &request) const;

  /// The request node that an error of the whole is due to: the one with the longest path that begins `path`.
  const void *origin_of(const std::string &path, const std::vector<RequestNode> &request) const;

 private:
  const lysc_node *bind(const lyd_node *parent, const RequestNode &request) const;
  std::string key_value(const Spot &at, const lysc_node *key) const;
  lyd_node *find(const lyd_node *parent, const lysc_node *node, const std::string &predicate) const;
  lyd_node *create(lyd_node *parent, const lysc_node *node, const std::string &predicate) const;
  lyd_node *prepare(lyd_node *existing, const Spot &at);
  void set_leaf(lyd_node *existing, const Spot &at);
  void move(lyd_node *target, const Spot &at) const;
  void check_leaf(const Spot &at) const;
  void link_top(lyd_node *parent, lyd_node *node) const;
  void longest_match(lyd_node *parent, const RequestNode &request, const std::string &path, size_t &length,
                     const void *&origin) const;

  const Schema &schema_;
  lyd_node *&tree_;
};

/// The schema node that a request node names, if it can be configured.
const lysc_node *Edit::bind(const lyd_node *parent, const RequestNode &request) const {
  const lysc_node *above = parent != nullptr ? parent->schema : nullptr;
  const lysc_node *node = schema_.find(above, request.ns, request.name);
  const auto path = [&] { return child_path(parent, request.name, node); };
  if (node == nullptr && !schema_.knows_namespace(request.ns)) {
    refuse("unknown-namespace", path(), request.origin,
           "the device has no module of the namespace " + quoted(request.ns));
  }
  if (node == nullptr) {
    refuse("unknown-element", path(), request.origin,
           "the device has no node " + quoted(request.name) + " there");
  }
  if ((node->flags & LYS_CONFIG_R) != 0) {
    refuse("operation-not-supported", path(), request.origin,
           quoted(request.name) + " is operational data, which can only be read");
  }
  return node;
}

/// The canonical value of a key that the entry of a request carries.
std::string Edit::key_value(const Spot &at, const lysc_node *key) const {
  const RequestNode *given = nullptr;
  for (const RequestNode &child : at.request.children) {
    if (child.name != key->name || child.ns != key->module->ns || !child.value) continue;
    if (given != nullptr && given->value != child.value) {
      refuse("bad-element", at.path(), child.origin, "key " + quoted(child.name) + " is given twice");
    }
    given = &child;
  }
  if (given == nullptr) {
    refuse("missing-element", at.path(), at.request.origin,
           "an entry of " + quoted(at.request.name) + " needs its key " + quoted(key->name));
  }
  std::string value;
  if (!canonical_value(schema_, key, std::string(*given->value), value)) {
    refuse("invalid-value", at.path() + "/" + key->name, given->origin, schema_.error_message());
  }
  return value;
}

std::string Edit::keys(lyd_node *parent, const lysc_node *list, const RequestNode &request) const {
  const Spot at = {parent, list, request, {}};
  std::string predicate;
  for (const lysc_node *key = lysc_node_child(list); key != nullptr && lysc_is_key(key); key = key->next) {
    const std::string value = key_value(at, key);
    const char quote = value.find('\'') == std::string::npos ? '\'' : '"';
    if (value.find(quote) != std::string::npos) {
      refuse("invalid-value", at.path(), request.origin, "a key must not hold both kinds of quotation mark");
    }
    predicate += '[';
    predicate += key->name;
    predicate += '=';
    predicate += quote + value + quote + ']';
  }
  return predicate;
}

lyd_node *Edit::find(const lyd_node *parent, const lysc_node *node, const std::string &predicate) const {
  lyd_node *match = parent != nullptr ? lyd_child(parent) : tree_;
  if (match == nullptr) return nullptr;
  if (node->nodetype == LYS_LIST) return find_entry(match, node, predicate);
  const bool by_value = node->nodetype == LYS_LEAFLIST;
  while (match != nullptr && (match->schema != node || (by_value && predicate != lyd_get_value(match))))
    match = match->next;
  return match;
}

/// Adds a container or a list entry; libyang puts it in the order of the schema.
lyd_node *Edit::create(lyd_node *parent, const lysc_node *node, const std::string &predicate) const {
  lyd_node *created = nullptr;
  if (node->nodetype == LYS_LIST) {
    lyd_new_list2(parent, node->module, node->name, predicate.c_str(), 0, &created);
  } else {
    lyd_new_inner(parent, node->module, node->name, 0, &created);
  }
  if (created == nullptr) throw std::bad_alloc();
  link_top(parent, created);
  return created;
}

/// Nodes at the top have no parent that would link them.
void Edit::link_top(lyd_node *parent, lyd_node *node) const {
  if (parent == nullptr) lyd_insert_sibling(tree_, node, &tree_);
}

/// Does what the operation says to the node as it stands. Returns what is left of it: null if nothing.
lyd_node *Edit::prepare(lyd_node *existing, const Spot &at) {
  const RequestNode &request = at.request;
  // A container exists by what is in it.
  const bool exists =
      existing != nullptr && (existing->schema->nodetype != LYS_CONTAINER || lyd_child(existing) != nullptr);
  if (request.operation == Operation::create && exists) {
    refuse("data-exists", at.path(), request.origin, quoted(request.name) + " exists already");
  }
  // A container needs no one to make it.
  if (request.operation == Operation::stated && existing == nullptr && at.node->nodetype != LYS_CONTAINER) {
    refuse("data-missing", at.path(), request.origin, quoted(request.name) + " does not exist");
  }
  if (request.operation == Operation::remove_existing && !exists) {
    refuse("data-missing", at.path(), request.origin, "there is no " + quoted(request.name) + " to delete");
  }
  const bool replaced = request.operation == Operation::replace;
  if (existing == nullptr || !(removes(request.operation) || replaced)) return existing;
  // A replaced leaf is set again, and keeps its place.
  if (replaced && (existing->schema->nodetype & LYD_NODE_TERM) != 0) return existing;
  // So does an entry where the order says something.
  if (replaced && lysc_is_userordered(existing->schema) != 0) {
    lyd_node *next = nullptr;
    for (lyd_node *child = lyd_child_no_keys(existing); child != nullptr; child = next) {
      next = child->next;
      lyd_free_tree(child);
    }
    return existing;
  }
  remove_node(tree_, existing);
  return nullptr;
}

/// To where the request says in a list whose order is the user's.
void Edit::move(lyd_node *target, const Spot &at) const {
  using Insert = RequestNode::Insert;
  const RequestNode &request = at.request;
  if (request.insert == Insert::as_it_is) return;
  if (lysc_is_userordered(at.node) == 0) {
    refuse("bad-attribute", at.path(), request.origin,
           quoted(request.name) + " is no list in an order of the user's; insert has no place there");
  }
  lyd_node *first = at.parent != nullptr ? lyd_child(at.parent) : tree_;
  while (first != nullptr && first->schema != at.node) first = first->next;
  lyd_node *last = first;
  while (last->next != nullptr && last->next->schema == at.node) last = last->next;
  lyd_node *anchor = request.insert == Insert::first  ? first
                     : request.insert == Insert::last ? last
                                                      : find(at.parent, at.node, std::string(request.anchor));
  if (anchor == nullptr) {
    refuse("bad-attribute", at.path(), request.origin,
           "there is no " + quoted(request.name) + " " + std::string(request.anchor) + " to stand beside");
  }
  if (anchor == target) return;
  const bool in_front = request.insert == Insert::first || request.insert == Insert::before;
  if ((in_front ? lyd_insert_before : lyd_insert_after)(anchor, target) != LY_SUCCESS) throw std::bad_alloc();
}

/// A leaf that stands keeps its place among its siblings, so that an edit changes one line of the file.
void Edit::set_leaf(lyd_node *existing, const Spot &at) {
  const RequestNode &request = at.request;
  if (!request.value || request.value->find('\0') != std::string::npos) {
    refuse("invalid-value", at.path(), request.origin, quoted(request.name) + " needs a value");
  }
  schema_.clear_errors();
  const std::string value(*request.value);
  lyd_node *created = nullptr;
  const LY_ERR result = existing != nullptr ? lyd_change_term(existing, value.c_str())
                                            : lyd_new_term(at.parent, at.node->module, at.node->name,
                                                           value.c_str(), 0, &created);
  // Setting the value that is there is reported as "exists" or "no change".
  if (result != LY_SUCCESS && result != LY_EEXIST && result != LY_ENOT) {
    refuse("invalid-value", at.path(), request.origin, schema_.error_message());
  }
  if (created != nullptr) link_top(at.parent, created);
}

/// A value that is not set must be one that could be.
void Edit::check_leaf(const Spot &at) const {
  std::string canonical;
  if (canonical_value(schema_, at.node, std::string(at.request.value.value_or(std::string_view())),
                      canonical))
    return;
  refuse("invalid-value", at.path(), at.request.origin, schema_.error_message());
}

void Edit::apply(lyd_node *parent, const RequestNode &request) {
  const lysc_node *node = bind(parent, request);
  const bool is_list = node->nodetype == LYS_LIST;
  Spot at = {parent, node, request, is_list ? keys(parent, node, request) : std::string()};
  if (node->nodetype == LYS_LEAFLIST) {
    check_leaf(at);
    canonical_value(schema_, node, std::string(request.value.value_or(std::string_view())), at.keys);
  }
  lyd_node *target = prepare(find(parent, node, at.keys), at);
  if (removes(request.operation)) return;
  if ((node->nodetype & LYD_NODE_TERM) != 0) {
    if (!request.children.empty()) {
      refuse("bad-element", at.path(), request.origin,
             quoted(request.name) + " is a leaf and has no nodes below");
    }
    if (request.operation == Operation::stated)
      check_leaf(at);
    else
      set_leaf(target, at);
    if (request.insert != RequestNode::Insert::as_it_is) move(find(parent, node, at.keys), at);
    return;
  }
  if (request.value && !request.value->empty()) {
    refuse("bad-element", at.path(), request.origin, quoted(request.name) + " holds nodes and no value");
  }
  if (target == nullptr) target = create(parent, node, at.keys);
  move(target, at);
  for (const RequestNode &child : request.children) {
    // The keys have named the entry; what becomes of it its own operation says.
    const lysc_node *below = is_list ? schema_.find(node, child.ns, child.name) : nullptr;
    if (below == nullptr || !lysc_is_key(below)) apply(target, child);
  }
}

/// Only after a failed validation: every node of the request is known and its keys are sound by then.
void Edit::longest_match(lyd_node *parent, const RequestNode &request, const std::string &path,
                         size_t &length, const void *&origin) const {
  const lysc_node *node =
      schema_.find(parent != nullptr ? parent->schema : nullptr, request.ns, request.name);
  lyd_node *found = find(parent, node, node->nodetype == LYS_LIST ? keys(parent, node, request) : "");
  if (found == nullptr) return;
  const std::string own = data_path(found);
  if (!path.starts_with(own)) return;
  if (own.size() > length) {
    length = own.size();
    origin = request.origin;
  }
  for (const RequestNode &child : request.children) longest_match(found, child, path, length, origin);
}

const void *Edit::origin_of(const std::string &path, const std::vector<RequestNode> &request) const {
  size_t length = 0;
  const void *origin = request.empty() ? nullptr : request.front().origin;
  for (const RequestNode &node : request) longest_match(nullptr, node, path, length, origin);
  return origin;
}

/// Applies the request to `configuration` and validates all of that if `check` says so. Throws EditError; the
/// tree is then spoiled.
void apply_and_validate(const Schema &schema, Tree &configuration, const std::vector<RequestNode> &request,
                        Edited::Check check = Edited::Check::the_whole) {
  // libyang moves the first sibling; the owner follows it, also when the edit is refused.
  lyd_node *tree = configuration.release();
  try {
    Edit edit(schema, tree);
    for (const RequestNode &node : request) edit.apply(nullptr, node);
    schema.clear_errors();
    if (check == Edited::Check::the_whole &&
        lyd_validate_all(&tree, schema.context(), LYD_VALIDATE_NO_STATE, nullptr) != LY_SUCCESS) {
      const std::string path = schema.error_path();
      const std::string message = schema.error_message();
      refuse("operation-failed", path, edit.origin_of(path, request), message);
    }
    remove_implicit(tree);
  } catch (...) {
    configuration.reset(tree);
    throw;
  }
  configuration.reset(tree);
}

bool keeps_what_it_does_not_name(const RequestNode &request) {
  return request.operation == Operation::none || request.operation == Operation::merge ||
         request.operation == Operation::stated;
}

}  // namespace

Tree copy_of(const lyd_node *siblings) {
  lyd_node *copy = nullptr;
  if (siblings != nullptr && lyd_dup_siblings(siblings, nullptr, LYD_DUP_RECURSIVE, &copy) != LY_SUCCESS)
    throw std::bad_alloc();
  return Tree(copy);
}

Edited::Edited(const Schema &schema, const Tree &running, const std::vector<RequestNode> &request,
               Scope scope, Check check)
    : schema_(schema) {
  if (scope == Scope::what_it_touches) container_ = entries_only(running, request);
  if (container_ == nullptr) {
    tree_ = copy_of(running.get());
    apply_and_validate(schema, tree_, request, check);
    return;
  }
  lyd_node *copy = nullptr;
  if (libyang::duplicate(container_, nullptr, 0, &copy) != LY_SUCCESS) throw std::bad_alloc();
  tree_.reset(copy);
  for (const RequestNode &top : request) {
    for (const RequestNode &entry : top.children) copy_entry(entry, copy);
  }
  apply_and_validate(schema, tree_, request);
  for (Entry &entry : entries_) {
    entry.after = find_entry(lyd_child(tree_.get()), schema.interfaces(), entry.keys);
  }
  std::ranges::stable_sort(entries_, {}, [](const Entry &entry) {
    return entry.after == nullptr ? 0 : lyd_list_pos(entry.after);
  });
}

/// The container of the interfaces if the request says nothing but of its entries, one by one: then the
/// others have no part in it, as the modules constrain what is within an entry only.
lyd_node *Edited::entries_only(const Tree &running, const std::vector<RequestNode> &request) const {
  lyd_node *container = nullptr;
  if (running != nullptr) libyang::find_sibling(running.get(), schema_.interfaces()->parent, {}, &container);
  if (container == nullptr) return nullptr;
  for (const RequestNode &top : request) {
    if (schema_.find(nullptr, top.ns, top.name) != container->schema || !keeps_what_it_does_not_name(top))
      return nullptr;
    for (const RequestNode &entry : top.children) {
      if (schema_.find(container->schema, entry.ns, entry.name) != schema_.interfaces()) return nullptr;
    }
  }
  return container;
}

void Edited::copy_entry(const RequestNode &request, lyd_node *copy) {
  Entry named;
  try {
    lyd_node *tree = copy;
    named.keys = Edit(schema_, tree).keys(copy, schema_.interfaces(), request);
  } catch (const EditError &) {
    return;  // told when its turn comes
  }
  auto entry = std::ranges::find(entries_, named.keys, &Entry::keys);
  if (entry == entries_.end()) {
    named.before = find_entry(lyd_child(container_), schema_.interfaces(), named.keys);
    lyd_node *made = nullptr;
    if (named.before != nullptr &&
        libyang::duplicate(named.before, copy, LYD_DUP_RECURSIVE, &made) != LY_SUCCESS) {
      throw std::bad_alloc();
    }
    entry = entries_.insert(entry, std::move(named));
  }
  entry->moved = entry->moved || !keeps_what_it_does_not_name(request);
}

void Edited::commit(Tree &running) {
  if (container_ == nullptr) {
    running = std::move(tree_);
    return;
  }
  for (const Entry &entry : entries_) {
    if (entry.after != nullptr) {
      lyd_unlink_tree(entry.after);
      if (entry.keeps_place())
        lyd_insert_after(entry.before, entry.after);
      else
        lyd_insert_child(container_, entry.after);
    }
    if (entry.before != nullptr) lyd_free_tree(entry.before);
  }
  lyd_node *tree = running.release();
  if (lyd_child(container_) == nullptr) remove_node(tree, container_);
  running.reset(tree);
}

}  // namespace device
