// Get, path by path.
#include "get_request.hpp"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

#include "printable.hpp"
#include "refusal.hpp"

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
  refuse_value("type " + std::to_string(type) + " is none of ALL, CONFIG, STATE, OPERATIONAL");
}

/// The latest time of what the part takes of the nodes; 0 if that is nothing.
int64_t latest(const Data &siblings, Part part, int64_t reading) {
  const ValueTimes times(siblings, reading);
  int64_t time = 0;
  for (const auto &node : siblings)
    time = std::max(time, !node.schema->is_leaf()     ? latest(node.children, part, reading)
                          : takes(part, *node.schema) ? times.of(*node.schema)
                                                      : 0);
  return time;
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
      refuse("operation-not-supported", "model " + shortened(model.name()) + " is not served; there is " +
                                            std::string(schema.module_name()));
}

Echo echo_of(const ::gnmi::Path &prefix, const ::gnmi::Path &path) {
  return {prefix.target(), prefix.origin().empty() ? path.origin() : prefix.origin()};
}

GetQuery::GetQuery(const Schema &schema, const ::gnmi::GetRequest &request)
    : schema_(schema), part_(part_of(request.type())), encoding_(supported(request.encoding())) {
  // A prefix that may stand for several nodes is none of what any of them has.
  if (Pattern(schema, {}, request.prefix()).is_one_node())
    prefix_size_ = static_cast<std::size_t>(request.prefix().elem_size());
  check_models(schema, request.use_models());
  if (request.path_size() > kMostPaths)
    refuse("too-big", "a request has at most " + std::to_string(kMostPaths) + " paths");
  const auto add = [&](const ::gnmi::Path &path) {
    patterns_.emplace_back(schema, request.prefix(), path);
    echoes_.push_back(echo_of(request.prefix(), path));
  };
  for (const auto &path : request.path()) add(path);
  if (request.path().empty()) add({});
}

::gnmi::GetResponse GetQuery::answer(const Reading &reading) const {
  ::gnmi::GetResponse response;
  for (std::size_t at = 0; at < patterns_.size(); ++at) {
    auto &notification = *response.add_notification();
    auto &prefix = *notification.mutable_prefix();
    prefix.set_target(echoes_[at].target);
    prefix.set_origin(echoes_[at].origin);
    int64_t time = 0;
    patterns_[at].select(reading.data, [&](const Trail &trail) {
      for (auto elem = static_cast<std::size_t>(prefix.elem_size()); elem < prefix_size_; ++elem)
        add_elem(prefix, *trail[elem]->schema, key_or_nothing(*trail[elem]));
      const auto own =
          trail.size() < 2
              ? reading.time
              : ValueTimes(trail[trail.size() - 2]->children, reading.time).of(*trail.back()->schema);
      auto below = trail;
      time = std::max(time, add_updates(below, own, reading.time, notification));
    });
    if (notification.update().empty()) refuse("data-missing", "there is no data there", patterns_[at].text());
    notification.set_timestamp(time);
  }
  return response;
}

/// Returns the latest time of what it adds; 0 if that is nothing.
int64_t GetQuery::add_updates(Trail &trail, int64_t own_time, int64_t reading,
                              ::gnmi::Notification &notification) const {
  const auto &node = *trail.back();
  if (encoding_ == Encoding::proto && !node.schema->is_leaf()) {
    const ValueTimes times(node.children, reading);
    int64_t time = 0;
    for (const auto &child : node.children) {
      trail.push_back(&child);
      time = std::max(time, add_updates(trail, times.of(*child.schema), reading, notification));
      trail.pop_back();
    }
    return time;
  }
  auto &update = *notification.add_update();
  if (!write_value(schema_, node, part_, encoding_, *update.mutable_val())) {
    notification.mutable_update()->RemoveLast();
    return 0;
  }
  auto &path = *update.mutable_path();
  for (auto at = prefix_size_; at < trail.size(); ++at)
    add_elem(path, *trail[at]->schema, key_or_nothing(*trail[at]));
  return node.schema->is_leaf() ? own_time : latest(node.children, part_, reading);
}

}  // namespace ymap::telemetry
