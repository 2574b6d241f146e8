// Entries of the record as events.
#include "events.hpp"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <utility>

#include "date_and_time.hpp"
#include "rpc_parameters.hpp"
#include "xml_writer.hpp"
#include "xpath.hpp"

namespace ymap::netconf {
namespace {

XmlWriter::Attributes ns_of(std::string_view ns) {
  return {{"xmlns", std::string(ns)}};
}

bool is_address(const std::string &text) {
  std::array<unsigned char, sizeof(in6_addr)> bytes{};
  const auto plain = text.substr(0, text.find('%'));
  return inet_pton(AF_INET, text.c_str(), bytes.data()) == 1 ||
         inet_pton(AF_INET6, plain.c_str(), bytes.data()) == 1;
}

void add_session(const RecordEntry &entry, XmlWriter &xml) {
  xml.leaf("username", entry.user);
  xml.leaf("session-id", std::to_string(entry.session));
  if (is_address(entry.peer)) xml.leaf("source-host", entry.peer);
}

template <typename Write>
Event event(std::string_view name, const Write &write) {
  XmlWriter xml(Layout::compact);
  xml.open(name, ns_of(kEventModule.ns));
  write(xml);
  xml.close();
  return {name, xml.take()};
}

/// A change of the server's own accord: that of a user stood before.
bool is_servers(const RecordEntry &entry) {
  return entry.operation == "rollback";
}

void add_edit(const Change &change, XmlWriter &xml) {
  static constexpr std::array<std::pair<Access, const char *>, 3> operations = {
      {{Access::create, "create"}, {Access::update, "merge"}, {Access::remove, "delete"}}};
  const auto target = xpath_of(change.path);
  xml.open("edit");
  // A path with a prefix that nobody here knows would be none.
  if (!target.declared.empty()) xml.leaf("target", target.text, target.declared);
  for (const auto &[access, word] : operations)
    if (access == change.access) xml.leaf("operation", word);
  xml.close();
}

/// An event of more would be a burden to whoever reads it.
constexpr std::size_t kMostEdits = 500;

/// The nodes at the top that the changes are below.
std::vector<Change> tops_of(const std::vector<const Change *> &changes) {
  std::vector<Change> tops;
  for (const auto *change : changes) {
    const auto end = change->path.find('/', 1);
    auto path = change->path.substr(0, end);
    if (std::ranges::find(tops, path, &Change::path) == tops.end()) tops.push_back({std::move(path)});
  }
  return tops;
}

Event config_change(const RecordEntry &entry, const std::vector<const Change *> &changes) {
  return event("netconf-config-change", [&](XmlWriter &xml) {
    xml.open("changed-by");
    if (is_servers(entry))
      xml.leaf("server", {});
    else
      add_session(entry, xml);
    xml.close();
    xml.leaf("datastore", "running");
    for (const auto *change : changes) add_edit(*change, xml);
  });
}

/// "start 600" and the like, see RecordEntry.
Event confirmed_commit(const RecordEntry &entry) {
  return event("netconf-confirmed-commit", [&](XmlWriter &xml) {
    const auto space = entry.confirm.find(' ');
    const auto word = entry.confirm.substr(0, space);
    if (word != "timeout") add_session(entry, xml);
    xml.leaf("confirm-event", word);
    if (space != std::string::npos) xml.leaf("timeout", entry.confirm.substr(space + 1));
  });
}

/// "closed", or "killed" and the session that did it.
Event session_end(const RecordEntry &entry) {
  static constexpr std::array<std::string_view, 5> reasons = {"closed", "killed", "dropped", "timeout",
                                                              "bad-hello"};
  return event("netconf-session-end", [&](XmlWriter &xml) {
    add_session(entry, xml);
    const auto space = entry.target.find(' ');
    const auto reason = entry.target.substr(0, space);
    const bool is_known = std::ranges::find(reasons, reason) != reasons.end();
    if (is_known && space != std::string::npos) xml.leaf("killed-by", entry.target.substr(space + 1));
    xml.leaf("termination-reason", is_known ? reason : "other");
  });
}

}  // namespace

int64_t time_of(const RecordEntry &entry) {
  return entry.time + entry.duration;
}

std::vector<Event> events_of(const RecordEntry &entry,
                             const std::function<bool(const Change &change)> &readable) {
  std::vector<Event> events;
  if (entry.result != "done") return events;
  if (entry.operation == "session-start")
    events.push_back(event("netconf-session-start", [&](XmlWriter &xml) { add_session(entry, xml); }));
  if (entry.operation == "session-end") events.push_back(session_end(entry));
  std::vector<const Change *> changes;
  if (entry.target != "candidate")
    for (const auto &change : entry.changes)
      if (readable(change)) changes.push_back(&change);
  if (changes.size() > kMostEdits) {
    const auto tops = tops_of(changes);
    std::vector<const Change *> few;
    few.reserve(tops.size());
    for (const auto &top : tops) few.push_back(&top);
    events.push_back(config_change(entry, few));
  } else if (!changes.empty()) {
    events.push_back(config_change(entry, changes));
  }
  if (!entry.confirm.empty()) events.push_back(confirmed_commit(entry));
  return events;
}

std::string notification(int64_t time, std::string_view content) {
  XmlWriter xml(Layout::compact);
  xml.open("notification", ns_of(kNotificationNs));
  xml.leaf("eventTime", date_and_time(time));
  xml.raw(content);
  xml.close();
  return xml.take();
}

std::string stream_event(std::string_view name) {
  XmlWriter xml(Layout::compact);
  xml.leaf(name, {}, ns_of(kStreamModule.ns));
  return xml.take();
}

}  // namespace ymap::netconf
