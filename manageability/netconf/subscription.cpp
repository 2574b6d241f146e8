// From the record to a subscriber.
#include "subscription.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include "date_and_time.hpp"
#include "operation_parameters.hpp"
#include "printable.hpp"
#include "rpc_parameters.hpp"
#include "subtree_filter.hpp"

namespace ymap::netconf {
namespace {

int64_t time_now() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

std::optional<int64_t> time_in(const Parameters &parameters, const char *name) {
  if (parameters.find(name) == nullptr) return std::nullopt;
  const auto text = parameters.text(name);
  const auto time = read_date_and_time(text);
  if (!time)
    refuse("invalid-value",
           std::string(name) + " \"" + shortened(text) + "\" is no time such as 2026-11-23T08:30:00Z",
           parameters.path_of(name));
  return time;
}

/// XML filtered by XML.
struct Adapter {
  using Filter = XmlElement;
  using Data = XmlElement;

  XmlElements filter_children(Filter filter) const { return filter.children(); }
  XmlElements data_children(Data node) const { return node.children(); }
  bool same_node(Filter filter, Data node) const {
    return filter.name() == node.name() && (filter.ns().empty() || filter.ns() == node.ns());
  }
  bool is_content_match(Filter filter) const { return !filter.text().empty(); }
  bool equal(Filter filter, Data leaf) const { return trimmed(filter.text()) == leaf.text(); }
  bool is_leaf(Data node) const { return node.children().empty(); }
  bool is_key(Data, Data) const { return false; }
};

/// False for an event beyond all that a message may be.
bool selects(const XmlElements &filter, const std::string &content) {
  try {
    const XmlDocument event(content);
    const Adapter adapter;
    return !yfw::SubtreeFilter(adapter)
                .select({filter.begin(), filter.end()}, std::vector{event.root()})
                .empty();
  } catch (const RpcError &) {
    return false;
  }
}

}  // namespace

SubscriptionParameters parse_subscription(const XmlElement &operation, const std::string &path) {
  const Parameters parameters(operation, path, {"stream", "filter", "startTime", "stopTime"});
  const auto stream = parameters.text("stream");
  if (parameters.find("stream") != nullptr && stream != "NETCONF")
    refuse("invalid-value", "there is no stream \"" + shortened(stream) + "\"; NETCONF is the one",
           parameters.path_of("stream"));
  SubscriptionParameters wanted;
  if (const auto filter = subtree_filter(parameters)) wanted.filter = filter->children();
  wanted.start = time_in(parameters, "startTime");
  wanted.stop = time_in(parameters, "stopTime");
  if (wanted.stop && !wanted.start)
    refuse("missing-element", "stopTime ends a replay, which startTime begins", parameters.path(),
           "startTime");
  if (wanted.start && *wanted.start > time_now())
    refuse("bad-element", "startTime is in the future", parameters.path_of("startTime"), "startTime");
  if (wanted.stop && *wanted.stop < *wanted.start)
    refuse("bad-element", "stopTime is before startTime", parameters.path_of("stopTime"), "stopTime");
  return wanted;
}

void Subscriber::begin(const SubscriptionParameters &parameters, std::shared_ptr<const void> message,
                       const std::filesystem::path &folder) {
  if (subscription_) refuse("operation-failed", "this session has a subscription already", {});
  Subscription made{parameters, std::move(message), RecordReader(folder)};
  made.record.descriptor();
  if (!parameters.start) made.record.skip();
  subscription_ = std::move(made);
}

int Subscriber::descriptor() {
  return subscription_ ? subscription_->record.descriptor() : -1;
}

std::optional<Attention::Time> Subscriber::due() {
  if (!subscription_) return std::nullopt;
  const auto now = Time::clock::now();
  if (subscription_->is_new) return now;
  const auto stop = subscription_->parameters.stop;
  if (!stop) return std::nullopt;
  // The time of day may be set: it is looked at again then.
  constexpr int64_t longest = int64_t{3600} * 1'000'000'000;
  return now + std::chrono::nanoseconds(std::clamp<int64_t>(*stop - time_now(), 0, longest));
}

void Subscriber::attend() {
  subscription_->record.read([this](const RecordEntry &entry) { tell(entry); });
  const bool is_replayed = std::exchange(subscription_->is_new, false);
  const auto &[start, stop] = std::pair(subscription_->parameters.start, subscription_->parameters.stop);
  if (is_replayed && start) send_(notification(time_now(), stream_event("replayComplete")));
  if (!stop || time_now() < *stop) return;
  subscription_.reset();
  send_(notification(time_now(), stream_event("notificationComplete")));
}

/// What happens now is told whatever the time of day is said to be.
void Subscriber::tell(const RecordEntry &entry) {
  const auto &[start, stop] = std::pair(subscription_->parameters.start, subscription_->parameters.stop);
  const auto time = time_of(entry);
  if (subscription_->is_new && ((start && time < *start) || (stop && time > *stop))) return;
  try {
    const auto &rights = guard_.rights(who_);
    const auto readable = [&](const Change &change) { return rights.can_read(parse_path(change.path)); };
    for (const auto &event : events_of(entry, readable)) tell(entry, event);
  } catch (const device::FolderError &) {
    // Without the rules nobody knows what he may be told.
    guard_.count_denied_notification();
  }
}

void Subscriber::tell(const RecordEntry &entry, const Event &event) {
  const auto &filter = subscription_->parameters.filter;
  if (filter && !selects(*filter, event.content)) return;
  if (guard_.rights(who_).receive(kEventModule.name, event.name).permits)
    send_(notification(time_of(entry), event.content));
  else
    guard_.count_denied_notification();
}

}  // namespace ymap::netconf
