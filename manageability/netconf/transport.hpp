/// \file
/// The server's end of a session: standard input and output, and the signals that end it.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "channel.hpp"

namespace ymap::netconf {

/// A signal asked the session to end.
struct SessionKilled : std::runtime_error {
  explicit SessionKilled(const std::string &what, uint32_t killer = 0)
      : std::runtime_error(what), by(killer) {}
  uint32_t by;  ///< session that sent it; 0 for none
};

/// The client is gone, or does not behave; the session cannot go on.
struct TransportError : std::runtime_error {
  /// Why a session ends (RFC 6470).
  enum class Kind : uint8_t { dropped, timeout, bad_hello };
  explicit TransportError(const std::string &what, Kind why = Kind::dropped)
      : std::runtime_error(what), kind(why) {}
  Kind kind;
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

  /// While it waits for the client it sees to this too; may be null.
  void attend(Attention *attention) { channel_.attend(attention); }

  /// All of it, at the client's speed, unless it takes nothing for as long as `patience`. Throws
  /// SessionKilled, TransportError.
  void send(std::string_view message, std::optional<std::chrono::milliseconds> patience = std::nullopt);

 private:
  Stream::Signals signals_;
  Channel channel_;
};

}  // namespace ymap::netconf
