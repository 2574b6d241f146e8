/// \file
/// A client's subscription to events (RFC 5277).
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "change_record.hpp"
#include "events.hpp"
#include "guard.hpp"
#include "requester.hpp"
#include "stream.hpp"
#include "xml_document.hpp"

namespace ymap::netconf {

/// What a <create-subscription> says. Times are nanoseconds since the epoch.
struct SubscriptionParameters {
  std::optional<XmlElements> filter;
  std::optional<int64_t> start, stop;
};

/// Throws RpcError. `path` is that of the element around the operation.
SubscriptionParameters parse_subscription(const XmlElement &operation, const std::string &path);

/// The subscription of one session, of which there is one at a time. Its events are what the record takes, by
/// whichever process.
class Subscriber : public Attention {
 public:
  using Send = std::function<void(const std::string &message)>;

  /// `send` gives a message to the client. All must outlive the object.
  Subscriber(Guard &guard, const Requester &who, Send send)
      : guard_(guard), who_(who), send_(std::move(send)) {}

  /// `message` is what the parameters are of. Throws RpcError, device::FolderError.
  void begin(const SubscriptionParameters &parameters, std::shared_ptr<const void> message,
             const std::filesystem::path &folder);

  int descriptor() override;
  std::optional<Time> due() override;
  void attend() override;

 private:
  struct Subscription {
    SubscriptionParameters parameters;
    std::shared_ptr<const void> message;
    RecordReader record;
    bool is_new = true;
  };
  void tell(const RecordEntry &entry);
  void tell(const RecordEntry &entry, const Event &event);

  Guard &guard_;
  const Requester &who_;
  Send send_;
  std::optional<Subscription> subscription_;
};

}  // namespace ymap::netconf
