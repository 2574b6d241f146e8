// From the elements of an operation to what is done.
#include "operations.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <utility>

#include "printable.hpp"
#include "readable_part.hpp"
#include "rpc_error.hpp"
#include "rpc_parameters.hpp"
#include "xpath.hpp"

namespace ymap::netconf {
namespace {

/// An operation ready to run, and what it is about, for the record.
struct Parsed {
  Action action;
  std::string target = {};
};

/// What the service alone does.
Parsed parse_data(const XmlElement &operation, const std::string &path, SessionParts &parts) {
  Parsed parsed = {[action = parts.data.parse(operation, path)]() -> Result { return {action()}; }};
  for (const auto &parameter : operation.children())
    if ((parameter.name() == "target" || parameter.name() == "source") && !parameter.children().empty())
      parsed.target = parameter.children().front().name();
  return parsed;
}

/// The data of the device and that of the server.
Parsed parse_get(const XmlElement &operation, const std::string &path, SessionParts &parts) {
  auto action = parts.data.parse(operation, path);
  std::optional<XmlElements> filter;
  for (const auto &parameter : operation.children())
    if (parameter.name() == "filter") filter = parameter.children();
  return {[action = std::move(action), filter, &parts]() -> Result {
    auto content = action();
    content.data +=
        readable_part(parts.server_data.read(filter, parts.counters), parts.data.guard().rights(parts.who));
    return {std::move(content)};
  }};
}

template <void (SessionControl::*act)(device::Datastore)>
Parsed parse_locking(const XmlElement &operation, const std::string &path, SessionParts &parts) {
  const auto target =
      Parameters(operation, path, {"target"}).datastore("target", parts.data.features().candidate);
  return {[target, &parts]() -> Result {
            (parts.sessions.*act)(target);
            return {};
          },
          name_of(target)};
}

Parsed parse_close(const XmlElement &operation, const std::string &path, SessionParts & /*parts*/) {
  const Parameters none(operation, path, {});
  return {[]() -> Result { return {.closes = true}; }};
}

Parsed parse_kill(const XmlElement &operation, const std::string &path, SessionParts &parts) {
  const Parameters parameters(operation, path, {"session-id"});
  parameters.require("session-id");
  const auto text = parameters.text("session-id");
  const auto where = parameters.path_of("session-id");
  uint32_t id = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), id);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size() || id == 0)
    refuse("invalid-value", "session-id \"" + shortened(text) + "\" is no positive integer", where);
  if (id == parts.sessions.id())
    refuse("invalid-value", "a session cannot kill itself; close-session ends it", where);
  return {[id, &parts]() -> Result {
            parts.sessions.kill(id);
            return {};
          },
          "session " + std::to_string(id)};
}

Parsed parse_get_schema(const XmlElement &operation, const std::string &path, SessionParts &parts) {
  const Parameters parameters(operation, path, {"identifier", "version", "format"});
  parameters.require("identifier");
  // An identity, commonly with a prefix; there is none of its local name but in its own module.
  const auto word = parameters.text("format");
  const auto format = word.empty() ? std::string("yang") : std::string(word.substr(word.find(':') + 1));
  const std::string identifier(parameters.text("identifier"));
  const std::string version(parameters.text("version"));
  return {[identifier, version, format, &parts]() -> Result {
            return {{ReplyContent::Kind::text, parts.catalogue.schema(identifier, version, format),
                     kMonitoringNs}};
          },
          identifier};
}

Parsed parse_create_subscription(const XmlElement &operation, const std::string &path, SessionParts &parts) {
  return {[wanted = parse_subscription(operation, path), &parts]() -> Result {
    parts.subscriber.begin(wanted, parts.message, parts.data.guard().folder());
    return {};
  }};
}

struct Operation {
  using Weight = Asked::Weight;
  std::string_view ns, name;
  Parsed (*parse)(const XmlElement &operation, const std::string &path, SessionParts &parts);
  Weight weight = Weight::change;
  bool is_of_data = false;
  bool (*is_there)(const Features &) = nullptr;  ///< null: always
};
constexpr auto kWithCandidate = [](const Features &features) {
  return features.candidate == Candidate::present;
};
constexpr auto kWithNotifications = [](const Features &features) { return features.notifications; };
constexpr auto kWithConfirmedCommit = [](const Features &features) { return features.confirmed_commit; };
constexpr std::array<Operation, 13> kOperations = {{
    {kNetconfNs, "get", parse_get, Operation::Weight::read, true},
    {kNetconfNs, "get-config", parse_data, Operation::Weight::read, true},
    {kNetconfNs, "edit-config", parse_data, Operation::Weight::change, true},
    {kNetconfNs, "validate", parse_data, Operation::Weight::none, true},
    {kNetconfNs, "commit", parse_data, Operation::Weight::change, true, kWithCandidate},
    {kNetconfNs, "discard-changes", parse_data, Operation::Weight::change, true, kWithCandidate},
    {kNetconfNs, "cancel-commit", parse_data, Operation::Weight::change, true, kWithConfirmedCommit},
    {kNetconfNs, "lock", parse_locking<&SessionControl::lock>},
    {kNetconfNs, "unlock", parse_locking<&SessionControl::unlock>},
    // The end of the session is recorded.
    {kNetconfNs, "close-session", parse_close, Operation::Weight::none},
    {kNetconfNs, "kill-session", parse_kill},
    {kMonitoringNs, "get-schema", parse_get_schema, Operation::Weight::read},
    {kNotificationNs, "create-subscription", parse_create_subscription, Operation::Weight::read, false,
     kWithNotifications},
}};

bool is_there(const Operation &row, const SessionParts &parts) {
  return row.is_there == nullptr || row.is_there(parts.data.features());
}

[[noreturn]] void refuse_unknown(const XmlElement &operation, const std::string &path,
                                 const SessionParts &parts) {
  const std::string name(operation.name());
  std::string known;
  for (const auto &row : kOperations)
    if (is_there(row, parts)) known.append(known.empty() ? "" : ", ").append(row.name);
  not_supported("operation " + shortened(name) + " of namespace \"" + shortened(operation.ns()) +
                    "\" is not supported; supported are " + known,
                path);
}

}  // namespace

Action parse_operation(SessionParts &parts) {
  const auto operation = parts.message->operation();
  const auto path = step({}, kProtocolModule, "rpc");
  const auto row = std::ranges::find_if(kOperations, [&](const Operation &one) {
    return one.name == operation.name() && one.ns == operation.ns() && is_there(one, parts);
  });
  if (row == kOperations.end()) refuse_unknown(operation, path, parts);
  auto parsed = row->parse(operation, path, parts);
  if (row->is_of_data && parts.data.judges_requests()) return std::move(parsed.action);
  Asked asked = {row->name, row->weight, std::move(parsed.target), module_of_namespace(row->ns)};
  return [asked = std::move(asked), action = std::move(parsed.action), &parts] {
    return parts.data.guard().run(parts.who, asked, [&](Outcome &outcome) {
      parts.data.settle();
      auto result = action();
      outcome.changes = parts.data.take_changes();
      return result;
    });
  };
}

}  // namespace ymap::netconf
