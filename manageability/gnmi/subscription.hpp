/// \file
/// What clients subscribe to.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "get_request.hpp"
#include "leaves.hpp"

namespace ymap::telemetry {

/// A sample more often would tell nothing: the device measures once a second.
inline constexpr std::chrono::nanoseconds kShortestInterval = std::chrono::seconds(1);
/// Of measurements, where the client leaves it to the target.
inline constexpr std::chrono::nanoseconds kDefaultInterval = std::chrono::seconds(10);

/// Leaves, and when a client wants to be told of them.
struct Wish {
  Pattern pattern;
  Part part = Part::all;
  std::chrono::nanoseconds interval{0};   ///< between two samples; 0 for none
  bool on_change = false;                 ///< told when the configuration changes, too
  bool changes_only = false;              ///< a sample holds what is another than in the last
  std::chrono::nanoseconds heartbeat{0};  ///< all of it then; 0 for never
  Echo echo;

  /// The same for wishes that are served alike.
  std::string name() const;
};

/// A checked list.
struct SubscriptionWishes {
  /// `is_told`: edits are told of as they are made. Throws RpcError.
  SubscriptionWishes(const Schema &schema, const ::gnmi::SubscriptionList &list, bool is_told);

  ::gnmi::SubscriptionList::Mode mode;
  Encoding encoding;
  bool updates_only;
  std::vector<Wish> wishes;

 private:
  void add(const Schema &schema, const ::gnmi::Path &prefix, const ::gnmi::Subscription &subscription,
           bool is_told);
};

}  // namespace ymap::telemetry
