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

class Stream {
 public:
  using Clock = std::chrono::steady_clock;
  /// When it is too late; nothing: never.
  using End = std::optional<Clock::time_point>;

  /// For a process that signals shall reach only while it waits.
  struct Signals {
    sigset_t mask{};            ///< while it waits
    void (*check)() = nullptr;  ///< called after each wait; may throw
  };

  /// The descriptors stay the caller's, as does `signals`, which must outlive the object.
  Stream(int in, int out, const Signals *signals = nullptr);

  /// Reads end with LifelineCut when the peer of this descriptor hangs up; -1 for none.
  void watch(int lifeline) { lifeline_ = lifeline; }

  /// Waits for bytes; valid until the next call. Empty: the peer has ended its stream. Nothing: it is too
  /// late, also where there are bytes. Throws std::system_error.
  std::optional<std::string_view> read(End end);

  /// All of it, at the peer's speed. False: it is too late, and some is not written. Throws
  /// std::system_error, of EPIPE if the process ignores SIGPIPE.
  bool write(std::string_view bytes, End end);

 private:
  bool wait(int descriptor, short event, End end) const;

  int in_;
  int out_;
  int lifeline_ = -1;
  const Signals *signals_;
  std::vector<char> buffer_;
};

}  // namespace ymap::netconf
