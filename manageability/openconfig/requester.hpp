/// \file
/// Who asks, and by which way.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ymap {

/// Who makes a request. Names are looked up when they are first asked for: that can cost more than a request.
class Requester {
 public:
  /// Whoever this process runs for, which the login has settled. `front` is the way that requests come by.
  static Requester of_process(std::string front);
  /// A user of this system by name, with the groups that a login would give. An unknown one is in no group.
  static Requester of_user(std::string user, std::string front);

  const std::string &user() const;
  /// Unix groups, the primary one first.
  const std::vector<std::string> &groups() const;
  /// Nothing for a name that the system does not know.
  std::optional<uid_t> uid() const { return uid_; }

  std::string front;
  uint32_t session = 0;  ///< see device::Sessions; 0 for none
  std::string peer;      ///< address; empty for none

 private:
  Requester(std::string way, std::optional<uid_t> uid, std::optional<std::string> name)
      : front(std::move(way)), uid_(uid), user_(std::move(name)) {}

  std::optional<uid_t> uid_;
  bool is_process_ = false;
  mutable std::optional<std::string> user_;
  mutable std::optional<std::vector<std::string>> groups_;
};

}  // namespace ymap
