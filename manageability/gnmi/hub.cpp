// Groups of subscribers, and what becomes due for them.
#include "hub.hpp"

#include <algorithm>
#include <utility>

#include "refusal.hpp"

namespace ymap::telemetry {
namespace {

using Clock = Hub::Clock;

/// Clients that come at the same time share a reading.
constexpr std::chrono::milliseconds kFreshEnough(100);
/// A device that does not answer may be back at the next reading; for longer nobody is left without a word.
constexpr std::chrono::seconds kPatience(10);

constexpr std::string_view kOperation = "get";  ///< by which access rules judge a subscription

/// The next multiple.
Clock::time_point next(Clock::time_point now, std::chrono::nanoseconds interval) {
  const auto since = std::chrono::duration_cast<std::chrono::nanoseconds>(now.time_since_epoch());
  return Clock::time_point(std::chrono::duration_cast<Clock::duration>((since / interval + 1) * interval));
}

std::optional<Clock::time_point> next_or_none(Clock::time_point now, std::chrono::nanoseconds interval) {
  return interval.count() == 0 ? std::nullopt : std::optional(next(now, interval));
}

std::vector<const Wish *> pointers(const std::vector<Wish> &wishes) {
  std::vector<const Wish *> list;
  list.reserve(wishes.size());
  for (const auto &wish : wishes) list.push_back(&wish);
  return list;
}

const std::shared_ptr<const Batch> &synced() {
  static const auto batch = std::make_shared<const Batch>(std::vector<::gnmi::Notification>(), true);
  return batch;
}

}  // namespace

void Hub::open(StreamId id, const Requester &who, std::shared_ptr<Outlet> outlet) {
  streams_.insert_or_assign(id, Stream{.who = who, .outlet = std::move(outlet)});
  if (streams_.size() <= most_streams_) return;
  close(id, {grpc::StatusCode::RESOURCE_EXHAUSTED,
             "there are " + std::to_string(most_streams_) + " subscriptions, as many as may be"});
}

void Hub::receive(StreamId id, const ::gnmi::SubscribeRequest &request, Clock::time_point now) {
  const auto found = streams_.find(id);
  if (found == streams_.end()) return;
  auto &stream = found->second;
  try {
    const bool polls = stream.wishes && stream.wishes->mode == ::gnmi::SubscriptionList::POLL;
    switch (request.request_case()) {
      case ::gnmi::SubscribeRequest::kSubscribe:
        if (stream.wishes)
          refuse_value("the stream has its subscription already; open another stream for another");
        begin(id, stream, request.subscribe(), now);
        break;
      case ::gnmi::SubscribeRequest::kPoll:
        if (!stream.wishes) refuse_value("a stream begins with a subscription");
        if (!polls) refuse_value("the subscription is of mode STREAM or ONCE, and a poll is for mode POLL");
        tell_once(stream, now);
        break;
      default:
        refuse_value("the message holds neither a subscription nor a poll");
    }
  } catch (const std::exception &error) {
    close(id, status_of(error));
  }
}

void Hub::begin(StreamId id, Stream &stream, const ::gnmi::SubscriptionList &list, Clock::time_point now) {
  session_.guard().run(stream.who, {kOperation}, [&](Outcome &) {
    stream.wishes.emplace(session_.schema(), list, is_told_);
    const auto &wishes = *stream.wishes;
    if (wishes.mode != ::gnmi::SubscriptionList::STREAM) {
      if (!wishes.updates_only) return tell_once(stream, now);
      return stream.outlet->send(synced());
    }
    const auto reading = read(pointers(wishes.wishes), now);
    for (const auto &wish : wishes.wishes) join(id, stream, wish, reading, now);
    stream.outlet->send(synced());
  });
  if (stream.wishes->mode == ::gnmi::SubscriptionList::ONCE) close(id, grpc::Status::OK);
}

void Hub::tell_once(const Stream &stream, Clock::time_point now) {
  const auto reading = read(pointers(stream.wishes->wishes), now);
  std::vector<::gnmi::Notification> told;
  for (const auto &wish : stream.wishes->wishes) {
    NotificationWriter writer(session_.schema(), stream.wishes->encoding, wish.echo);
    const auto set = leaves(stream.who, wish, reading);
    for (const auto &leaf : set.leaves()) writer.update(leaf);
    for (auto &notification : writer.take()) told.push_back(std::move(notification));
  }
  stream.outlet->send(std::make_shared<const Batch>(std::move(told), true));
}

void Hub::join(StreamId id, Stream &stream, const Wish &wish, const std::shared_ptr<const Reading> &reading,
               Clock::time_point now) {
  const auto encoding = stream.wishes->encoding;
  auto name = stream.who.user() + "\n" + std::to_string(static_cast<int>(encoding)) + wish.name();
  // Who asks for the same twice is told once.
  if (!stream.groups.insert(name).second) return;
  auto found = groups_.find(name);
  if (found == groups_.end()) {
    found = groups_.emplace(name, Group{.who = stream.who, .wish = wish, .encoding = encoding}).first;
    auto &made = found->second;
    made.sample = next_or_none(now, wish.interval);
    made.heartbeat = next_or_none(now, wish.heartbeat);
    made.last = leaves(made.who, wish, reading);
  } else if (wish.changes_only) {
    // The others shall know what the new one knows.
    deliver(found->second, reading, false);
  }
  auto &group = found->second;
  group.members.insert(id);
  if (stream.wishes->updates_only) return;
  if (!wish.changes_only) group.last = leaves(group.who, wish, reading);
  stream.outlet->send(whole(group, reading));
}

std::shared_ptr<const Reading> Hub::read(const std::vector<const Wish *> &wishes, Clock::time_point now) {
  std::set<std::string> names;
  for (const auto *wish : wishes) {
    const auto entry = wish->pattern.only_entry();
    if (!entry) {
      names.clear();
      break;
    }
    names.insert(*entry);
  }
  session_.settle();
  return readings_.read({names.begin(), names.end()}, kFreshEnough, now);
}

LeafSet Hub::leaves(const Requester &who, const Wish &wish, const std::shared_ptr<const Reading> &reading) {
  const auto &schema = session_.schema();
  return {schema, readable(schema, session_.guard().rights(who), reading), wish.part, {&wish.pattern}};
}

const std::shared_ptr<const Batch> &Hub::whole(Group &group, const std::shared_ptr<const Reading> &reading) {
  if (group.whole_of == reading) return group.whole;
  NotificationWriter writer(session_.schema(), group.encoding, group.wish.echo);
  for (const auto &leaf : group.last.leaves()) writer.update(leaf);
  group.whole = std::make_shared<const Batch>(writer.take());
  group.whole_of = reading;
  return group.whole;
}

void Hub::deliver(Group &group, const std::shared_ptr<const Reading> &reading, bool is_whole) {
  auto current = leaves(group.who, group.wish, reading);
  NotificationWriter writer(session_.schema(), group.encoding, group.wish.echo);
  for (const auto &leaf : group.last.leaves())
    if (current.find(leaf.path) == nullptr) writer.remove(leaf, reading->time);
  if (!is_whole) {
    for (const auto &leaf : current.leaves()) {
      const auto *before = group.last.find(leaf.path);
      if (before == nullptr || before->value() != leaf.value()) writer.update(leaf);
    }
  }
  group.last = std::move(current);
  auto told = writer.take();
  if (!told.empty()) send(group, std::make_shared<const Batch>(std::move(told)));
  if (is_whole) send(group, whole(group, reading));
}

void Hub::send(const Group &group, const std::shared_ptr<const Batch> &batch) {
  if (batch->messages.empty()) return;
  for (const auto id : group.members) streams_.at(id).outlet->send(batch);
}

void Hub::half_close(StreamId id) {
  const auto found = streams_.find(id);
  if (found == streams_.end()) return;
  const auto &wishes = found->second.wishes;
  if (!wishes)
    close(id, {grpc::StatusCode::INVALID_ARGUMENT, "a stream begins with a subscription"});
  else if (wishes->mode == ::gnmi::SubscriptionList::POLL)
    close(id, grpc::Status::OK);
}

void Hub::leave(StreamId id) {
  const auto found = streams_.find(id);
  if (found == streams_.end()) return;
  for (const auto &name : found->second.groups) {
    const auto group = groups_.find(name);
    group->second.members.erase(id);
    if (group->second.members.empty()) groups_.erase(group);
  }
  streams_.erase(found);
}

void Hub::close(StreamId id, const grpc::Status &status) {
  const auto outlet = streams_.at(id).outlet;
  leave(id);
  outlet->close(status);
}

void Hub::close_all(const grpc::Status &status) {
  while (!streams_.empty()) close(streams_.begin()->first, status);
}

void Hub::configuration_changed(Clock::time_point now) {
  if (!is_other_than_told()) return;
  std::vector<Due> due;
  for (const auto &[name, group] : groups_)
    if (group.wish.on_change) due.push_back({name, false});
  serve(due, now);
}

/// An edit that comes by here is told at once, and seen in the folder again.
bool Hub::is_other_than_told() {
  try {
    auto *near = session_.device().near();
    const auto version = near == nullptr ? std::nullopt : std::optional(near->state().version());
    return std::exchange(told_, version) != version || !version;
  } catch (const device::FolderError &) {
    return true;  // and the reading says why
  }
}

std::optional<Clock::time_point> Hub::run(Clock::time_point now) {
  std::vector<Due> due;
  for (auto &[name, group] : groups_) {
    const bool beats = group.heartbeat && *group.heartbeat <= now;
    const bool samples = group.sample && *group.sample <= now;
    if (beats) group.heartbeat = next(now, group.wish.heartbeat);
    if (samples) group.sample = next_or_none(now, group.wish.interval);
    if (beats || samples) due.push_back({name, beats || !group.wish.changes_only});
  }
  serve(due, now);
  std::optional<Clock::time_point> earliest;
  for (const auto &[name, group] : groups_)
    for (const auto &time : {group.sample, group.heartbeat})
      if (time && (!earliest || *time < *earliest)) earliest = time;
  return earliest;
}

void Hub::serve(const std::vector<Due> &due, Clock::time_point now) {
  if (due.empty()) return;
  try {
    std::vector<const Wish *> wishes;
    wishes.reserve(due.size());
    for (const auto &one : due) wishes.push_back(&groups_.at(one.name).wish);
    const auto reading = read(wishes, now);
    for (const auto &one : due) {
      const auto found = groups_.find(one.name);  // unless its members are gone meanwhile
      if (found != groups_.end() && may_go_on(found->second)) deliver(found->second, reading, one.is_whole);
    }
    failing_since_.reset();
  } catch (const std::exception &error) {
    // Nothing is lost by it: the next reading tells what has changed since the last.
    for (const auto &one : due) {
      const auto found = groups_.find(one.name);
      if (found != groups_.end() && !found->second.sample)
        found->second.sample = next(now, kShortestInterval);
    }
    device_failed(status_of(error), now);
  }
}

/// Rules may be others than when the subscription was made.
bool Hub::may_go_on(Group &group) {
  if (session_.guard().rights(group.who).run("ietf-netconf", kOperation).permits) return true;
  const grpc::Status status(grpc::StatusCode::PERMISSION_DENIED,
                            "user " + group.who.user() + " may not read any longer");
  const auto members = group.members;  // with the last of them the group goes
  for (const auto id : members) close(id, status);
  return false;
}

void Hub::device_failed(const grpc::Status &status, Clock::time_point now) {
  if (!failing_since_) failing_since_ = now;
  if (now - *failing_since_ < kPatience) return;
  failing_since_.reset();
  close_all(status);
}

}  // namespace ymap::telemetry
