/// \file
/// The server's end of a session: standard input and output, and the signals that end it.
#pragma once

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "channel.hpp"

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

  void use(Framing framing) { channel_.use(framing); }
  Framing framing() const { return channel_.framing(); }

  /// When the peer of this descriptor hangs up, receive() throws TransportError; -1 for none.
  void watch(int lifeline) { channel_.watch(lifeline); }

  /// The next message, in part if it is too big; nothing when the client ends its stream between two
  /// messages. Throws SessionKilled, FramingError, and TransportError, also when `patience` is over.
  std::optional<Deframer::Message> receive(std::optional<std::chrono::milliseconds> patience = std::nullopt);

  /// All of it, at the client's speed. Throws SessionKilled, TransportError.
  void send(std::string_view message);

 private:
  Stream::Signals signals_;
  Channel channel_;
};

}  // namespace ymap::netconf
