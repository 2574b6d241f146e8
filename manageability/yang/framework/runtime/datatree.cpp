// The public data tree, and what it owns.
#include "datatree.hpp"

#include <new>
#include <utility>

#include "tree_store.hpp"

namespace yfw {
namespace {

vidl_yfw_datatree *make_root() {
  Arena arena;
  void *place = arena.allocate(sizeof(TreeStore));
  auto *store = new (place) TreeStore(std::move(arena));
  clear(store->root);
  set_tag(store->root, "", nullptr);
  extra(store->root).tree = store;
  return &store->root;
}

void destroy_store(TreeStore *store) {
  while (store != nullptr) {
    TreeStore *next = store->adopted;
    // The arena goes last: the store lies in it.
    const Arena arena = std::move(store->arena);
    store->~TreeStore();
    store = next;
  }
}

/// Puts copies in the place of texts that belong to others.
class TextOwner {
 public:
  explicit TextOwner(TreeStore &store) : store_(store) {}

  void own(vidl_yfw_datatree &node) {
    node.tag = store_.arena.copy(node.tag);
    if (node.data != nullptr) node.data = store_.arena.copy(node.data);
    if (node.namespace_ != last_) {
      last_ = node.namespace_;
      copied_ = last_ == nullptr ? nullptr : store_.share(last_);
    }
    node.namespace_ = copied_;
    for (vidl_yfw_datatree &below : children(node)) own(below);
  }

 private:
  TreeStore &store_;
  const char *last_ = nullptr;
  const char *copied_ = nullptr;
};

}  // namespace

const char *TreeStore::share(std::string_view ns) {
  for (std::size_t i = namespace_count_; i > 0; --i) {
    if (namespaces_[i - 1] == ns) return namespaces_[i - 1].data();
  }
  const char *added = arena.copy(ns);
  if (namespace_count_ < namespaces_.size()) namespaces_[namespace_count_++] = {added, ns.size()};
  return added;
}

void adopt(Datatree &tree, Datatree part) {
  TreeStore *first = store_of(*std::exchange(part.root_, nullptr));
  TreeStore *last = first;
  while (last->adopted != nullptr) last = last->adopted;
  last->adopted = std::exchange(store_of(tree).adopted, first);
}

Datatree::Datatree() : root_(make_root()) {}
Datatree::Datatree(Datatree &&other) noexcept : root_(std::exchange(other.root_, nullptr)) {}
Datatree &Datatree::operator=(Datatree &&other) noexcept {
  std::swap(root_, other.root_);
  return *this;
}
Datatree::~Datatree() {
  if (root_ != nullptr) destroy_store(store_of(*root_));
}

vidl_yfw_datatree *Datatree::add(vidl_yfw_datatree *parent, std::string_view tag, std::string_view ns,
                                 std::optional<std::string_view> value, uint32_t operation) {
  TreeStore &store = store_of(*this);
  vidl_yfw_datatree *node = append_child(store.arena, *parent);
  set_tag(*node, store.arena.copy(tag), store.share(ns));
  if (value) set_data(*node, store.arena.copy(*value));
  if (operation != YMAP_OP_NONE) vidl_yfw_datatree_set_operation(node, operation);
  return node;
}

vidl_yfw_datatree *Datatree::add_copy(vidl_yfw_datatree *parent, const vidl_yfw_datatree *node) {
  TreeStore &store = store_of(*this);
  vidl_yfw_datatree *copy = append_alias(store.arena, *parent, *node);
  TextOwner(store).own(*copy);
  return copy;
}

vidl_yfw_datatree *Datatree::add_shared(vidl_yfw_datatree *parent, const vidl_yfw_datatree *node) {
  vidl_yfw_datatree *shared = append_child(store_of(*this).arena, *parent);
  *shared = *node;
  extra(*shared) = {};
  return shared;
}

}  // namespace yfw
