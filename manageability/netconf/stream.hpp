/// \file
/// Bytes to and from a peer that may be slow, silent or gone.
#pragma once

#include <chrono>
#include <csignal>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace ymap::netconf {

/// The peer of the descriptor that is watched beside the stream is gone.
struct LifelineCut : std::runtime_error {
  LifelineCut() : std::runtime_error("what the stream depends on has ended") {}
};

/// What there is to do beside the peer's messages.
class Attention {
 public:
  using Time = std::chrono::steady_clock::time_point;

  virtual ~Attention() = default;
  /// Readable when there is something to do; -1 for none.
  virtual int descriptor() = 0;
  /// When there is in any case; nothing: never.
  virtual std::optional<Time> due() = 0;
  /// Does it. May write to the stream, and throw.
  virtual void attend() = 0;
};

class Stream {
 public:
  using Clock = std::chrono::steady_clock;
  /// When it is too late; nothing: never.
  using End = std::optional<Attention::Time>;

  /// For a process that signals shall reach only while it waits.
  struct Signals {
    sigset_t mask{};            ///< while it waits
    void (*check)() = nullptr;  ///< called after each wait; may throw
  };

  /// The descriptors stay the caller's, as does `signals`, which must outlive the object.
  Stream(int in, int out, const Signals *signals = nullptr);

  /// Reads end with LifelineCut when the peer of this descriptor hangs up; -1 for none.
  void watch(int lifeline) { lifeline_ = lifeline; }

  /// Seen to while reads wait; may be null. It stays the caller's.
  void attend(Attention *attention) { attention_ = attention; }

  /// Waits for bytes; valid until the next call. Empty: the peer has ended its stream. Nothing: it is too
  /// late, also where there are bytes. Throws std::system_error.
  std::optional<std::string_view> read(End end);

  /// All of it, at the peer's speed. False: it is too late, and some is not written. Throws
  /// std::system_error, of EPIPE if the process ignores SIGPIPE.
  bool write(std::string_view bytes, End end);
  /// The same, too late when the peer takes nothing for so long.
  bool write(std::string_view bytes, Clock::duration patience);

 private:
  bool wait(int descriptor, short event, End end) const;
  bool attend_if_due(bool is_readable) const;
  std::size_t write_some(std::string_view bytes);

  int in_;
  int out_;
  int lifeline_ = -1;
  Attention *attention_ = nullptr;
  const Signals *signals_;
  std::vector<char> buffer_;
};

}  // namespace ymap::netconf
