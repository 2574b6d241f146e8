/// \file
/// What goes to subscribers at one time, and what of it waits for one that is slow.
#pragma once

#include <grpcpp/support/byte_buffer.h>

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "gnmi.pb.h"

namespace ymap::telemetry {

/// Notifications, and the messages that they are, which all who get them share.
struct Batch {
  /// `is_synced`: all that there was has been told with it.
  explicit Batch(std::vector<::gnmi::Notification> told, bool is_synced = false);

  std::vector<::gnmi::Notification> notifications;
  bool is_synced = false;
  std::vector<grpc::ByteBuffer> messages;  ///< SubscribeResponse
};

/// What a subscriber has not taken yet. Of each value only the newest waits, with the number of those that it
/// took the place of.
class Backlog {
 public:
  bool empty() const { return next_ == nullptr; }
  void add(std::shared_ptr<const Batch> batch);
  /// The oldest.
  std::shared_ptr<const Batch> take();

 private:
  void merge(const Batch &batch);
  std::shared_ptr<const Batch> merged() const;

  struct Value {
    ::gnmi::Path prefix;
    int64_t time = 0;
    ::gnmi::Update update;  ///< of what was deleted the path alone
    bool is_deleted = false;
  };
  std::shared_ptr<const Batch> next_;
  bool is_merged_ = false;  ///< `next_` is made of `values_` when it is taken
  bool is_synced_ = false;
  std::map<std::string, Value> values_;
};

}  // namespace ymap::telemetry
