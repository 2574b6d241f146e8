// Locks of the device behind.
#include "remote_sessions.hpp"

#include <unistd.h>

namespace ymap::netconf {

RemoteSessions::RemoteSessions(RemoteDevice &device, const Peer &peer)
    : device_(device),
      self_{.id = device.session_id(),
            .process = getpid(),
            .user = peer.user,
            .source_host = peer.host,
            .login_time = std::time(nullptr)} {}

std::optional<SessionControl::Lock> RemoteSessions::lock_state(device::Datastore datastore) const {
  return datastore == device::Datastore::running ? lock_ : std::nullopt;
}

void RemoteSessions::lock(device::Datastore /*datastore*/) {
  device_.lock();
  lock_ = Lock{self_.id, std::time(nullptr)};
}

void RemoteSessions::unlock(device::Datastore /*datastore*/) {
  lock_.reset();
  device_.unlock();
}

}  // namespace ymap::netconf
