// The operations of a SetRequest, put together in one tree.
#include "set_request.hpp"

#include <algorithm>
#include <list>
#include <utility>

#include "data_parser.hpp"
#include "pattern.hpp"
#include "printable.hpp"
#include "refusal.hpp"
#include "value.hpp"
#include "ymap_types.h"

namespace ymap::telemetry {
namespace {

using Json = google::protobuf::Value;

/// More than the model has nodes for; a message of a megabyte could hold many times as many.
constexpr int kMostOperations = 1000;

/// A node of the edit to be.
struct EditNode {
  const SchemaNode *schema = nullptr;
  std::string key = {};
  std::optional<std::string> value = {};
  uint32_t operation = YMAP_OP_NONE;
  std::list<EditNode> children = {};
};

EditNode &child_of(EditNode &parent, const SchemaNode &schema, const std::string &key) {
  const auto found = std::ranges::find_if(
      parent.children, [&](const EditNode &node) { return node.schema == &schema && node.key == key; });
  if (found != parent.children.end()) return *found;
  return parent.children.emplace_back(EditNode{&schema, key});
}

/// Also where a client has it in the field of former versions.
::gnmi::TypedValue value_of(const ::gnmi::Update &update) {
  if (update.has_val() || !update.has_value()) return update.val();
  ::gnmi::TypedValue value;
  switch (update.value().type()) {
    case ::gnmi::JSON:
      value.set_json_val(update.value().value());
      break;
    case ::gnmi::JSON_IETF:
      value.set_json_ietf_val(update.value().value());
      break;
    default:
      value.set_bytes_val(update.value().value());
      break;
  }
  return value;
}

class EditBuilder {
 public:
  explicit EditBuilder(const Schema &schema) : schema_(schema) {}

  void remove(const std::vector<Pattern::Node> &path) {
    if (path.empty()) {
      for (const auto &top : schema_.children(nullptr)) remove({{&top, {}}});
      return;
    }
    EditNode *node = &root_;
    for (const auto &[schema, key] : path) {
      // What is gone with all that is below it stays gone.
      if (node->operation == YMAP_OP_REMOVE) return;
      node = &child_of(*node, *schema, key);
    }
    node->children.clear();
    node->operation = YMAP_OP_REMOVE;
  }

  void write(const std::vector<Pattern::Node> &path, const ::gnmi::TypedValue &value, bool replaces) {
    EditNode *node = &root_;
    bool is_replaced = false;  // with what is above it
    for (const auto &[schema, key] : path) {
      node = &child_of(*node, *schema, key);
      if (node->operation == YMAP_OP_REMOVE)
        node->operation = schema->is_leaf() ? YMAP_OP_NONE : YMAP_OP_REPLACE;
      is_replaced = is_replaced || (node->operation == YMAP_OP_REPLACE && schema != path.back().schema);
    }
    const auto at = path_of(schema_, path);
    if (!path.empty() && node->schema->is_leaf()) {
      node->value = leaf_value(schema_, *node->schema, value, at);
      if (node->schema->is_key && node->value != path[path.size() - 2].key) other_key(at);
      return;
    }
    const auto json = json_in(value, at);
    if (!json || !json->has_struct_value())
      refuse_value("the node holds others, so its value is one object in JSON", at);
    if (replaces && path.empty()) replace_everything();
    if (replaces && !path.empty()) {
      node->children.clear();
      if (!is_replaced) node->operation = YMAP_OP_REPLACE;
    }
    add_members(*node, json->struct_value(), at);
  }

  void build(yfw::Datatree &tree) const {
    for (const auto &top : root_.children) add(top, tree, tree.root());
  }

 private:
  [[noreturn]] static void other_key(const std::string &path) {
    refuse("bad-element", "the key in the value is another one than in the path", path);
  }

  void replace_everything() {
    root_.children.clear();
    for (const auto &top : schema_.children(nullptr))
      root_.children.push_back({&top, {}, {}, YMAP_OP_REPLACE, {}});
  }

  const SchemaNode &member(const EditNode &parent, std::string_view name, const std::string &path) const {
    const auto colon = name.find(':');
    const auto module = name.substr(0, colon == std::string_view::npos ? 0 : colon);
    const auto *node = schema_.child(parent.schema, name.substr(module.empty() ? 0 : module.size() + 1));
    if (node == nullptr || (!module.empty() && module != schema_.module_name()))
      throw unknown_element(step(path, schema_.module_name(), shortened(name)), name);
    return *node;
  }

  void add_members(EditNode &parent, const google::protobuf::Struct &members, const std::string &path) {
    // A protobuf map has no order of its own, and with the same fault the message shall be the same.
    std::vector<std::pair<const SchemaNode *, const Json *>> sorted;
    for (const auto &[name, value] : members.fields())
      sorted.emplace_back(&member(parent, name, path), &value);
    std::ranges::sort(sorted);
    for (const auto &[node, value] : sorted) add_member(parent, *node, *value, path);
  }

  void add_member(EditNode &parent, const SchemaNode &schema, const Json &value, const std::string &path) {
    const auto at = step(path, schema_.module_name(), schema.name);
    if (schema.is_list()) {
      if (!value.has_list_value()) refuse_value("a list is an array of objects", at);
      for (const auto &entry : value.list_value().values()) add_entry(parent, schema, entry, at);
      return;
    }
    if (schema.is_key) {
      // It is written with its entry.
      if (!value.has_string_value() || value.string_value() != parent.key) other_key(at);
      return;
    }
    auto &node = child_of(parent, schema, {});
    if (schema.is_leaf()) {
      node.value = leaf_value(schema_, schema, value, at);
      node.operation = YMAP_OP_NONE;
      return;
    }
    if (!value.has_struct_value()) refuse_value("a container is an object", at);
    add_object(node, value.struct_value(), at);
  }

  void add_entry(EditNode &parent, const SchemaNode &list, const Json &entry, const std::string &path) {
    const auto &key_leaf = list.children.front();
    if (!entry.has_struct_value()) refuse_value("a list is an array of objects", path);
    const auto &fields = entry.struct_value().fields();
    auto key = fields.find(std::string(key_leaf.name));
    if (key == fields.end())
      key = fields.find(std::string(schema_.module_name()).append(":").append(key_leaf.name));
    if (key == fields.end() || !is_key(key->second.string_value()))
      refuse("missing-element", "the entry has no key " + std::string(key_leaf.name), path);
    const auto &text = key->second.string_value();
    add_object(child_of(parent, list, text), entry.struct_value(),
               with_key(path, key_leaf.name, shortened(text)));
  }

  void add_object(EditNode &node, const google::protobuf::Struct &members, const std::string &path) {
    if (node.operation == YMAP_OP_REMOVE) node.operation = YMAP_OP_REPLACE;
    add_members(node, members, path);
  }

  void add(const EditNode &node, yfw::Datatree &tree, vidl_yfw_datatree *parent) const {
    auto *added = tree.add(parent, node.schema->name, schema_.ns(), node.value, node.operation);
    if (node.schema->is_list()) {
      // One that a delete names is for the plug-in to refuse.
      const auto key =
          std::ranges::find_if(node.children, [](const auto &child) { return child.schema->is_key; });
      tree.add(added, node.schema->children.front().name, schema_.ns(), node.key,
               key == node.children.end() ? uint32_t{YMAP_OP_NONE} : key->operation);
    }
    for (const auto &child : node.children)
      if (!child.schema->is_key) add(child, tree, added);
  }

  const Schema &schema_;
  EditNode root_;
};

}  // namespace

Request edit_of(const Schema &schema, const ::gnmi::SetRequest &request) {
  if (request.union_replace_size() > 0)
    refuse("operation-not-supported", "union_replace is not supported; there are delete, replace and update",
           {});
  if (request.delete__size() + request.replace_size() + request.update_size() > kMostOperations)
    refuse("too-big", "a request has at most " + std::to_string(kMostOperations) + " operations", {});
  const auto node_of = [&](const ::gnmi::Path &path) {
    return Pattern(schema, request.prefix(), path).node();
  };
  EditBuilder builder(schema);
  for (const auto &path : request.delete_()) builder.remove(node_of(path));
  for (const auto &one : request.replace()) builder.write(node_of(one.path()), value_of(one), true);
  for (const auto &one : request.update()) builder.write(node_of(one.path()), value_of(one), false);
  Request edit;
  edit.kind = Request::Kind::edit;
  builder.build(edit.tree);
  return edit;
}

::gnmi::SetResponse set_response(const ::gnmi::SetRequest &request, int64_t time) {
  ::gnmi::SetResponse response;
  if (request.has_prefix()) *response.mutable_prefix() = request.prefix();
  response.set_timestamp(time);
  const auto add = [&](const ::gnmi::Path &path, ::gnmi::UpdateResult::Operation operation) {
    auto *result = response.add_response();
    *result->mutable_path() = path;
    result->set_op(operation);
  };
  for (const auto &path : request.delete_()) add(path, ::gnmi::UpdateResult::DELETE);
  for (const auto &one : request.replace()) add(one.path(), ::gnmi::UpdateResult::REPLACE);
  for (const auto &one : request.update()) add(one.path(), ::gnmi::UpdateResult::UPDATE);
  return response;
}

}  // namespace ymap::telemetry
