// Data by its schema, without a tree of it.
#include "state_writer.hpp"

#include "libyang_versions.hpp"

namespace ymap::netconf {

void StateWriter::open(const char *name) {
  XmlWriter::Attributes declared;
  if (open_.back() == nullptr) declared.push_back({"xmlns", module_->ns});
  xml_.open(name, declared);
  open_.push_back(libyang::find_child(open_.back(), module_, name));
}

void StateWriter::close() {
  xml_.close();
  open_.pop_back();
}

void StateWriter::leaf(const char *name, const std::string &value) {
  const auto *node = libyang::find_child(open_.back(), module_, name);
  const char *canonical = nullptr;
  if (libyang::check_value(node, value, &canonical) != LY_SUCCESS) return;
  const std::string text(canonical);
  lydict_remove(module_->ctx, canonical);
  const bool is_identity = reinterpret_cast<const lysc_node_leaf *>(node)->type->basetype ==
                           LY_TYPE_IDENT;  // "module:NAME", or from version 3 on "NAME"
  if (!is_identity) return xml_.leaf(name, text);
  const std::string prefix(module_->prefix);
  xml_.leaf(name, prefix + ":" + text.substr(text.find(':') + 1), {{"xmlns:" + prefix, module_->ns}});
}

}  // namespace ymap::netconf
