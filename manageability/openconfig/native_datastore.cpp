// Framework records to device requests, and the device's answers back.
#include "native_datastore.hpp"

#include <string>
#include <utility>
#include <vector>

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

/// Builds the framework's tree of what the device gives out.
class AnswerTree : public device::AnswerSink {
 public:
  explicit AnswerTree(yfw::Datatree &tree) : tree_(tree), open_{tree.root()} {}

  void open(const char *name, const char *ns) override { open_.push_back(tree_.add(open_.back(), name, ns)); }
  void leaf(const char *name, const char *ns, const char *value) override {
    tree_.add(open_.back(), name, ns, value);
  }
  void close() override { open_.pop_back(); }

 private:
  yfw::Datatree &tree_;
  std::vector<vidl_yfw_datatree *> open_;  ///< the innermost last
};

template <typename Work>
void passing_refusals_on(const Work &work) {
  try {
    work();
  } catch (const device::EditError &error) {
    yfw::NativeRefusal refusal(error.what());
    refusal.error_tag = error.error_tag;
    refusal.node = static_cast<const vidl_yfw_datatree *>(error.origin);
    throw refusal;
  }
}

}  // namespace

DeviceDatastore::DeviceDatastore(std::filesystem::path folder, std::filesystem::path models)
    : folder_(std::move(folder)), models_(std::move(models)) {}

device::Device &DeviceDatastore::opened() {
  if (!device_) device_.emplace(folder_, models_).act_for(session_);
  return *device_;
}

void DeviceDatastore::read(const yfw::Datatree &request, yfw::Datatree &answer) {
  AnswerTree sink(answer);
  opened().read(device_nodes(request.root()), sink);
}

void DeviceDatastore::edit(const yfw::Datatree &request) {
  passing_refusals_on([&] { opened().edit(device_nodes(request.root())); });
}

void DeviceDatastore::test(const yfw::Datatree &request) {
  passing_refusals_on([&] { opened().test(device_nodes(request.root())); });
}

void DeviceDatastore::act_for(uint32_t session) {
  session_ = session;
  if (device_) device_->act_for(session);
}

}  // namespace ymap
