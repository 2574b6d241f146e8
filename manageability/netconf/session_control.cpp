// Locks and ends of sessions in a device folder, with NETCONF's refusals.
#include "session_control.hpp"

#include "rpc_error.hpp"
#include "rpc_parameters.hpp"
#include "schema.hpp"

namespace ymap::netconf {

std::string kill_session_path() {
  return step(step(step({}, kProtocolModule, "rpc"), {}, "kill-session"), {}, "session-id");
}

SessionControl::State FolderSessions::state() {
  State state{sessions_.live(), {}};
  for (const auto datastore : {device::Datastore::running, device::Datastore::candidate})
    if (const auto lock = sessions_.lock_state(datastore)) state.locks.emplace(datastore, *lock);
  return state;
}

void FolderSessions::lock(device::Datastore datastore) {
  using Why = device::Sessions::Denial::Why;
  const auto denial = sessions_.lock(datastore);
  if (!denial) return;
  const auto other = std::to_string(denial->session);
  const std::string name = name_of(datastore);
  std::string message;
  switch (denial->why) {
    case Why::held:
      message = (denial->session == id() ? "this session, " + other + "," : "session " + other) +
                " holds the lock on " + name + (denial->session == id() ? " already" : "");
      break;
    case Why::candidate_is_edited:
      message = "the candidate datastore has changes that are neither committed nor discarded";
      break;
    case Why::commit_waits:
      message = "a commit" + (denial->session == 0 ? "" : " of session " + other) + " waits to be confirmed";
  }
  throw RpcError(
      {.type = "protocol", .tag = "lock-denied", .message = message, .session_id = denial->session});
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
