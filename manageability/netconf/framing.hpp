/// \file
/// Framing of NETCONF messages on a stream (RFC 6242, section 4).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ymap::netconf {

/// What ends a message in the first of the two framings, and every hello.
inline constexpr std::string_view kEndOfMessage = "]]>]]>";

/// Both peers begin with the first and go on with the second after their hellos if both offer base:1.1.
enum class Framing { end_of_message, chunked };

/// The stream breaks the framing. Where the next message begins is not known, so the session must end.
struct FramingError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Takes messages out of a stream. What a message may cost is limited, whatever its sender does.
class Deframer {
 public:
  /// Messages of more than `largest` bytes are cut.
  explicit Deframer(std::size_t largest) : largest_(largest) {}

  /// For the messages that next() has not given out yet.
  void use(Framing framing) { framing_ = framing; }

  void feed(std::string_view bytes) {
    input_.erase(0, taken_);
    taken_ = 0;
    input_.append(bytes);
  }

  struct Message {
    std::string text;
    bool cut = false;  ///< too big: only its begin, at most 64 KiB
  };
  /// The next whole message, nothing until there is one. Throws FramingError.
  std::optional<Message> next();

  /// The message that has begun is too big already, however much of it is still to come.
  bool cuts() const { return message_.cut; }

  /// No message is begun: the stream may end here.
  bool idle() const;

 private:
  std::optional<Message> next_marked();
  std::optional<Message> next_chunked();
  /// False: the header is not there yet. Sets `remaining_`, to 0 for the end of the message.
  bool read_chunk_header();
  /// What is not yet looked at.
  std::string_view input() const { return std::string_view(input_).substr(taken_); }
  void keep(std::string_view part);
  Message take();

  std::size_t largest_;
  Framing framing_ = Framing::end_of_message;
  std::string input_;
  std::size_t taken_ = 0;  ///< bytes of `input_`; erased by the next feed() only, as chunks may be tiny
  Message message_;        ///< so far
  bool begun_ = false;
  uint64_t remaining_ = 0;  ///< bytes of the current chunk
};

/// A message as it goes out.
std::string framed(std::string_view message, Framing framing);

}  // namespace ymap::netconf
