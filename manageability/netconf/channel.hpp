/// \file
/// Whole messages to and from a peer: framing over a stream of bytes, the same for both ends of a session.
#pragma once

#include <optional>
#include <stdexcept>
#include <string_view>

#include "framing.hpp"
#include "stream.hpp"

namespace ymap::netconf {

/// The peer did not send, or take, a whole message in time.
struct TooLate : std::runtime_error {
  TooLate() : std::runtime_error("the time is over") {}
};

/// The peer ended its stream in the middle of a message.
struct MessageCutOff : std::runtime_error {
  MessageCutOff() : std::runtime_error("the stream ended in the middle of a message") {}
};

/// Nobody sees a message before it is whole, and one that is too big (xml_document.hpp) only in part.
class Channel {
 public:
  /// What becomes of a message that is too big: received to its end, so that the session can go on, or given
  /// out as soon as it is, so that a peer which never ends it is no trouble.
  enum class TooBig { to_its_end, at_once };

  /// The descriptors stay the caller's, as do `signals`, which must outlive the object.
  Channel(int in, int out, TooBig too_big, const Stream::Signals *signals = nullptr);

  /// For the messages that follow, in both directions. At first it is that of hellos.
  void use(Framing framing);
  Framing framing() const { return framing_; }

  // See Stream.
  void watch(int lifeline) { stream_.watch(lifeline); }
  void attend(Attention *attention) { stream_.attend(attention); }

  /// The next message; nothing if the peer ends its stream before one begins. Throws TooLate, MessageCutOff,
  /// FramingError, std::system_error.
  std::optional<Deframer::Message> receive(Stream::End end);

  /// All of `message`, at the peer's speed. Throws TooLate, std::system_error.
  void send(std::string_view message, Stream::End end);
  /// The same, unless the peer takes nothing for so long.
  void send(std::string_view message, Stream::Clock::duration patience);

 private:
  Stream stream_;
  Deframer deframer_;
  TooBig too_big_;
  Framing framing_ = Framing::end_of_message;
};

}  // namespace ymap::netconf
