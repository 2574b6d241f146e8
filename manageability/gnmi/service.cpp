// From gRPC's threads to the worker and back.
#include "service.hpp"

#include <grpcpp/support/proto_buffer_reader.h>

#include <utility>

namespace ymap::telemetry {
namespace {

std::optional<device::RunningWatch> watch_of(Session &session) {
  const auto folder = session.device().folder();
  if (folder.empty() || session.device().near() == nullptr) return std::nullopt;
  device::RunningWatch watch(folder);
  return watch.descriptor() < 0 ? std::nullopt : std::optional(std::move(watch));
}

}  // namespace

Service::Service(Session &session, Identification &identification, Limits limits)
    : identification_(identification),
      limits_(limits),
      watch_(watch_of(session)),
      target_(session, limits.subscriptions, watch_.has_value()) {
  Worker::Duties duties;
  duties.run = [this](Worker::Clock::time_point now) { return target_.hub().run(now); };
  if (watch_) {
    duties.watched = watch_->descriptor();
    duties.readable = [this] {
      if (watch_->changed()) target_.hub().configuration_changed(Worker::Clock::now());
    };
  }
  worker_.emplace(std::move(duties));
}

void Service::limit(std::size_t most_subscriptions) {
  worker_->post([this, most_subscriptions] { target_.hub().limit(most_subscriptions); });
}

void Service::close() {
  worker_->post([this] { target_.hub().close_all({grpc::StatusCode::UNAVAILABLE, "the server stops"}); });
}

grpc::ServerUnaryReactor *Service::answer(grpc::CallbackServerContext &context, Work work,
                                          std::function<void()> after) {
  auto *reactor = context.DefaultReactor();
  identification_.identify(context, [this, reactor, work = std::move(work), after = std::move(after)](
                                        const grpc::Status &status, const Caller &caller) {
    if (!status.ok()) return reactor->Finish(status);
    const bool is_accepted = worker_->offer([reactor, caller, work, after] {
      const auto result = work(caller);
      reactor->Finish(result);
      if (result.ok() && after) after();
    });
    if (!is_accepted) reactor->Finish({grpc::StatusCode::RESOURCE_EXHAUSTED, "too many requests wait"});
  });
  return reactor;
}

grpc::ServerUnaryReactor *Service::Capabilities(grpc::CallbackServerContext *context,
                                                const ::gnmi::CapabilityRequest *request,
                                                ::gnmi::CapabilityResponse *response) {
  return answer(*context, [this, request, response](const Caller &) {
    return target_.capabilities(*request, *response);
  });
}

grpc::ServerUnaryReactor *Service::Get(grpc::CallbackServerContext *context,
                                       const ::gnmi::GetRequest *request, ::gnmi::GetResponse *response) {
  return answer(*context, [this, request, response](const Caller &caller) {
    return target_.get(caller, *request, *response);
  });
}

grpc::ServerUnaryReactor *Service::Set(grpc::CallbackServerContext *context,
                                       const ::gnmi::SetRequest *request, ::gnmi::SetResponse *response) {
  return answer(
      *context,
      [this, request, response](const Caller &caller) { return target_.set(caller, *request, *response); },
      [this] { target_.hub().configuration_changed(Worker::Clock::now()); });
}

grpc::ServerBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer> *Service::Subscribe(
    grpc::CallbackServerContext *context) {
  const auto stream = std::make_shared<Stream>(*this, *context, limits_.stalled);
  stream->hold();
  identification_.identify(*context, [this, stream](const grpc::Status &status, const Caller &caller) {
    if (!status.ok()) return stream->close(status);
    worker_->post([this, stream, caller] {
      target_.hub().open(stream->id(), target_.requester(caller), stream);
      stream->read_next();
    });
  });
  return stream.get();
}

void Service::received(std::shared_ptr<Stream> stream, const grpc::ByteBuffer &message) {
  worker_->post([this, stream = std::move(stream), message = grpc::ByteBuffer(message)]() mutable {
    grpc::ProtoBufferReader reader(&message);
    ::gnmi::SubscribeRequest request;
    if (request.ParseFromZeroCopyStream(&reader)) {
      target_.hub().receive(stream->id(), request, Worker::Clock::now());
      return stream->read_next();
    }
    target_.hub().leave(stream->id());
    stream->close({grpc::StatusCode::INVALID_ARGUMENT, "the message is no SubscribeRequest"});
  });
}

void Service::half_closed(Hub::StreamId id) {
  worker_->post([this, id] { target_.hub().half_close(id); });
}

void Service::gone(Hub::StreamId id) {
  worker_->post([this, id] { target_.hub().leave(id); });
}

}  // namespace ymap::telemetry
