/// \file
/// The client's end of a session.
#pragma once

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>

#include "channel.hpp"
#include "ssh_process.hpp"
#include "xml_document.hpp"

namespace ymap::netconf {

/// What the server sends is no NETCONF message. The text tells why.
struct BadMessage : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The server has ended the connection.
struct ConnectionEnded : BadMessage {
  using BadMessage::BadMessage;
};

/// What is told of messages on standard error, while they come and go.
enum class MessageLog { nothing, sizes_and_times, texts_too };

/// The only reader of what a server sends: nobody else sees a message before it is whole, within the limits
/// of xml_document.hpp, and well-formed. Errors beside BadMessage are UsageErrors, their text to stand after
/// the server's name.
class ServerChannel {
 public:
  /// Starts ssh. `patience` is for messages.
  ServerChannel(const Destination &destination, std::chrono::milliseconds patience, MessageLog log);

  /// When an answer that is asked for now is too late.
  Stream::Clock::time_point end_of_patience() const { return Stream::Clock::now() + patience_; }

  void use(Framing framing) { channel_.use(framing); }

  /// Nothing more is to come: the server, or ssh, has ended.
  bool is_ended() const;
  int descriptor() const { return ssh_.from_server(); }

  /// All of it before `end`. Throws UsageError, and ConnectionEnded if the server has not got all of it.
  void send(std::string_view message, Stream::Clock::time_point end);

  /// The next message, nullptr if the server ends its stream before one begins. Throws BadMessage, and
  /// UsageError if the message is not whole before `end`.
  std::unique_ptr<XmlDocument> receive(Stream::Clock::time_point end);

 private:
  [[noreturn]] void give_up() const;
  void tell(const char *direction, std::string_view message, const std::string &when) const;

  std::string server_;
  MessageLog log_;
  Stream::Clock::time_point asked_{};  ///< when the last message went out
  std::chrono::milliseconds patience_;
  SshProcess ssh_;
  Channel channel_;
};

}  // namespace ymap::netconf
