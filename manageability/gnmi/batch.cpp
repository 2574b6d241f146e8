// Messages that are made once, and put together where they wait.
#include "batch.hpp"

#include <utility>

namespace ymap::telemetry {
namespace {

grpc::ByteBuffer message(const ::gnmi::SubscribeResponse &response) {
  const grpc::Slice bytes(response.SerializeAsString());
  return {&bytes, 1};
}

/// Tells a node from all others.
std::string name_of(const ::gnmi::Path &prefix, const ::gnmi::Path &path) {
  std::string name = prefix.target() + '\0' + prefix.origin();
  for (const auto *part : {&prefix, &path}) {
    for (const auto &elem : part->elem()) {
      name.append(1, '\0').append(elem.name());
      for (const auto &[key, value] : elem.key()) name.append(1, '\1').append(value);
    }
  }
  return name;
}

}  // namespace

Batch::Batch(std::vector<::gnmi::Notification> told, bool synced)
    : notifications(std::move(told)), is_synced(synced) {
  ::gnmi::SubscribeResponse response;
  for (auto &notification : notifications) {
    response.mutable_update()->Swap(&notification);
    messages.push_back(message(response));
    response.mutable_update()->Swap(&notification);
  }
  if (!is_synced) return;
  response.set_sync_response(true);
  messages.push_back(message(response));
}

void Backlog::add(std::shared_ptr<const Batch> batch) {
  if (next_ == nullptr) {
    next_ = std::move(batch);
    return;
  }
  if (!is_merged_) merge(*next_);
  is_merged_ = true;
  merge(*batch);
}

void Backlog::merge(const Batch &batch) {
  is_synced_ = is_synced_ || batch.is_synced;
  for (const auto &notification : batch.notifications) {
    const auto put = [&](const ::gnmi::Path &path) -> Value & {
      auto &value = values_[name_of(notification.prefix(), path)];
      value.prefix = notification.prefix();
      value.time = notification.timestamp();
      return value;
    };
    for (const auto &update : notification.update()) {
      auto &value = put(update.path());
      // The one that waited is not sent either.
      const auto passed_over =
          value.update.has_val() ? value.update.duplicates() + 1 + update.duplicates() : update.duplicates();
      value.update = update;
      value.update.set_duplicates(passed_over);
      value.is_deleted = false;
    }
    for (const auto &path : notification.delete_()) {
      auto &value = put(path);
      *value.update.mutable_path() = path;
      value.update.clear_val();
      value.update.clear_duplicates();
      value.is_deleted = true;
    }
  }
}

std::shared_ptr<const Batch> Backlog::merged() const {
  std::map<std::pair<std::string, int64_t>, ::gnmi::Notification> notifications;
  for (const auto &[name, value] : values_) {
    auto &notification = notifications[{name_of(value.prefix, {}), value.time}];
    *notification.mutable_prefix() = value.prefix;
    notification.set_timestamp(value.time);
    if (value.is_deleted)
      *notification.add_delete_() = value.update.path();
    else
      *notification.add_update() = value.update;
  }
  std::vector<::gnmi::Notification> list;
  list.reserve(notifications.size());
  for (auto &[name, notification] : notifications) list.push_back(std::move(notification));
  return std::make_shared<const Batch>(std::move(list), is_synced_);
}

std::shared_ptr<const Batch> Backlog::take() {
  auto taken = is_merged_ ? merged() : next_;
  next_.reset();
  is_merged_ = false;
  is_synced_ = false;
  values_.clear();
  return taken;
}

}  // namespace ymap::telemetry
