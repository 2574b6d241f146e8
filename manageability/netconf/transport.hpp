/// \file
/// The process's own end of the transport: standard input and output, and the signals that end the session.
#pragma once

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "stream.hpp"

namespace ymap::netconf {

/// A signal asked the session to end.
struct SessionKilled : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The client is gone, or does not behave; the session cannot go on.
struct TransportError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Only while it waits for the client do SIGTERM, SIGINT and SIGHUP reach the process: what a request does on
/// the device is done whole. SIGPIPE becomes a TransportError.
class Transport {
 public:
  /// The descriptors stay the caller's. Throws TransportError if they are not open.
  Transport(int in, int out);
  ~Transport();
  Transport(const Transport &) = delete;
  Transport &operator=(const Transport &) = delete;

  /// Waits for bytes; valid until the next call. Empty: the client has ended its stream. Throws
  /// SessionKilled, and TransportError when `patience` is over.
  std::string_view read(std::optional<std::chrono::milliseconds> patience = std::nullopt);

  /// All of it, at the client's speed. Throws SessionKilled, TransportError.
  void write(std::string_view bytes);

 private:
  Stream::Signals signals_;
  Stream stream_;
};

}  // namespace ymap::netconf
