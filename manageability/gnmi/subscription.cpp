// SubscriptionList, checked.
#include "subscription.hpp"

#include <algorithm>
#include <limits>
#include <utility>

#include "refusal.hpp"

namespace ymap::telemetry {
namespace {

using std::chrono::nanoseconds;

/// Of a field in nanoseconds; 0 stays 0.
nanoseconds interval_of(uint64_t value, const char *field, const std::string &path) {
  constexpr auto longest = static_cast<uint64_t>(nanoseconds(std::chrono::hours(24 * 366)).count());
  const auto shortest = static_cast<uint64_t>(kShortestInterval.count());
  if (value != 0 && value < shortest)
    refuse_value(std::string(field) + " " + std::to_string(value) + " ns is shorter than the shortest, " +
                     std::to_string(shortest) + " ns",
                 path);
  return nanoseconds(static_cast<int64_t>(std::min(value, longest)));
}

}  // namespace

std::string Wish::name() const {
  return pattern.text() + "\n" + std::to_string(static_cast<int>(part)) + " " +
         std::to_string(interval.count()) + " " + std::to_string(static_cast<int>(on_change)) +
         std::to_string(static_cast<int>(changes_only)) + " " + std::to_string(heartbeat.count()) + "\n" +
         echo.target + "\n" + echo.origin;
}

SubscriptionWishes::SubscriptionWishes(const Schema &schema, const ::gnmi::SubscriptionList &list,
                                       bool is_told)
    : mode(list.mode()), encoding(supported(list.encoding())), updates_only(list.updates_only()) {
  if (!::gnmi::SubscriptionList::Mode_IsValid(mode))
    refuse_value("mode " + std::to_string(mode) + " is none of STREAM, ONCE, POLL");
  check_models(schema, list.use_models());
  if (list.subscription().empty()) refuse_value("the list holds no subscription");
  if (list.subscription_size() > kMostPaths)
    refuse("too-big", "a list has at most " + std::to_string(kMostPaths) + " subscriptions");
  for (const auto &one : list.subscription()) add(schema, list.prefix(), one, is_told);
}

/// A measurement changes without telling: it is looked at as often as makes sense.
void SubscriptionWishes::add(const Schema &schema, const ::gnmi::Path &prefix,
                             const ::gnmi::Subscription &subscription, bool is_told) {
  Wish wish = {.pattern = Pattern(schema, prefix, subscription.path()),
               .echo = echo_of(prefix, subscription.path())};
  // What is told once has no intervals.
  if (mode != ::gnmi::SubscriptionList::STREAM) {
    wishes.push_back(std::move(wish));
    return;
  }
  const auto &path = wish.pattern.text();
  wish.heartbeat = interval_of(subscription.heartbeat_interval(), "heartbeat_interval", path);
  const auto sample = interval_of(subscription.sample_interval(), "sample_interval", path);
  const auto watch = [&](Wish changing, bool is_looked_at) {
    changing.on_change = true;
    changing.changes_only = true;
    if (is_looked_at || !is_told) changing.interval = kShortestInterval;
    wishes.push_back(std::move(changing));
  };
  switch (subscription.mode()) {
    case ::gnmi::SAMPLE:
      wish.interval = sample.count() == 0 ? kShortestInterval : sample;
      wish.changes_only = subscription.suppress_redundant();
      // Without that each sample is all of it.
      if (!wish.changes_only) wish.heartbeat = nanoseconds(0);
      wishes.push_back(std::move(wish));
      break;
    case ::gnmi::ON_CHANGE:
      watch(wish, wish.pattern.reaches(is_live));
      break;
    case ::gnmi::TARGET_DEFINED: {
      auto settings = wish;
      settings.part = Part::config;
      if (wish.pattern.reaches([](const SchemaNode &node) { return node.is_leaf() && node.is_config; }))
        watch(std::move(settings), false);
      wish.part = Part::state;
      wish.interval = sample.count() == 0 ? kDefaultInterval : sample;
      wish.changes_only = subscription.suppress_redundant();
      if (!wish.changes_only) wish.heartbeat = nanoseconds(0);
      if (wish.pattern.reaches([](const SchemaNode &node) { return node.is_leaf() && !node.is_config; }))
        wishes.push_back(std::move(wish));
      break;
    }
    default:
      refuse_value(
          "mode " + std::to_string(subscription.mode()) + " is none of TARGET_DEFINED, ON_CHANGE, SAMPLE",
          path);
  }
}

}  // namespace ymap::telemetry
