/// \file
/// Readings of the device, leaf by leaf, and the notifications that tell of them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "access_rules.hpp"
#include "gnmi.pb.h"
#include "part.hpp"
#include "pattern.hpp"
#include "value.hpp"

namespace ymap::telemetry {

/// What the device said.
struct Reading {
  Data data;
  int64_t time = 0;  ///< nanoseconds since the epoch
};

/// What the user may read of it: itself, or a part.
std::shared_ptr<const Reading> readable(const Schema &schema, const Rights &rights,
                                        std::shared_ptr<const Reading> reading);

/// When the values of a leaf's siblings were what they are, itself included.
class ValueTimes {
 public:
  /// `siblings` of a reading of that time.
  ValueTimes(const Data &siblings, int64_t reading);
  /// A statistic's is the end of the time that it is of.
  int64_t of(const SchemaNode &leaf) const;

 private:
  int64_t reading_;
  int64_t statistics_;
};

/// A leaf of a reading.
struct Leaf {
  std::string path;  ///< as faults have it
  Trail trail;
  int64_t time = 0;  ///< of its value
  const std::string &value() const { return trail.back()->value; }
};

/// Leaves in the order of the model, with the reading that they are of.
class LeafSet {
 public:
  LeafSet() = default;
  LeafSet(const Schema &schema, std::shared_ptr<const Reading> reading, Part part,
          const std::vector<const Pattern *> &patterns);
  LeafSet(LeafSet &&) = default;
  LeafSet &operator=(LeafSet &&) = default;

  const std::vector<Leaf> &leaves() const { return leaves_; }
  /// nullptr if there is none.
  const Leaf *find(const std::string &path) const;

 private:
  void add(const Schema &schema, Trail &trail, const std::string &path, Part part, int64_t time);

  std::shared_ptr<const Reading> reading_;
  std::vector<Leaf> leaves_;
  std::unordered_map<std::string_view, std::size_t> index_;  ///< texts of `leaves_`
};

/// What a client wants to see again in the prefix of its answers.
struct Echo {
  std::string target, origin;
};

/// Collects leaves in notifications: those of one list entry and one time in one, with the entry's path as
/// prefix.
class NotificationWriter {
 public:
  NotificationWriter(const Schema &schema, Encoding encoding, Echo echo)
      : schema_(schema), encoding_(encoding), echo_(std::move(echo)) {}

  void update(const Leaf &leaf);
  /// `time`: when it was found gone.
  void remove(const Leaf &leaf, int64_t time);
  std::vector<::gnmi::Notification> take() { return std::move(notifications_); }

 private:
  ::gnmi::Notification &notification(const Trail &trail, std::size_t entry, int64_t time);

  const Schema &schema_;
  Encoding encoding_;
  Echo echo_;
  std::vector<::gnmi::Notification> notifications_;
  std::vector<const DataNode *> entries_;  ///< of each notification; nullptr: of none
};

}  // namespace ymap::telemetry
