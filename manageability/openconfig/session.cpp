// Requests through the mapper, and its refusals as NETCONF errors.
#include "session.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

#include "native_refusal.hpp"
#include "printable.hpp"
#include "rpc_error.hpp"
#include "rules_answer.hpp"
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
  fault.app_tag = refusal.app_tag;
  return RpcError(std::move(fault));
}

yfw::Read read_of(const Request &request) {
  return {&request.tree, request.kind == Request::Kind::get ? YMAP_REQ_GET : YMAP_REQ_GET_CONFIG,
          request.state_only ? YMAP_CONTENT_STATE_ONLY : 0};
}

Asked asked_by(const Request &request) {
  switch (request.kind) {
    case Request::Kind::get:
      return {"get"};
    case Request::Kind::get_config:
      return {"get-config", Asked::Weight::read, name_of(request.datastore)};
    case Request::Kind::edit:
      break;
  }
  if (request.is_validation) return {"validate", Asked::Weight::none};
  return {"edit-config", request.test_only ? Asked::Weight::none : Asked::Weight::change,
          name_of(request.datastore)};
}

/// The amplifiers that an edit names; nothing if it may concern all.
std::optional<std::vector<std::string>> amplifiers_of(const Schema &schema, const vidl_yfw_datatree *root) {
  const auto &model = yfw::optical_amplifier();
  std::vector<std::string> names;
  const auto visit = [&](const auto &self, const vidl_yfw_datatree *parent, const SchemaNode *node) -> bool {
    if (!vidl_yfw_datatree_has_subtrees(parent)) return true;
    for (uint32_t at = 0; at < parent->subtree_count; ++at) {
      const auto &child = parent->subtrees[at];
      const std::string_view tag = child.tag == nullptr ? "" : child.tag;
      const auto *below = schema.child(node, tag);
      if (below == nullptr) return false;
      if (below->is_key) {
        names.emplace_back(child.data == nullptr ? "" : child.data);
      } else if (below->is_list() && tag == model.list) {
        if (!self(self, &child, below)) return false;
      } else if (node == nullptr || !node->is_list()) {
        if (vidl_yfw_datatree_has_operation(&child) && child.operation != YMAP_OP_NONE &&
            child.operation != YMAP_OP_MERGE)
          return false;
        if (!self(self, &child, below)) return false;
      }
    }
    return true;
  };
  if (!visit(visit, root, nullptr) || names.empty() || std::ranges::count(names, "") != 0)
    return std::nullopt;
  return names;
}

/// What the edit names and leaves as it is. Whoever sees a refusal where a value is another one, and none
/// where it is the same, has learnt the value.
void add_probes(const Rights &rights, const Leaves &before, const Leaves &named,
                std::vector<Change> &changes) {
  for (const auto &[path, value] : named.values) {
    const auto was = before.values.find(path);
    if (was != before.values.end() && was->second == value && !rights.can_read(parse_path(path)))
      changes.push_back({path, Access::update, value, value});
  }
}

}  // namespace

Session::Session(const Parts &parts, std::unique_ptr<NativeDevice> device, Companions companions,
                 Record::Options record)
    : schema_(parts.models, yfw::optical_amplifier().openconfig_module, std::move(companions)),
      plugin_(yfw::optical_amplifier(), parts.plugin),
      device_(std::move(device)),
      guard_(*device_, record) {}

Session::Session(const Parts &parts, std::filesystem::path folder)
    : Session(parts, std::make_unique<FolderDevice>(std::move(folder), parts.models)) {}

Answer Session::run(const Requester &who, const Request &request) {
  settle();
  return guard_.run(who, asked_by(request), [&](Outcome &outcome) {
    const auto &rights = guard_.rights(who);
    return request.kind == Request::Kind::edit ? edit(who, rights, request, outcome) : read(rights, request);
  });
}

Answer Session::read(const Rights &rights, const Request &request) {
  RequestDatastore datastore(*device_, request.datastore);
  auto answer = run(request, datastore);
  if (!rights.can_read_all_of(schema_.module_name())) {
    drop_secret_matches(schema_, rights, request.tree, answer.data);
    prune(schema_, rights, answer.data);
    // They tell of values too.
    answer.warnings.clear();
  }
  if (request.selects_all_rules || !request.rules.empty()) {
    const bool with_counts = request.kind == Request::Kind::get;
    const auto rules = request.datastore == device::Datastore::candidate
                           ? std::make_shared<const NativeDevice::Rules>(device_->near()->candidate_rules())
                           : device_->access_rules();
    answer.rules = rules_answer(*rules, rights, with_counts ? std::optional(guard_.denied()) : std::nullopt,
                                request.selects_all_rules ? nullptr : &request.rules);
  }
  return answer;
}

Leaves Session::configuration(device::Datastore datastore, const std::vector<std::string> &amplifiers) {
  auto read = read_request(schema_, Request::Kind::get_config, false, amplifiers);
  RequestDatastore source(*device_, datastore);
  return leaves_of(schema_, run(read, source).data);
}

std::shared_ptr<const Leaves> Session::configuration_touched_by(const Request &request) {
  if (!vidl_yfw_datatree_has_subtrees(request.tree.root())) return std::make_shared<Leaves>();
  const auto names = amplifiers_of(schema_, request.tree.root()).value_or(std::vector<std::string>());
  auto *near = device_->near();
  const bool is_kept = near != nullptr && request.datastore == device::Datastore::running;
  const auto version = is_kept ? near->state().version() : 0;
  if (is_kept && last_ && last_->amplifiers == names && last_->version == version) return last_->leaves;
  try {
    auto leaves = std::make_shared<const Leaves>(configuration(request.datastore, names));
    // Of a change since then the next version tells.
    if (is_kept) last_ = Reading{names, version, leaves};
    return leaves;
  } catch (const RpcError &) {
    if (names.empty()) throw;
    // One of them is not there, which is for the edit to say.
    return std::make_shared<const Leaves>(configuration(request.datastore, {}));
  }
}

Leaves Session::leaves_of_rules(device::Datastore datastore) {
  return datastore == device::Datastore::running ? leaves_of(*device_->access_rules())
                                                 : leaves_of(device_->near()->candidate_rules());
}

/// What the edit alters, as far as it says so.
std::vector<Change> Session::changes_asked(const Request &request, const Leaves &before,
                                           const Leaves &rules_before) {
  auto changes = changes_between(before, after_edit(schema_, before, request.tree));
  if (request.rules.empty()) return changes;
  as_rpc_error([&] {
    const auto rules_after = leaves_of(request.datastore == device::Datastore::candidate
                                           ? device_->near()->candidate_rules(request.rules)
                                           : device_->access_rules_after(request.rules));
    std::ranges::move(changes_between(rules_before, rules_after), std::back_inserter(changes));
  });
  return changes;
}

Answer Session::edit(const Requester &who, const Rights &rights, const Request &request, Outcome &outcome) {
  auto &changes = outcome.changes;
  auto commit = request.commit;
  if (commit) {
    commit->user = who.user();
    commit->watch = watch_commits_;
  }
  RequestDatastore datastore(*device_, request.rules,
                             {request.datastore, request.test_only, commit ? &*commit : nullptr});
  // What a <validate> says is its own; what an edit meets, also one that is only tried, is not.
  const bool is_judged = !rights.are_unlimited() && !request.is_validation;
  // Elsewhere a read is a round trip, and is made where rights depend on it.
  const bool is_compared = !request.test_only && device_->near() != nullptr;
  if (!is_judged && !is_compared) {
    changes = changes_between({}, after_edit(schema_, {}, request.tree));
    try {
      return run(request, datastore);
    } catch (const RpcError &error) {
      const bool is_of_all = request.is_validation && !vidl_yfw_datatree_has_subtrees(request.tree.root());
      throw is_of_all ? told_to(rights, error) : error;
    }
  }
  // What is judged is what is edited: nobody else edits meanwhile.
  const auto transaction = is_judged && is_compared ? device_->near()->transaction() : nullptr;
  const bool edits_rules = !request.rules.empty();
  if (edits_rules && is_compared && request.datastore == device::Datastore::running) check_rules_may_change();
  const auto found = configuration_touched_by(request);
  const auto &before = *found;
  const auto rules_before = edits_rules ? leaves_of_rules(request.datastore) : Leaves();
  if (is_judged) {
    changes = changes_asked(request, before, rules_before);
    auto judged = changes;
    add_probes(rights, before, after_edit(schema_, {}, request.tree), judged);
    add_probes(rights, rules_before, leaves_of(request.rules), judged);
    guard_.judge(who, rights, judged);
  }
  Answer answer;
  try {
    answer = run(request, datastore);
  } catch (const RpcError &) {
    if (!is_judged) changes = changes_asked(request, before, rules_before);
    throw;
  }
  if (request.test_only) return answer;
  if (request.commit) note_commit(datastore.event(), *request.commit, outcome);
  if (!request.commit && request.datastore == device::Datastore::running) warn_of_commit(answer);
  changes = changes_between(before, *configuration_touched_by(request));
  if (edits_rules)
    std::ranges::move(changes_between(rules_before, leaves_of_rules(request.datastore)),
                      std::back_inserter(changes));
  return answer;
}

Answer Session::run(const Request &request, yfw::NativeDatastore &datastore) {
  yfw::Mapper mapper(plugin_, datastore);
  if (request.selects_nothing) return {};
  device_->take_warnings();  // of a request that had no answer
  try {
    if (request.kind != Request::Kind::edit)
      return with_device_warnings(openconfig_answer(schema_, mapper.read(read_of(request)).root()));
    if (request.stated) check_stated(schema_, *request.stated, mapper);
    // Where every node of the edit is without effect there is nothing to do but to try the device itself.
    if (vidl_yfw_datatree_has_subtrees(request.tree.root()))
      mapper.edit(request.tree);
    else if (request.test_only || !request.rules.empty())
      datastore.edit(request.tree);
    return with_device_warnings({});
  } catch (const yfw::Refusal &refusal) {
    throw with_device_warnings(rpc_error(refusal, request, schema_));
  } catch (const yfw::NativeRefusal &refusal) {
    throw with_device_warnings(native_fault(refusal));
  }
}

/// What went wrong beside a refusal is told with it.
RpcError Session::with_device_warnings(const RpcError &error) {
  auto fault = error.fault();
  for (const auto &warning : device_->take_warnings()) fault.message += "; " + warning;
  return RpcError(std::move(fault));
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
