// Sessions and locks of the device behind.
#include "remote_sessions.hpp"

#include <libyang/libyang.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <ctime>

#include "rpc_error.hpp"
#include "rpc_parameters.hpp"

namespace ymap::netconf {
namespace {

/// The text of a leaf below; empty where it is not given.
std::string text(const XmlElement &parent, std::string_view leaf) {
  for (const auto &child : parent.children())
    if (child.name() == leaf) return std::string(trimmed(child.text()));
  return {};
}

/// 0 for what is no id.
uint32_t id_of(const std::string &text) {
  uint32_t id = 0;
  std::from_chars(text.data(), text.data() + text.size(), id);
  return id;
}

/// Of a date-and-time (RFC 6991); 0 for what is none. libyang reads up to the zone whatever the length.
int64_t seconds(const std::string &date_and_time) {
  constexpr std::string_view form = "dddd-dd-ddTdd:dd:dd";
  if (date_and_time.size() <= form.size()) return 0;
  for (std::size_t at = 0; at < form.size(); ++at) {
    const bool is_digit = date_and_time[at] >= '0' && date_and_time[at] <= '9';
    if (form[at] == 'd' ? !is_digit : date_and_time[at] != form[at]) return 0;
  }
  std::time_t time = 0;
  return ly_time_str2time(date_and_time.c_str(), &time, nullptr) == LY_SUCCESS ? time : 0;
}

/// Elements of that name, however deep.
template <typename Use>
void for_each(const XmlElements &elements, std::string_view name, const Use &use) {
  for (const auto &element : elements) {
    if (element.name() == name) use(element);
    for_each(element.children(), name, use);
  }
}

}  // namespace

RemoteSessions::RemoteSessions(RemoteDevice &device, const Peer &peer)
    : device_(device),
      self_{.id = device.session_id(),
            .process = getpid(),
            .user = peer.user,
            .source_host = peer.host,
            .login_time = std::time(nullptr)} {}

SessionControl::State RemoteSessions::state() {
  State state{{self_}, {}};
  const auto document = device_.monitoring();
  if (!document) return state;
  const auto data = document->root().children();
  for_each(data, "session", [&](const XmlElement &session) {
    const auto id = id_of(text(session, "session-id"));
    const auto known = std::ranges::find(state.live, id, &device::SessionRecord::id) != state.live.end();
    if (id == 0 || known) return;
    state.live.push_back({.id = id,
                          .user = text(session, "username"),
                          .source_host = text(session, "source-host"),
                          .login_time = seconds(text(session, "login-time"))});
  });
  std::ranges::sort(state.live, {}, &device::SessionRecord::id);
  for_each(data, "datastore", [&](const XmlElement &datastore) {
    if (text(datastore, "name") != "running") return;
    for_each(datastore.children(), "global-lock", [&](const XmlElement &lock) {
      state.locks[device::Datastore::running] = {id_of(text(lock, "locked-by-session")),
                                                 seconds(text(lock, "locked-time"))};
    });
  });
  return state;
}

void RemoteSessions::lock(device::Datastore /*datastore*/) {
  device_.lock();
}

void RemoteSessions::unlock(device::Datastore /*datastore*/) {
  device_.unlock();
}

void RemoteSessions::kill(uint32_t id) {
  try {
    device_.kill(id);
  } catch (const RpcError &error) {
    auto fault = error.fault();
    fault.path = kill_session_path();
    throw RpcError(std::move(fault));
  }
}

}  // namespace ymap::netconf
