// From the elements of an operation to what is done.
#include "operations.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <iostream>
#include <memory>
#include <utility>

#include "printable.hpp"
#include "rpc_error.hpp"
#include "rpc_parameters.hpp"

namespace ymap::netconf {
namespace {

Answer run(Session &requests, const Request &request) {
  auto answer = requests.run(request);
  for (const auto &warning : answer.warnings) std::cerr << "ymap: warning: " << printable(warning) << "\n";
  return answer;
}

/// get-config, edit-config and validate: the device's own business.
Action parse_request(const XmlElement &operation, const std::string &path, SessionParts &parts) {
  auto request =
      std::make_shared<const Request>(ymap::parse_operation(operation, path, parts.requests.schema()));
  return [request, &parts]() -> Result {
    return {content_of(parts.requests.schema(), *request, run(parts.requests, *request), Layout::compact)};
  };
}

/// The data of the device and that of the server.
Action parse_get(const XmlElement &operation, const std::string &path, SessionParts &parts) {
  auto request =
      std::make_shared<const Request>(ymap::parse_operation(operation, path, parts.requests.schema()));
  std::optional<XmlElements> filter;
  for (const auto &parameter : operation.children())
    if (parameter.name() == "filter") filter = parameter.children();
  return [request, filter, &parts]() -> Result {
    auto content =
        content_of(parts.requests.schema(), *request, run(parts.requests, *request), Layout::compact);
    content.data += parts.server_data.read(filter, parts.counters);
    return {std::move(content)};
  };
}

Action parse_lock(const XmlElement &operation, const std::string &path, SessionParts &parts) {
  Parameters(operation, path, {"target"}).require_running("target");
  return [&parts]() -> Result {
    const auto held = parts.sessions.lock();
    if (!held) return {};
    const auto holder = std::to_string(held->holder);
    throw RpcError({.type = "protocol",
                    .tag = "lock-denied",
                    .message = held->holder == parts.sessions.id()
                                   ? "this session, " + holder + ", holds the lock on running already"
                                   : "session " + holder + " holds the lock on running",
                    .session_id = held->holder});
  };
}

Action parse_unlock(const XmlElement &operation, const std::string &path, SessionParts &parts) {
  Parameters(operation, path, {"target"}).require_running("target");
  return [&parts]() -> Result {
    if (!parts.sessions.unlock())
      refuse("operation-failed", "this session does not hold the lock on running", {});
    return {};
  };
}

Action parse_close(const XmlElement &operation, const std::string &path, SessionParts & /*parts*/) {
  const Parameters none(operation, path, {});
  return []() -> Result { return {.closes = true}; };
}

Action parse_kill(const XmlElement &operation, const std::string &path, SessionParts &parts) {
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
  return [id, where, &parts]() -> Result {
    const auto number = std::to_string(id);
    switch (parts.sessions.kill(id)) {
      case device::Sessions::Kill::done:
        break;
      case device::Sessions::Kill::no_such_session:
        refuse("invalid-value", "there is no session " + number, where);
      case device::Sessions::Kill::denied:
        refuse("access-denied", "this user may not end session " + number, where);
    }
    return {};
  };
}

Action parse_get_schema(const XmlElement &operation, const std::string &path, SessionParts &parts) {
  const Parameters parameters(operation, path, {"identifier", "version", "format"});
  parameters.require("identifier");
  // An identity, commonly with a prefix; there is none of its local name but in its own module.
  const auto word = parameters.text("format");
  const auto format = word.empty() ? std::string("yang") : std::string(word.substr(word.find(':') + 1));
  const std::string identifier(parameters.text("identifier"));
  const std::string version(parameters.text("version"));
  return [identifier, version, format, &parts]() -> Result {
    return {{ReplyContent::Kind::text, parts.catalogue.schema(identifier, version, format), kMonitoringNs}};
  };
}

struct Operation {
  std::string_view ns, name;
  Action (*parse)(const XmlElement &operation, const std::string &path, SessionParts &parts);
};
constexpr std::array<Operation, 9> kOperations = {{
    {kNetconfNs, "get", parse_get},
    {kNetconfNs, "get-config", parse_request},
    {kNetconfNs, "edit-config", parse_request},
    {kNetconfNs, "validate", parse_request},
    {kNetconfNs, "lock", parse_lock},
    {kNetconfNs, "unlock", parse_unlock},
    {kNetconfNs, "close-session", parse_close},
    {kNetconfNs, "kill-session", parse_kill},
    {kMonitoringNs, "get-schema", parse_get_schema},
}};

[[noreturn]] void refuse_unknown(const XmlElement &operation, const std::string &path) {
  const std::string name(operation.name());
  std::string known;
  for (const auto &row : kOperations) known.append(known.empty() ? "" : ", ").append(row.name);
  not_supported("operation " + shortened(name) + " of namespace \"" + shortened(operation.ns()) +
                    "\" is not supported; supported are " + known,
                path);
}

}  // namespace

Action parse_operation(const RpcMessage &message, SessionParts &parts) {
  const auto operation = message.operation();
  const auto path = step({}, kProtocolModule, "rpc");
  const auto row = std::ranges::find_if(kOperations, [&](const Operation &one) {
    return one.name == operation.name() && one.ns == operation.ns();
  });
  if (row == kOperations.end()) refuse_unknown(operation, path);
  return row->parse(operation, path, parts);
}

}  // namespace ymap::netconf
