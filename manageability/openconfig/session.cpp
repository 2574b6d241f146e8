// Requests through the mapper, and its refusals as NETCONF errors.
#include "session.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

#include "printable.hpp"
#include "rpc_error.hpp"
#include "stated_data.hpp"
#include "ymap_datatree.h"

namespace ymap {
namespace {

struct StatusTag {
  verrno status;
  const char *tag;  ///< RFC 6241, appendix A
};
constexpr StatusTag kStatusTags[] = {
    {YMAP_ERR_INVALID_VALUE, "invalid-value"}, {YMAP_ERR_UNSUPPORTED_TAG, "operation-not-supported"},
    {YMAP_ERR_LIST_KEY, "bad-element"},        {YMAP_ERR_BAD_NODE, "malformed-message"},
    {YMAP_ERR_KEY_DELETE, "bad-attribute"},    {YMAP_ERR_AUGMENT_ADD, "unknown-namespace"},
};

/// The key at fault in the first list entry that has not exactly one with a value.
struct KeyFault {
  std::string key;
  bool missing = false;  ///< not there at all
};

bool find_key_fault(const Schema &schema, const SchemaNode *parent, const vidl_yfw_datatree *tree,
                    KeyFault &fault) {
  if (!vidl_yfw_datatree_has_subtrees(tree)) return false;
  for (uint32_t at = 0; at < tree->subtree_count; ++at) {
    const auto *entry = &tree->subtrees[at];
    const auto *node = schema.child(parent, entry->tag);
    if (node == nullptr || node->is_leaf()) continue;
    for (const auto &key : node->children) {
      if (!key.is_key) continue;
      uint32_t count = 0;
      bool valued = true;
      for (uint32_t leaf = 0; leaf < entry->subtree_count; ++leaf) {
        if (key.name != entry->subtrees[leaf].tag) continue;
        ++count;
        valued = valued && entry->subtrees[leaf].data != nullptr && *entry->subtrees[leaf].data != '\0';
      }
      fault = {std::string(key.name), count == 0};
      if (count != 1 || !valued) return true;
    }
    if (find_key_fault(schema, node, entry, fault)) return true;
  }
  return false;
}

RpcError rpc_error(const yfw::Refusal &refusal, const Request &request, const Schema &schema) {
  Fault fault = {.tag = refusal.error_tag, .message = refusal.what(), .path = refusal.path};
  if (fault.tag.empty()) {
    const auto *row = std::ranges::find(kStatusTags, refusal.status, &StatusTag::status);
    fault.tag = row == std::end(kStatusTags) ? "operation-failed" : row->tag;
  }
  const auto &said = request.stated ? *request.stated : request.tree;
  KeyFault key;
  const bool about_children = refusal.status == YMAP_ERR_LIST_KEY || refusal.status == YMAP_ERR_BAD_NODE;
  if (about_children && find_key_fault(schema, nullptr, said.root(), key)) {
    fault.tag = key.missing ? "missing-element" : "bad-element";
    fault.bad_element = key.key;
  } else if (refusal.status != YMAP_ERR_INVALID_VALUE) {
    fault.bad_element = refusal.bad_element;
  }
  if (refusal.status == YMAP_ERR_KEY_DELETE) {
    fault.bad_attribute = "operation";
    fault.bad_element = yfw::optical_amplifier().key;
  }
  if (fault.tag == "malformed-message") fault.type = "rpc";
  // No node is at fault.
  if (fault.tag == "in-use") fault = {.type = "protocol", .tag = fault.tag, .message = fault.message};
  if (!refusal.type.empty()) fault.type = refusal.type;
  fault.session_id = refusal.session_id;
  return RpcError(std::move(fault));
}

yfw::Read read_of(const Request &request) {
  return {&request.tree, request.kind == Request::Kind::get ? YMAP_REQ_GET : YMAP_REQ_GET_CONFIG,
          request.state_only ? YMAP_CONTENT_STATE_ONLY : 0};
}

}  // namespace

Session::Session(const Parts &parts, std::unique_ptr<NativeDevice> device, Companions companions)
    : schema_(parts.models, yfw::optical_amplifier().openconfig_module, std::move(companions)),
      plugin_(yfw::optical_amplifier(), parts.plugin),
      device_(std::move(device)) {}

Session::Session(const Parts &parts, std::filesystem::path folder)
    : Session(parts, std::make_unique<FolderDevice>(std::move(folder), parts.models)) {}

Answer Session::run(const Request &request) {
  if (!request.test_only) return run(request, *device_);
  TestDatastore test(*device_);
  return run(request, test);
}

Answer Session::run(const Request &request, yfw::NativeDatastore &datastore) {
  yfw::Mapper mapper(plugin_, datastore);
  if (request.selects_nothing) return {};
  try {
    if (request.kind != Request::Kind::edit)
      return with_device_warnings(openconfig_answer(schema_, mapper.read(read_of(request)).root()));
    if (request.stated) check_stated(schema_, *request.stated, mapper);
    // Where every node of the edit is without effect there is nothing to do but to try the device itself.
    if (vidl_yfw_datatree_has_subtrees(request.tree.root()))
      mapper.edit(request.tree);
    else if (request.test_only)
      datastore.edit(request.tree);
    return with_device_warnings({});
  } catch (const yfw::Refusal &refusal) {
    throw rpc_error(refusal, request, schema_);
  }
}

Answer Session::with_device_warnings(Answer answer) {
  auto warnings = device_->take_warnings();
  answer.warnings.insert(answer.warnings.begin(), std::make_move_iterator(warnings.begin()),
                         std::make_move_iterator(warnings.end()));
  return answer;
}

std::vector<yfw::Datatree> Session::translate(const Request &request) {
  std::vector<yfw::Datatree> natives;
  yfw::Mapper mapper(plugin_, *device_);
  if (request.selects_nothing) return natives;
  try {
    if (request.kind != Request::Kind::edit) return mapper.translate_read(read_of(request));
    if (vidl_yfw_datatree_has_subtrees(request.tree.root()))
      natives.push_back(mapper.translate_edit(request.tree));
    return natives;
  } catch (const yfw::Refusal &refusal) {
    throw rpc_error(refusal, request, schema_);
  }
}

}  // namespace ymap
