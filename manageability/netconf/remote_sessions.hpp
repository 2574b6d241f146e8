/// \file
/// A session of a server whose device is elsewhere: it is one among the device's own sessions.
#pragma once

#include <ctime>

#include "remote_device.hpp"
#include "session_control.hpp"

namespace ymap::netconf {

/// The session has the id of that at the device, so that whoever holds a lock has one name at both.
class RemoteSessions : public SessionControl {
 public:
  /// Connects. `device` must outlive the object. Throws UsageError.
  RemoteSessions(RemoteDevice &device, const Peer &peer);
  ~RemoteSessions() override { device_.disconnect(); }
  RemoteSessions(const RemoteSessions &) = delete;
  RemoteSessions &operator=(const RemoteSessions &) = delete;

  uint32_t id() const override { return self_.id; }
  std::vector<device::SessionRecord> live() const override { return {self_}; }
  std::optional<Lock> lock_state(device::Datastore datastore) const override;
  void lock(device::Datastore datastore) override;
  void unlock(device::Datastore datastore) override;
  void kill(uint32_t id) override { device_.kill(id); }

 private:
  RemoteDevice &device_;
  device::SessionRecord self_;
  std::optional<Lock> lock_;  ///< on running; of others' locks the device tells when they are in the way
};

}  // namespace ymap::netconf
