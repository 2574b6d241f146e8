// Framework records to device requests, and the device's answers back.
#include "native_datastore.hpp"

#include <sys/stat.h>

#include <string>
#include <utility>
#include <vector>

#include "access_rules.hpp"
#include "ymap_datatree.h"

namespace ymap {
namespace {

using Operation = device::RequestNode::Operation;
static_assert(static_cast<uint32_t>(Operation::replace) == YMAP_OP_REPLACE);
static_assert(static_cast<uint32_t>(Operation::create) == YMAP_OP_CREATE);
static_assert(static_cast<uint32_t>(Operation::remove_existing) == YMAP_OP_DELETE);
static_assert(static_cast<uint32_t>(Operation::remove) == YMAP_OP_REMOVE);
static_assert(static_cast<uint32_t>(Operation::merge) == YMAP_OP_MERGE);

std::vector<device::RequestNode> device_nodes(const vidl_yfw_datatree *parent) {
  std::vector<device::RequestNode> nodes;
  if (!vidl_yfw_datatree_has_subtrees(parent)) return nodes;
  nodes.reserve(parent->subtree_count);
  for (uint32_t at = 0; at < parent->subtree_count; ++at) {
    const auto *source = &parent->subtrees[at];
    device::RequestNode node;
    if (source->tag != nullptr) node.name = source->tag;
    if (source->namespace_ != nullptr) node.ns = source->namespace_;
    if (vidl_yfw_datatree_has_data(source) && source->data != nullptr) node.value = source->data;
    if (vidl_yfw_datatree_has_operation(source)) node.operation = static_cast<Operation>(source->operation);
    node.origin = source;
    node.children = device_nodes(source);
    nodes.push_back(std::move(node));
  }
  return nodes;
}

std::vector<device::RequestNode> device_nodes(const vidl_yfw_datatree *root,
                                              const NativeDevice::RulesEdit &rules) {
  auto nodes = device_nodes(root);
  nodes.insert(nodes.end(), rules.begin(), rules.end());
  return nodes;
}

/// The device names its own leaf; the client knows the one that the path names.
std::string words(const device::EditError &error) {
  if (error.error_tag == "data-exists") return "it exists already";
  if (error.error_tag == "data-missing") return "there is nothing to delete";
  return error.what();
}

template <typename Work>
auto passing_refusals_on(const Work &work) {
  try {
    return work();
  } catch (const device::EditError &error) {
    yfw::NativeRefusal refusal(words(error));
    refusal.error_tag = error.error_tag;
    refusal.path = error.path;
    refusal.node = static_cast<const vidl_yfw_datatree *>(error.origin);
    throw refusal;
  }
}

}  // namespace

FolderDevice::FolderDevice(std::filesystem::path folder, std::filesystem::path models)
    : folder_(std::move(folder)), models_(std::move(models)) {}

device::Device &FolderDevice::opened() {
  if (!device_) device_.emplace(folder_, models_, std::nullopt, access_guest()).act_for(session_);
  return *device_;
}

void FolderDevice::read(const yfw::Datatree &request, yfw::Datatree &answer) {
  AnswerTree sink(answer);
  opened().read(device_nodes(request.root()), sink);
}

void FolderDevice::edit(const yfw::Datatree &request, const RulesEdit &rules) {
  passing_refusals_on([&] { opened().edit(device_nodes(request.root(), rules)); });
}

void FolderDevice::test(const yfw::Datatree &request, const RulesEdit &rules) {
  passing_refusals_on([&] { opened().test(device_nodes(request.root(), rules)); });
}

std::shared_ptr<const NativeDevice::Rules> FolderDevice::access_rules() {
  return opened().guest();
}

NativeDevice::Rules FolderDevice::access_rules_after(const RulesEdit &edit) {
  return passing_refusals_on([&] { return opened().guest_after(edit); });
}

device::CommitEvent FolderDevice::edit_to_confirm(const yfw::Datatree &request, const RulesEdit &rules,
                                                  const device::Commit &commit) {
  return passing_refusals_on([&] { return opened().edit(device_nodes(request.root(), rules), commit); });
}

device::CommitEvent FolderDevice::commit_candidate(const device::Commit &commit) {
  return passing_refusals_on([&] { return opened().commit_candidate(commit); });
}

device::TakenBack FolderDevice::cancel_commit(const std::optional<std::string> &persist_id) {
  return passing_refusals_on([&] { return opened().cancel_commit(persist_id); });
}

void FolderDevice::confirm_commit(const std::optional<std::string> &persist_id) {
  passing_refusals_on([&] { opened().confirm_commit(persist_id); });
}

void FolderDevice::edit_candidate(const yfw::Datatree &request, const RulesEdit &rules) {
  passing_refusals_on([&] { opened().edit_candidate(device_nodes(request.root(), rules)); });
}

void FolderDevice::test_candidate(const yfw::Datatree &request, const RulesEdit &rules) {
  passing_refusals_on([&] { opened().validate_candidate(device_nodes(request.root(), rules)); });
}

void FolderDevice::discard_candidate() {
  passing_refusals_on([&] { opened().discard_candidate(); });
}

NativeDevice::Rules FolderDevice::candidate_rules(const RulesEdit &edit) {
  return passing_refusals_on([&] { return opened().candidate_guest(edit); });
}

void FolderDevice::read_candidate(const yfw::Datatree &request, yfw::Datatree &answer) {
  AnswerTree sink(answer);
  passing_refusals_on([&] { opened().read_candidate(device_nodes(request.root()), sink); });
}

bool FolderDevice::belongs_to(uid_t user) {
  struct stat status {};
  return ::stat(folder_.c_str(), &status) == 0 && status.st_uid == user;
}

void FolderDevice::act_for(uint32_t session) {
  session_ = session;
  if (device_) device_->act_for(session);
}

void RequestDatastore::read_config(const yfw::Datatree &request, yfw::Datatree &answer) {
  if (manner_.datastore == device::Datastore::candidate)
    device_.near()->read_candidate(request, answer);
  else
    device_.read_config(request, answer);
}

void RequestDatastore::edit(const yfw::Datatree &request) {
  if (manner_.datastore == device::Datastore::candidate) {
    auto &near = *device_.near();
    manner_.test_only ? near.test_candidate(request, *rules_) : near.edit_candidate(request, *rules_);
  } else if (manner_.test_only) {
    device_.test(request, *rules_);
  } else if (manner_.commit != nullptr) {
    event_ = device_.near()->edit_to_confirm(request, *rules_, *manner_.commit);
  } else {
    device_.edit(request, *rules_);
  }
}

}  // namespace ymap
