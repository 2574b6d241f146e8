// The server's own operational data.
#include "server_data.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <initializer_list>
#include <utility>

#include "change_record.hpp"
#include "data_filter.hpp"
#include "date_and_time.hpp"
#include "libyang_versions.hpp"
#include "rpc_parameters.hpp"
#include "state_writer.hpp"

namespace ymap::netconf {
namespace {

constexpr const char *kState = "netconf-state";
constexpr const char *kStreams = "netconf";

constexpr std::string_view kLibraryNs = "urn:ietf:params:xml:ns:yang:ietf-yang-library";
constexpr std::array<const char *, 2> kLibraryTops = {"yang-library", "modules-state"};

void add_capabilities(StateWriter &state, const Catalogue &catalogue) {
  state.open("capabilities");
  for (const auto &capability : catalogue.capabilities()) state.leaf("capability", capability);
  state.close();
}

/// There is one kind of lock.
void add_datastore(StateWriter &state, device::Datastore datastore, const SessionControl::State &sessions) {
  const auto lock = sessions.locks.find(datastore);
  state.open("datastore");
  state.leaf("name", name_of(datastore));
  if (lock != sessions.locks.end() && lock->second.holder != 0) {
    state.open("locks");
    state.open("global-lock");
    state.leaf("locked-by-session", lock->second.holder);
    state.leaf("locked-time", date_and_time_of_second(lock->second.since));
    state.close();
    state.close();
  }
  state.close();
}

void add_schemas(StateWriter &state, const Catalogue &catalogue) {
  state.open("schemas");
  for (const auto *module : catalogue.modules()) {
    state.open("schema");
    state.leaf("identifier", module->name);
    state.leaf("version", module->revision == nullptr ? "" : module->revision);
    state.leaf("format", "yang");
    state.leaf("namespace", module->ns);
    state.leaf("location", "NETCONF");
    state.close();
  }
  state.close();
}

void add_counters(StateWriter &state, const Counters &counters) {
  state.leaf("in-rpcs", counters.in_rpcs);
  state.leaf("in-bad-rpcs", counters.in_bad_rpcs);
  state.leaf("out-rpc-errors", counters.out_rpc_errors);
  state.leaf("out-notifications", counters.out_notifications);
}

/// The counters of other sessions are in their processes only.
void add_session(StateWriter &state, const device::SessionRecord &record, const Counters *counters) {
  state.open("session");
  state.leaf("session-id", record.id);
  state.leaf("transport", "netconf-ssh");
  state.leaf("username", record.user);
  if (!record.source_host.empty()) state.leaf("source-host", record.source_host);
  state.leaf("login-time", date_and_time_of_second(record.login_time));
  if (counters != nullptr) add_counters(state, *counters);
  state.close();
}

void add_statistics(StateWriter &state, std::time_t started, const Counters &counters) {
  state.open("statistics");
  state.leaf("netconf-start-time", date_and_time_of_second(started));
  state.leaf("in-bad-hellos", 0);
  state.leaf("in-sessions", 1);
  state.leaf("dropped-sessions", 0);
  add_counters(state, counters);
  state.close();
}

const lysc_node *node_at(const lys_module *module, std::initializer_list<const char *> names) {
  const lysc_node *node = nullptr;
  for (const char *name : names) node = libyang::find_child(node, module, name);
  return node;
}

}  // namespace

ServerData::ServerData(const Catalogue &catalogue, SessionControl &sessions,
                       std::vector<device::Datastore> datastores, std::filesystem::path folder)
    : catalogue_(catalogue),
      sessions_(sessions),
      datastores_(std::move(datastores)),
      folder_(std::move(folder)),
      started_(std::time(nullptr)) {}

const std::string &ServerData::session_text(const device::SessionRecord &record) const {
  auto &[known, text] = others_[record.id];
  if (known == record) return text;
  known = record;
  const auto *module = catalogue_.monitoring();
  XmlWriter xml(Layout::compact);
  StateWriter state(module, node_at(module, {kState, "sessions"}), xml);
  add_session(state, record, nullptr);
  return text = xml.take();
}

std::string ServerData::netconf_state(const Counters &counters) const {
  const auto *module = catalogue_.monitoring();
  if (schemas_.empty()) {
    XmlWriter xml(Layout::compact);
    StateWriter state(module, node_at(module, {kState}), xml);
    add_schemas(state, catalogue_);
    schemas_ = xml.take();
  }
  const auto sessions = sessions_.state();
  XmlWriter xml(Layout::compact);
  StateWriter state(module, nullptr, xml);
  state.open(kState);
  add_capabilities(state, catalogue_);
  state.open("datastores");
  for (const auto datastore : datastores_) add_datastore(state, datastore, sessions);
  state.close();
  xml.raw(schemas_);
  state.open("sessions");
  decltype(others_) live;
  for (const auto &record : sessions.live) {
    if (record.id == sessions_.id()) {
      add_session(state, record, &counters);
      continue;
    }
    xml.raw(session_text(record));
    live.insert(others_.extract(record.id));
  }
  others_ = std::move(live);
  state.close();
  // A process serves one session, so its statistics are those of the session.
  add_statistics(state, started_, counters);
  state.close();
  return xml.take();
}

/// There is one, and the record is its log. Empty for a server without notifications.
std::string ServerData::streams() const {
  const auto *module = catalogue_.streams();
  if (module == nullptr) return {};
  const auto first = RecordReader::first_time(folder_);
  XmlWriter xml(Layout::compact);
  StateWriter state(module, nullptr, xml);
  state.open(kStreams);
  state.open("streams");
  state.open("stream");
  state.leaf("name", "NETCONF");
  state.leaf("description", "Changes of the configuration, commits that wait, and sessions (RFC 6470)");
  state.leaf("replaySupport", "true");
  state.leaf("replayLogCreationTime", first ? date_and_time(*first) : date_and_time_of_second(started_));
  for (int open = 0; open < 3; ++open) state.close();
  return xml.take();
}

std::string ServerData::read(const std::optional<XmlElements> &filter, const Counters &counters) const {
  if (!filter) return netconf_state(counters) + streams() + catalogue_.library_text();
  std::string text;
  const auto add = [&](std::string_view ns, const char *top, const auto &made) {
    if (!selects_top(*filter, ns, top)) return;
    lyd_node *state = nullptr;
    lyd_parse_data_mem(catalogue_.context(), made().c_str(), LYD_XML, LYD_PARSE_ONLY, 0, &state);
    text += select(*filter, Tree(state).get());
  };
  add(kMonitoringNs, kState, [&] { return netconf_state(counters); });
  add(kStreamModule.ns, kStreams, [&] { return streams(); });
  const bool wants_library = std::ranges::any_of(
      kLibraryTops, [&](const char *top) { return selects_top(*filter, kLibraryNs, top); });
  if (wants_library) text += select(*filter, catalogue_.library());
  return text;
}

}  // namespace ymap::netconf
