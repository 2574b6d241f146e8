// Framing on top of a stream.
#include "channel.hpp"

#include "xml_document.hpp"

namespace ymap::netconf {

Channel::Channel(int in, int out, TooBig too_big, const Stream::Signals *signals)
    : stream_(in, out, signals), deframer_(kLargestDocument), too_big_(too_big) {}

void Channel::use(Framing framing) {
  framing_ = framing;
  deframer_.use(framing);
}

std::optional<Deframer::Message> Channel::receive(Stream::End end) {
  while (true) {
    if (auto message = deframer_.next()) return message;
    if (too_big_ == TooBig::at_once && deframer_.cuts()) return Deframer::Message{.text = {}, .cut = true};
    const auto bytes = stream_.read(end);
    if (!bytes) throw TooLate();
    if (bytes->empty()) {
      if (deframer_.idle()) return std::nullopt;
      throw MessageCutOff();
    }
    deframer_.feed(*bytes);
  }
}

void Channel::send(std::string_view message, Stream::End end) {
  if (!stream_.write(framed(message, framing_), end)) throw TooLate();
}

void Channel::send(std::string_view message, Stream::Clock::duration patience) {
  if (!stream_.write(framed(message, framing_), patience)) throw TooLate();
}

}  // namespace ymap::netconf
