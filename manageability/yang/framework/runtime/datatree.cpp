#include "datatree.hpp"

#include "record.hpp"

namespace yfw {

struct Datatree::Arena : yfw::Arena {
  vidl_yfw_datatree *root = nullptr;
};

Datatree::Datatree() : arena_(std::make_unique<Arena>()) {
  arena_->root = arena_->records(1);
  set_tag(*arena_->root, "", nullptr);
}
Datatree::Datatree(Datatree &&) noexcept = default;
Datatree &Datatree::operator=(Datatree &&) noexcept = default;
Datatree::~Datatree() = default;

vidl_yfw_datatree *Datatree::root() {
  return arena_->root;
}
const vidl_yfw_datatree *Datatree::root() const {
  return arena_->root;
}

vidl_yfw_datatree *Datatree::add(vidl_yfw_datatree *parent, std::string_view tag, std::string_view ns,
                                 std::optional<std::string_view> value, uint32_t operation) {
  vidl_yfw_datatree *node = append_child(*arena_, *parent);
  set_tag(*node, arena_->copy(tag), arena_->share(ns));
  if (value) set_data(*node, arena_->copy(*value));
  if (operation != YMAP_OP_NONE) vidl_yfw_datatree_set_operation(node, operation);
  return node;
}

vidl_yfw_datatree *Datatree::add_copy(vidl_yfw_datatree *parent, const vidl_yfw_datatree *node) {
  vidl_yfw_datatree *copy = append_child(*arena_, *parent);
  set_tag(*copy, arena_->copy(tag_of(*node)),
          node->namespace_ == nullptr ? nullptr : arena_->share(node->namespace_));
  if (vidl_yfw_datatree_has_data(node) && node->data != nullptr) set_data(*copy, arena_->copy(node->data));
  if (vidl_yfw_datatree_has_operation(node)) vidl_yfw_datatree_set_operation(copy, node->operation);
  if (vidl_yfw_datatree_has_status(node)) {
    copy->node_status = node->node_status;
    copy->presence2 |= YMAP_HAS_STATUS;
  }
  for (const vidl_yfw_datatree &below : children(*node)) add_copy(copy, &below);
  return copy;
}

}  // namespace yfw
