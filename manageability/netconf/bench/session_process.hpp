/// \file
/// A `ymap netconf` of its own, driven over pipes: the server's work without the transport's.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace ymap::bench {

class SessionProcess {
 public:
  /// Starts the tool on the device `folder` and exchanges hellos (base:1.0). Throws std::runtime_error.
  SessionProcess(const char *tool, const std::filesystem::path &folder);
  /// Closes the session and waits for the process.
  ~SessionProcess();
  SessionProcess(const SessionProcess &) = delete;
  SessionProcess &operator=(const SessionProcess &) = delete;

  /// Sends `message` and waits for the reply. Throws std::runtime_error when the session ended.
  std::string exchange(const std::string &message);

  /// Processor time of the process so far, in seconds (clock ticks: 10 ms).
  double processor_time() const;

  /// Of the process, in KiB.
  struct Memory {
    double resident = 0;
    double own = 0;  ///< what it shares with no other process
    double peak = 0;
  };
  Memory memory() const;

 private:
  std::string receive();

  pid_t process_ = -1;
  int input_ = -1;
  int output_ = -1;
  std::string received_;
};

}  // namespace ymap::bench
