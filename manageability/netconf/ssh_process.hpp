/// \file
/// NETCONF's transport as its client sees it (RFC 6242): OpenSSH's ssh, which knows the user's keys, agent
/// and configuration.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "pipe.hpp"

namespace ymap::netconf {

/// A NETCONF server's address.
struct Destination {
  std::string host;          ///< with "USER@" before it where a user was named, as ssh takes it
  uint16_t port = 830;       ///< RFC 6242, section 4
  std::string text() const;  ///< for messages
};

/// Reads "[USER@]HOST[:PORT]"; an IPv6 address stands in brackets. Throws UsageError.
Destination parse_destination(const std::string &text);

/// A running `ssh -s DESTINATION netconf`; the environment variable YMAP_SSH names another command, which the
/// shell splits. Its standard error is the tool's own, its questions come on the terminal.
class SshProcess {
 public:
  /// Throws UsageError when the command cannot be started; what ssh itself cannot do shows as its end.
  explicit SshProcess(const Destination &destination);
  /// Closes both pipes, which ends ssh; one that stays is killed.
  ~SshProcess();
  SshProcess(const SshProcess &) = delete;
  SshProcess &operator=(const SshProcess &) = delete;

  int to_server() const { return input_[Pipe::writing]; }
  int from_server() const { return output_[Pipe::reading]; }

 private:
  Pipe input_;
  Pipe output_;
  pid_t process_ = -1;
};

}  // namespace ymap::netconf
