/// \file
/// Subscriptions, and when who is told what. Runs on the thread of the device.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "batch.hpp"
#include "readings.hpp"
#include "status.hpp"
#include "subscription.hpp"

namespace ymap::telemetry {

/// The way to a subscriber.
class Outlet {
 public:
  virtual ~Outlet() = default;
  virtual void send(std::shared_ptr<const Batch> batch) = 0;
  /// After what was sent; nothing comes after it.
  virtual void close(const grpc::Status &status) = 0;
};

/// Those who want the same at the same times, and may read the same, are one group: what the device says is
/// read, picked and written once for all of them. Samples are taken at multiples of their interval, so that
/// one reading serves the groups of all intervals that fall on it.
class Hub {
 public:
  using Clock = Readings::Clock;
  using StreamId = uint64_t;

  /// `session` and `readings` must outlive the object. `is_told`: edits of others are told by
  /// configuration_changed(); else the configuration is looked at as measurements are.
  Hub(Session &session, Readings &readings, std::size_t most_streams, bool is_told)
      : session_(session), readings_(readings), most_streams_(most_streams), is_told_(is_told) {}

  void limit(std::size_t most_streams) { most_streams_ = most_streams; }

  /// A stream that has said nothing yet.
  void open(StreamId id, const Requester &who, std::shared_ptr<Outlet> outlet);
  /// What a client sends. Closes the stream where that cannot be served.
  void receive(StreamId id, const ::gnmi::SubscribeRequest &request, Clock::time_point now);
  /// The client sends nothing more: a stream goes on, a poll is over.
  void half_close(StreamId id);
  void leave(StreamId id);

  /// Something may be another now than at the last reading.
  void configuration_changed(Clock::time_point now);
  /// Does what is due; returns when there is something to do next.
  std::optional<Clock::time_point> run(Clock::time_point now);

  std::size_t streams() const { return streams_.size(); }
  void close_all(const grpc::Status &status);

 private:
  struct Group {
    Requester who;
    Wish wish;
    Encoding encoding;
    std::set<StreamId> members = {};
    LeafSet last = {};                                  ///< as the members know it
    std::shared_ptr<const Reading> whole_of = nullptr;  ///< what `whole` is of
    std::shared_ptr<const Batch> whole = nullptr;
    std::optional<Clock::time_point> sample = {}, heartbeat = {};  ///< the next
  };
  using GroupName = std::string;
  struct Stream {
    Requester who;
    std::shared_ptr<Outlet> outlet;
    std::optional<SubscriptionWishes> wishes = {};
    std::set<GroupName> groups = {};
  };

  void begin(StreamId id, Stream &stream, const ::gnmi::SubscriptionList &list, Clock::time_point now);
  void join(StreamId id, Stream &stream, const Wish &wish, const std::shared_ptr<const Reading> &reading,
            Clock::time_point now);
  void tell_once(const Stream &stream, Clock::time_point now);
  std::shared_ptr<const Reading> read(const std::vector<const Wish *> &wishes, Clock::time_point now);
  LeafSet leaves(const Requester &who, const Wish &wish, const std::shared_ptr<const Reading> &reading);
  void deliver(Group &group, const std::shared_ptr<const Reading> &reading, bool is_whole);
  void send(const Group &group, const std::shared_ptr<const Batch> &batch);
  /// Of the group's `last`, which is of `reading`.
  const std::shared_ptr<const Batch> &whole(Group &group, const std::shared_ptr<const Reading> &reading);
  /// Reads for the groups and tells them; `is_whole` of each whether it gets all.
  struct Due {
    GroupName name;
    bool is_whole;
  };
  void serve(const std::vector<Due> &due, Clock::time_point now);
  bool is_other_than_told();
  bool may_go_on(Group &group);
  void device_failed(const grpc::Status &status, Clock::time_point now);
  void close(StreamId id, const grpc::Status &status);

  Session &session_;
  Readings &readings_;
  std::size_t most_streams_;
  bool is_told_;
  std::map<StreamId, Stream> streams_;
  std::map<GroupName, Group> groups_;
  std::optional<uint64_t> told_;                    ///< version of what runs, see device::Device
  std::optional<Clock::time_point> failing_since_;  ///< the device
};

}  // namespace ymap::telemetry
