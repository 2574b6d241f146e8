/// \file
/// A file in memory, through which libnetconf2 gets and gives whole messages.
#pragma once

#include <string>

namespace ymap::netconf {

class MemoryFile {
 public:
  /// `name` is for those who look into /proc. Throws std::system_error.
  explicit MemoryFile(const char *name);
  ~MemoryFile();
  MemoryFile(const MemoryFile &) = delete;
  MemoryFile &operator=(const MemoryFile &) = delete;

  /// Stays the object's.
  int descriptor() const { return descriptor_; }

  /// Makes `bytes` all that there is to read. Throws std::system_error.
  void put(const std::string &bytes) const;

  /// What was written, which is then gone. Throws std::system_error.
  std::string take() const;

 private:
  int descriptor_;
};

}  // namespace ymap::netconf
