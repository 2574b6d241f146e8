// A reactor of gRPC's callback interface.
#include "stream.hpp"

#include <grpcpp/server_context.h>

#include <utility>

namespace ymap::telemetry {
namespace {

/// Then a client that is told why its stream ends must have taken it; the connection is not kept for it.
constexpr std::chrono::seconds kTimeToTakeTheEnd(5);

Hub::StreamId next_id() {
  static std::atomic<Hub::StreamId> last = 0;
  return ++last;
}

}  // namespace

Stream::Stream(StreamEvents &events, grpc::CallbackServerContext &context, std::chrono::seconds most_stalled)
    : events_(events), context_(context), most_stalled_(most_stalled), id_(next_id()) {}

void Stream::read_next() {
  const std::lock_guard lock(mutex_);
  if (!is_finished_) StartRead(&received_);
}

void Stream::OnReadDone(bool ok) {
  ok ? events_.received(shared_from_this(), received_) : events_.half_closed(id_);
}

void Stream::send(std::shared_ptr<const Batch> batch) {
  if (batch->messages.empty()) return;
  const std::lock_guard lock(mutex_);
  if (is_finished_) return;
  if (current_ == nullptr) {
    current_ = std::move(batch);
    at_ = 0;
    write_next();
    return;
  }
  if (Clock::now() - writing_since_ <= most_stalled_) return backlog_.add(std::move(batch));
  finish({grpc::StatusCode::RESOURCE_EXHAUSTED,
          "the client has taken nothing for " + std::to_string(most_stalled_.count()) + " seconds"});
}

void Stream::close(const grpc::Status &status) {
  const std::lock_guard lock(mutex_);
  if (is_finished_) return;
  if (status.ok() && current_ != nullptr)
    last_word_ = status;
  else
    finish(status);
}

void Stream::write_next() {
  writing_since_ = Clock::now();
  StartWrite(&current_->messages[at_]);
}

void Stream::OnWriteDone(bool ok) {
  const std::lock_guard lock(mutex_);
  if (!ok || is_finished_) return;
  if (++at_ == current_->messages.size()) {
    current_ = backlog_.empty() ? nullptr : backlog_.take();
    at_ = 0;
  }
  if (current_ != nullptr)
    write_next();
  else if (last_word_)
    finish(*last_word_);
}

void Stream::finish(const grpc::Status &status) {
  is_finished_ = true;
  Finish(status);
  if (current_ == nullptr) return;
  patience_.Set(std::chrono::system_clock::now() + kTimeToTakeTheEnd, [weak = weak_from_this()](bool is_due) {
    const auto self = weak.lock();
    if (!self) return;
    const std::lock_guard lock(self->mutex_);
    if (is_due && !self->is_over_) self->context_.TryCancel();
  });
}

void Stream::OnCancel() {
  events_.gone(id_);
  const std::lock_guard lock(mutex_);
  if (is_finished_) return;
  is_finished_ = true;
  Finish(grpc::Status::CANCELLED);
}

void Stream::OnDone() {
  events_.gone(id_);
  {
    const std::lock_guard lock(mutex_);
    is_finished_ = true;
    is_over_ = true;
  }
  patience_.Cancel();
  self_.reset();
}

}  // namespace ymap::telemetry
