/// \file
/// One Subscribe call: bytes in, bytes out.
#pragma once

#include <grpcpp/alarm.h>
#include <grpcpp/support/byte_buffer.h>
#include <grpcpp/support/server_callback.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>

#include "hub.hpp"

namespace ymap::telemetry {

class Stream;

/// What a stream tells of itself, on threads of gRPC.
class StreamEvents {
 public:
  virtual ~StreamEvents() = default;
  /// Stream::read_next() asks for the one after it.
  virtual void received(std::shared_ptr<Stream> stream, const grpc::ByteBuffer &message) = 0;
  virtual void half_closed(Hub::StreamId id) = 0;
  /// Perhaps more than once.
  virtual void gone(Hub::StreamId id) = 0;
};

/// gRPC's threads write what the hub has made. For a client that does not keep up the newest values wait, and
/// one that takes nothing for long is closed.
class Stream final : public grpc::ServerBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer>,
                     public Outlet,
                     public std::enable_shared_from_this<Stream> {
 public:
  /// `events` and `context` must outlive the call. `most_stalled`: how long a client may take nothing.
  Stream(StreamEvents &events, grpc::CallbackServerContext &context, std::chrono::seconds most_stalled);

  Hub::StreamId id() const { return id_; }
  /// Keeps itself until the call is over.
  void hold() { self_ = shared_from_this(); }
  void read_next();

  void send(std::shared_ptr<const Batch> batch) override;
  void close(const grpc::Status &status) override;

 private:
  using Clock = std::chrono::steady_clock;

  void OnReadDone(bool ok) override;
  void OnWriteDone(bool ok) override;
  void OnCancel() override;
  void OnDone() override;

  // Under the mutex.
  void write_next();
  void finish(const grpc::Status &status);

  StreamEvents &events_;
  grpc::CallbackServerContext &context_;
  const std::chrono::seconds most_stalled_;
  const Hub::StreamId id_;
  std::shared_ptr<Stream> self_;
  grpc::ByteBuffer received_;

  std::mutex mutex_;
  std::shared_ptr<const Batch> current_;  ///< what is being written
  std::size_t at_ = 0;                    ///< message of it
  Clock::time_point writing_since_;
  Backlog backlog_;
  std::optional<grpc::Status> last_word_;  ///< when all is written
  bool is_finished_ = false;
  bool is_over_ = false;  ///< nothing may touch the call any more
  grpc::Alarm patience_;  ///< with a client that does not even take the end
};

}  // namespace ymap::telemetry
