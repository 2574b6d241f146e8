// Get, path by path.
#include "get_request.hpp"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

#include "printable.hpp"
#include "rpc_error.hpp"

namespace ymap::telemetry {
namespace {

Part part_of(::gnmi::GetRequest::DataType type) {
  switch (type) {
    case ::gnmi::GetRequest::ALL:
      return Part::all;
    case ::gnmi::GetRequest::CONFIG:
      return Part::config;
    case ::gnmi::GetRequest::STATE:
      return Part::state;
    case ::gnmi::GetRequest::OPERATIONAL:
      return Part::operational;
    default:
      break;
  }
  throw RpcError({.tag = "invalid-value",
                  .message = "type " + std::to_string(type) + " is none of ALL, CONFIG, STATE, OPERATIONAL"});
}

/// What of the node the part takes, with the keys that are needed for it; nothing if that is nothing.
std::optional<DataNode> part_of(const DataNode &node, Part part) {
  if (node.schema->is_leaf())
    return takes(part, *node.schema) ? std::optional(node) : std::nullopt;
  DataNode taken = {node.schema};
  bool holds = false;
  for (const auto &child : node.children) {
    if (child.schema->is_key) {
      taken.children.push_back(child);
      continue;
    }
    auto below = part_of(child, part);
    if (!below) continue;
    holds = true;
    taken.children.push_back(std::move(*below));
  }
  return holds ? std::optional(std::move(taken)) : std::nullopt;
}

}  // namespace

std::vector<std::string> amplifiers_of(const std::vector<Pattern> &patterns) {
  std::set<std::string> names;
  for (const auto &pattern : patterns) {
    const auto entry = pattern.only_entry();
    if (!entry) return {};
    names.insert(*entry);
  }
  return {names.begin(), names.end()};
}

void check_models(const Schema &schema,
                  const google::protobuf::RepeatedPtrField<::gnmi::ModelData> &use_models) {
  for (const auto &model : use_models)
    if (model.name() != schema.module_name())
      throw RpcError({.tag = "operation-not-supported",
                      .message = "model " + shortened(model.name()) + " is not served; there is " +
                                 std::string(schema.module_name())});
}

Echo echo_of(const ::gnmi::Path &prefix, const ::gnmi::Path &path) {
  return {prefix.target(), prefix.origin().empty() ? path.origin() : prefix.origin()};
}

GetQuery::GetQuery(const Schema &schema, const ::gnmi::GetRequest &request)
    : schema_(schema),
      part_(part_of(request.type())),
      encoding_(supported(request.encoding())) {
  // A prefix that may stand for several nodes is none of what any of them has.
  if (Pattern(schema, {}, request.prefix()).is_one_node())
    prefix_size_ = static_cast<std::size_t>(request.prefix().elem_size());
  check_models(schema, request.use_models());
  if (request.path_size() > kMostPaths)
    throw RpcError(
        {.tag = "too-big", .message = "a request has at most " + std::to_string(kMostPaths) + " paths"});
  const auto add = [&](const ::gnmi::Path &path) {
    patterns_.emplace_back(schema, request.prefix(), path);
    echoes_.push_back(echo_of(request.prefix(), path));
  };
  for (const auto &path : request.path()) add(path);
  if (request.path().empty()) add({});
}

::gnmi::GetResponse GetQuery::answer(std::shared_ptr<const Reading> reading) const {
  ::gnmi::GetResponse response;
  for (std::size_t at = 0; at < patterns_.size(); ++at) {
    const LeafSet leaves(schema_, reading, part_, {&patterns_[at]});
    if (leaves.leaves().empty())
      throw RpcError(
          {.tag = "data-missing", .message = "there is no data there", .path = patterns_[at].text()});
    auto &notification = *response.add_notification();
    notification.set_timestamp(std::ranges::max(leaves.leaves(), {}, &Leaf::time).time);
    auto &prefix = *notification.mutable_prefix();
    prefix.set_target(echoes_[at].target);
    prefix.set_origin(echoes_[at].origin);
    for (std::size_t elem = 0; elem < prefix_size_; ++elem) {
      const auto &node = *leaves.leaves().front().trail[elem];
      add_elem(prefix, *node.schema, node.schema->is_list() ? key_of(node) : std::string());
    }
    if (encoding_ == Encoding::proto)
      for (const auto &leaf : leaves.leaves()) add_update(leaf.trail, notification);
    else
      patterns_[at].select(reading->data,
                           [&](const Trail &trail) { add_update(trail, notification); });
  }
  return response;
}

void GetQuery::add_update(const Trail &trail, ::gnmi::Notification &notification) const {
  const auto node = part_of(*trail.back(), part_);
  if (!node) return;
  auto &update = *notification.add_update();
  for (auto at = prefix_size_; at < trail.size(); ++at)
    add_elem(*update.mutable_path(), *trail[at]->schema,
             trail[at]->schema->is_list() ? key_of(*trail[at]) : std::string());
  write_value(schema_, *node, encoding_, *update.mutable_val());
}

}  // namespace ymap::telemetry
