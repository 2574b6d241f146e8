/// \file
/// A pipe that closes itself.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

#include "rpc_error.hpp"

namespace ymap::netconf {

/// Both ends, which no child process inherits.
class Pipe {
 public:
  enum End : std::size_t { reading, writing };

  /// Throws UsageError.
  Pipe() {
    if (pipe2(ends_.data(), O_CLOEXEC) != 0)
      throw UsageError(std::string("no pipe can be made: ") + std::strerror(errno));
  }
  ~Pipe() {
    shut(reading);
    shut(writing);
  }
  Pipe(const Pipe &) = delete;
  Pipe &operator=(const Pipe &) = delete;

  int operator[](End end) const { return ends_[end]; }
  void shut(End end) {
    if (const int open = std::exchange(ends_[end], -1); open >= 0) close(open);
  }

 private:
  std::array<int, 2> ends_ = {-1, -1};
};

}  // namespace ymap::netconf
