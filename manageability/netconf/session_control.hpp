/// \file
/// What the sessions of a server share: ids, locks, and the power to end each other.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "sessions.hpp"

namespace ymap::netconf {

/// Who is at the other end of a session.
struct Peer {
  std::string user;
  std::string host;  ///< empty where the transport tells none
};

/// A session among the others of its device. Functions throw RpcError, and what the device throws.
class SessionControl {
 public:
  using Lock = device::Sessions::Lock;

  virtual ~SessionControl() = default;
  virtual uint32_t id() const = 0;
  /// For monitoring, as far as it can be seen from here.
  struct State {
    std::vector<device::SessionRecord> live;  ///< this one and the others, by ascending id
    std::map<device::Datastore, Lock> locks;  ///< that are held
  };
  virtual State state() = 0;
  virtual void lock(device::Datastore datastore) = 0;
  virtual void unlock(device::Datastore datastore) = 0;
  /// Ends another session, and returns when it is gone.
  virtual void kill(uint32_t id) = 0;
  /// A descriptor whose peer hangs up when the session must end; -1 for none.
  virtual int lifeline() const { return -1; }
};

/// Of the parameter session-id, as faults have it.
std::string kill_session_path();

/// A session of a device folder. Others see it, unless its user may only read the folder.
class FolderSessions : public SessionControl {
 public:
  /// Enters the folder. Throws device::FolderError.
  FolderSessions(const std::filesystem::path &folder, const Peer &peer)
      : sessions_(folder, peer.user, peer.host) {}

  uint32_t id() const override { return sessions_.id(); }
  State state() override;
  void lock(device::Datastore datastore) override;
  void unlock(device::Datastore datastore) override;
  void kill(uint32_t id) override;

 private:
  device::Sessions sessions_;
};

}  // namespace ymap::netconf
