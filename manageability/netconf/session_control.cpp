// Locks and ends of sessions in a device folder, with NETCONF's refusals.
#include "session_control.hpp"

#include "rpc_error.hpp"
#include "rpc_parameters.hpp"
#include "schema.hpp"

namespace ymap::netconf {

std::string kill_session_path() {
  return step(step(step({}, kProtocolModule, "rpc"), {}, "kill-session"), {}, "session-id");
}

const char *name_of(device::Datastore datastore) {
  return datastore == device::Datastore::running ? "running" : "candidate";
}

SessionControl::State FolderSessions::state() {
  State state{sessions_.live(), {}};
  for (const auto datastore : {device::Datastore::running, device::Datastore::candidate})
    if (const auto lock = sessions_.lock_state(datastore)) state.locks.emplace(datastore, *lock);
  return state;
}

void FolderSessions::lock(device::Datastore datastore) {
  const auto held = sessions_.lock(datastore);
  if (!held) return;
  const auto holder = std::to_string(held->holder);
  const std::string holds = std::string("holds the lock on ") + name_of(datastore);
  throw RpcError({.type = "protocol",
                  .tag = "lock-denied",
                  .message = held->holder == id() ? "this session, " + holder + ", " + holds + " already"
                                                  : "session " + holder + " " + holds,
                  .session_id = held->holder});
}

void FolderSessions::unlock(device::Datastore datastore) {
  if (sessions_.unlock(datastore)) return;
  refuse("operation-failed", std::string("this session does not hold the lock on ") + name_of(datastore), {});
}

void FolderSessions::kill(uint32_t id) {
  const auto number = std::to_string(id);
  const auto where = kill_session_path();
  switch (sessions_.kill(id)) {
    case device::Sessions::Kill::done:
      break;
    case device::Sessions::Kill::no_such_session:
      refuse("invalid-value", "there is no session " + number, where);
    case device::Sessions::Kill::denied:
      refuse("access-denied", "this user may not end session " + number, where);
  }
}

}  // namespace ymap::netconf
