// Messages out of a stream and into it.
#include "framing.hpp"

#include <algorithm>
#include <utility>

#include "printable.hpp"
#include "xml_document.hpp"

namespace ymap::netconf {
namespace {

constexpr std::string_view kEndOfChunks = "\n##\n";
constexpr std::size_t kKeptOfCut = kLongestTag;
constexpr uint64_t kLargestChunk = 4'294'967'295;
constexpr std::size_t kLongestHeader = std::string_view("\n#4294967295\n").size();

[[noreturn]] void bad_header(std::string_view header) {
  std::string shown;
  for (const char character : header) shown += character == '\n' ? "\\n" : std::string(1, character);
  throw FramingError("bad chunk header \"" + printable(shown) +
                     "\": expected a line feed, #, the size without leading zeros, and a line feed");
}

bool is_digit(char character) {
  return character >= '0' && character <= '9';
}

}  // namespace

std::optional<Deframer::Message> Deframer::next() {
  return framing_ == Framing::chunked ? next_chunked() : next_marked();
}

bool Deframer::idle() const {
  return !begun_ && trimmed(input()).empty();
}

std::optional<Deframer::Message> Deframer::next_marked() {
  const auto left = input();
  const auto end = left.find(kEndOfMessage);
  if (end != std::string_view::npos) {
    keep(left.substr(0, end));
    taken_ += end + kEndOfMessage.size();
    return take();
  }
  // The last bytes may be the begin of the marker.
  const auto sure = left.size() - std::min(left.size(), kEndOfMessage.size() - 1);
  keep(left.substr(0, sure));
  taken_ += sure;
  return std::nullopt;
}

std::optional<Deframer::Message> Deframer::next_chunked() {
  while (true) {
    if (remaining_ == 0) {
      if (!read_chunk_header()) return std::nullopt;
      if (remaining_ == 0) return take();
    }
    const auto count = static_cast<std::size_t>(std::min<uint64_t>(remaining_, input().size()));
    keep(input().substr(0, count));
    taken_ += count;
    remaining_ -= count;
    if (remaining_ > 0) return std::nullopt;
  }
}

bool Deframer::read_chunk_header() {
  const auto header = input().substr(0, kLongestHeader);
  if (begun_ && header.starts_with(kEndOfChunks.substr(0, 3))) {
    if (header.size() < kEndOfChunks.size()) return false;
    if (!header.starts_with(kEndOfChunks)) bad_header(header.substr(0, kEndOfChunks.size()));
    taken_ += kEndOfChunks.size();
    return true;
  }
  uint64_t size = 0;
  for (std::size_t at = 0; at < header.size(); ++at) {
    const char character = header[at];
    if (at < 2) {
      if (character != "\n#"[at]) bad_header(header.substr(0, at + 1));
      continue;
    }
    if (character == '\n' && at > 2) {
      remaining_ = size;
      begun_ = true;
      taken_ += at + 1;
      return true;
    }
    if (!is_digit(character) || (at == 2 && character == '0')) bad_header(header.substr(0, at + 1));
    size = size * 10 + static_cast<uint64_t>(character - '0');
    if (size > kLargestChunk) bad_header(header.substr(0, at + 1));
  }
  if (header.size() == kLongestHeader) bad_header(header);
  return false;
}

void Deframer::keep(std::string_view part) {
  if (framing_ == Framing::end_of_message && !begun_) begun_ = !trimmed(part).empty();
  if (!message_.cut && message_.text.size() + part.size() > largest_) {
    message_.cut = true;
    const auto kept = std::min(kKeptOfCut, message_.text.size());
    message_.text.resize(kept);
    message_.text.append(part.substr(0, kKeptOfCut - kept));
    message_.text.shrink_to_fit();
  }
  if (!message_.cut) message_.text.append(part);
}

Deframer::Message Deframer::take() {
  begun_ = false;
  return std::exchange(message_, {});
}

std::string framed(std::string_view message, Framing framing) {
  std::string text;
  if (framing == Framing::end_of_message) return text.append(message).append(kEndOfMessage);
  text = "\n#" + std::to_string(message.size()) + "\n";
  return text.append(message).append(kEndOfChunks);
}

}  // namespace ymap::netconf
