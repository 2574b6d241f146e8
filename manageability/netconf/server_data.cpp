// The server's own operational data.
#include "server_data.hpp"

#include <libyang/libyang.h>

#include <array>
#include <cstring>
#include <initializer_list>

#include "data_filter.hpp"
#include "rpc_parameters.hpp"
#include "rpc_reply.hpp"

namespace ymap::netconf {
namespace {

std::string date_and_time(std::time_t when) {
  std::array<char, 32> text{};
  std::tm utc{};
  gmtime_r(&when, &utc);
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc);
  return text.data();
}

lyd_node *add(lyd_node *parent, const char *container) {
  lyd_node *node = nullptr;
  lyd_new_inner(parent, nullptr, container, 0, &node);
  return node;
}

/// A value that is not of the leaf's type is left out: session records come from other processes.
void leaf(lyd_node *parent, const char *name, const std::string &value) {
  lyd_new_term(parent, nullptr, name, value.c_str(), 0, nullptr);
}
void leaf(lyd_node *parent, const char *name, uint64_t value) {
  leaf(parent, name, std::to_string(value));
}

void add_capabilities(lyd_node *state, const Catalogue &catalogue) {
  auto *capabilities = add(state, "capabilities");
  for (const auto &capability : catalogue.capabilities()) leaf(capabilities, "capability", capability);
}

/// There is one datastore, with one kind of lock.
void add_datastores(lyd_node *state, const std::optional<device::Sessions::Lock> &lock) {
  lyd_node *running = nullptr;
  lyd_new_list(add(state, "datastores"), nullptr, "datastore", 0, &running, "running");
  if (!lock || lock->holder == 0) return;
  auto *global = add(add(running, "locks"), "global-lock");
  leaf(global, "locked-by-session", lock->holder);
  leaf(global, "locked-time", date_and_time(lock->since));
}

void add_schemas(lyd_node *state, const Catalogue &catalogue) {
  auto *schemas = add(state, "schemas");
  for (const auto *module : catalogue.modules()) {
    lyd_node *schema = nullptr;
    lyd_new_list(schemas, nullptr, "schema", 0, &schema, module->name,
                 module->revision == nullptr ? "" : module->revision, "yang");
    leaf(schema, "namespace", module->ns);
    leaf(schema, "location", "NETCONF");
  }
}

void add_counters(lyd_node *parent, const Counters &counters) {
  leaf(parent, "in-rpcs", counters.in_rpcs);
  leaf(parent, "in-bad-rpcs", counters.in_bad_rpcs);
  leaf(parent, "out-rpc-errors", counters.out_rpc_errors);
  leaf(parent, "out-notifications", 0);
}

/// The counters of other sessions are in their processes only.
void add_sessions(lyd_node *state, const device::Sessions &sessions, const Counters &counters) {
  auto *list = add(state, "sessions");
  for (const auto &record : sessions.live()) {
    lyd_node *session = nullptr;
    lyd_new_list(list, nullptr, "session", 0, &session, std::to_string(record.id).c_str());
    leaf(session, "transport", "netconf-ssh");
    leaf(session, "username", record.user);
    if (!record.source_host.empty()) leaf(session, "source-host", record.source_host);
    leaf(session, "login-time", date_and_time(record.login_time));
    if (record.id == sessions.id()) add_counters(session, counters);
  }
}

void add_statistics(lyd_node *state, std::time_t started, const Counters &counters) {
  auto *statistics = add(state, "statistics");
  leaf(statistics, "netconf-start-time", date_and_time(started));
  leaf(statistics, "in-bad-hellos", 0);
  leaf(statistics, "in-sessions", 1);
  leaf(statistics, "dropped-sessions", 0);
  add_counters(statistics, counters);
}

}  // namespace

ServerData::ServerData(const Catalogue &catalogue, const device::Sessions &sessions)
    : catalogue_(catalogue), sessions_(sessions), started_(std::time(nullptr)) {}

Tree ServerData::netconf_state(const Counters &counters) const {
  lyd_node *state = nullptr;
  lyd_new_inner(nullptr, ly_ctx_get_module_implemented(catalogue_.context(), "ietf-netconf-monitoring"),
                "netconf-state", 0, &state);
  Tree owner(state);
  add_capabilities(state, catalogue_);
  add_datastores(state, sessions_.lock_state());
  add_schemas(state, catalogue_);
  add_sessions(state, sessions_, counters);
  // A process serves one session, so its statistics are those of the session.
  add_statistics(state, started_, counters);
  return owner;
}

std::string ServerData::read(const std::vector<XmlElement> *filter, const Counters &counters) const {
  const auto selected = [&](const lyd_node *data) {
    return filter == nullptr ? print_data(data, DataFormat::xml, Layout::compact) : select(*filter, data);
  };
  std::string text;
  if (filter == nullptr || selects_top(*filter, kMonitoringNs, "netconf-state"))
    text = selected(netconf_state(counters).get());
  return text + selected(catalogue_.library());
}

}  // namespace ymap::netconf
