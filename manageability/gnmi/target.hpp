/// \file
/// What a gNMI target answers. Runs on the thread of the device.
#pragma once

#include <grpcpp/support/status.h>

#include <chrono>
#include <map>
#include <string>
#include <utility>

#include "gnmi.pb.h"
#include "hub.hpp"
#include "readings.hpp"
#include "session.hpp"

namespace ymap::telemetry {

/// A user as the connection tells.
struct Caller {
  std::string user;
  std::string peer;  ///< address; empty for none
};

class Target {
 public:
  /// `session` must outlive the object. `is_told`: see Hub.
  Target(Session &session, std::size_t most_streams, bool is_told)
      : session_(session), readings_(session), hub_(session, readings_, most_streams, is_told) {}

  grpc::Status capabilities(const ::gnmi::CapabilityRequest &request,
                            ::gnmi::CapabilityResponse &response) const;
  grpc::Status get(const Caller &caller, const ::gnmi::GetRequest &request, ::gnmi::GetResponse &response);
  /// Subscribers are to be told when it is answered, see Hub::configuration_changed().
  grpc::Status set(const Caller &caller, const ::gnmi::SetRequest &request, ::gnmi::SetResponse &response);

  Hub &hub() { return hub_; }
  /// Looked up once in a while: groups may change.
  const Requester &requester(const Caller &caller);

 private:
  using Clock = std::chrono::steady_clock;

  Session &session_;
  Readings readings_;
  Hub hub_;
  struct Known {
    Requester who;
    Clock::time_point since;
  };
  std::map<std::string, Known> known_;
};

}  // namespace ymap::telemetry
