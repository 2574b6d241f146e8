// Requests from the words of the command line.
#include "openconfig_request.hpp"

#include "data_parser.hpp"
#include "plugin.hpp"
#include "printable.hpp"
#include "rpc_error.hpp"

namespace ymap {

Request read_request(const Schema &schema, Request::Kind kind, bool state_only,
                     const std::vector<std::string> &amplifiers) {
  Request request;
  request.kind = kind;
  request.state_only = state_only;
  if (amplifiers.empty()) return request;
  const auto &model = yfw::optical_amplifier();
  const auto ns = schema.ns();
  auto &tree = request.tree;
  auto *container = tree.add(tree.add(tree.root(), model.top, ns), model.list_container, ns);
  for (const auto &name : amplifiers) {
    // In a filter an empty key would select the keys of all.
    if (name.empty())
      throw RpcError({.tag = "invalid-value", .message = "the name of an amplifier is empty"});
    tree.add(tree.add(container, model.list, ns), model.key, ns, name);
  }
  return request;
}

Request edit_request(const Schema &schema, const std::string &amplifier,
                     const std::vector<Assignment> &assignments) {
  Request request;
  request.kind = Request::Kind::edit;
  auto &tree = request.tree;
  const SchemaNode *parent = nullptr;
  std::string path;
  auto *node = tree.root();
  const auto &model = yfw::optical_amplifier();
  for (const auto &name : {model.top, model.list_container, model.list, std::string("config")}) {
    parent = schema.child(parent, name);
    path = step(path, schema.module_name(), name);
    node = tree.add(node, name, schema.ns());
    if (!parent->is_list()) continue;
    path = with_key(path, model.key, shortened(amplifier));
    tree.add(node, model.key, schema.ns(), amplifier);
  }
  for (const auto &[name, value] : assignments) {
    const auto *leaf = schema.child(parent, name);
    const auto leaf_path = step(path, schema.module_name(), shortened(name));
    if (leaf == nullptr) throw unknown_element(leaf_path, name);
    const auto operation = value ? YMAP_OP_NONE : YMAP_OP_REMOVE;
    std::optional<std::string> text;
    if (value) text = checked_value(schema, leaf, *value, leaf_path);
    tree.add(node, name, schema.ns(), text, operation);
  }
  return request;
}

}  // namespace ymap
