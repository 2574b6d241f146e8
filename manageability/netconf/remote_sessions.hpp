/// \file
/// A session of a server whose device is elsewhere: it is one among the device's own sessions.
#pragma once

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
  /// As the device tells it, if it does.
  State state() override;
  void lock(device::Datastore datastore) override;
  void unlock(device::Datastore datastore) override;
  void kill(uint32_t id) override;
  /// Without the device's session the lock is lost, and this session's client must not go on as if it had it.
  int lifeline() const override { return device_.lock_descriptor(); }

 private:
  RemoteDevice &device_;
  device::SessionRecord self_;
};

}  // namespace ymap::netconf
