/// \file
/// The gNMI service: bytes on gRPC's threads, all else on the worker's.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include "gnmi.grpc.pb.h"
#include "identity.hpp"
#include "running_watch.hpp"
#include "stream.hpp"
#include "target.hpp"
#include "worker.hpp"

namespace ymap::telemetry {

/// Typed but for Subscribe, whose messages are written once for all subscribers.
using ServiceBase = ::gnmi::gNMI::WithCallbackMethod_Capabilities<
    ::gnmi::gNMI::WithCallbackMethod_Get<::gnmi::gNMI::WithCallbackMethod_Set<
        ::gnmi::gNMI::WithRawCallbackMethod_Subscribe<::gnmi::gNMI::Service>>>>;

class Service final : public ServiceBase, public StreamEvents {
 public:
  struct Limits {
    std::size_t subscriptions;
    std::chrono::seconds stalled;  ///< that a client may take nothing
  };
  /// All must outlive the object, and from here on the session is the worker's.
  Service(Session &session, Identification &identification, Limits limits);

  void limit(std::size_t most_subscriptions);
  /// Ends all streams.
  void close();

 private:
  grpc::ServerUnaryReactor *Capabilities(grpc::CallbackServerContext *context,
                                         const ::gnmi::CapabilityRequest *request,
                                         ::gnmi::CapabilityResponse *response) override;
  grpc::ServerUnaryReactor *Get(grpc::CallbackServerContext *context, const ::gnmi::GetRequest *request,
                                ::gnmi::GetResponse *response) override;
  grpc::ServerUnaryReactor *Set(grpc::CallbackServerContext *context, const ::gnmi::SetRequest *request,
                                ::gnmi::SetResponse *response) override;
  grpc::ServerBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer> *Subscribe(
      grpc::CallbackServerContext *context) override;

  /// `work` makes the answer on the worker; `after` is what it leaves to do behind it.
  using Work = std::function<grpc::Status(const Caller &caller)>;
  grpc::ServerUnaryReactor *answer(grpc::CallbackServerContext &context, Work work,
                                   std::function<void()> after = {});
  void received(std::shared_ptr<Stream> stream, const grpc::ByteBuffer &message) override;
  void half_closed(Hub::StreamId id) override;
  void gone(Hub::StreamId id) override;

  Identification &identification_;
  Limits limits_;
  std::optional<device::RunningWatch> watch_;
  Target target_;
  std::optional<Worker> worker_;  ///< the first to go
};

}  // namespace ymap::telemetry
