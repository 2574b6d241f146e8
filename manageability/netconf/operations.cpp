// From the elements of an operation to what is done.
#include "operations.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <utility>

#include "printable.hpp"
#include "rpc_error.hpp"
#include "rpc_parameters.hpp"

namespace ymap::netconf {
namespace {

/// What the service alone does.
Action parse_data(const XmlElement &operation, const std::string &path, SessionParts &parts) {
  return [action = parts.data.parse(operation, path)]() -> Result { return {action()}; };
}

/// The data of the device and that of the server.
Action parse_get(const XmlElement &operation, const std::string &path, SessionParts &parts) {
  auto action = parts.data.parse(operation, path);
  std::optional<XmlElements> filter;
  for (const auto &parameter : operation.children())
    if (parameter.name() == "filter") filter = parameter.children();
  return [action = std::move(action), filter, &parts]() -> Result {
    auto content = action();
    content.data += parts.server_data.read(filter, parts.counters);
    return {std::move(content)};
  };
}

device::Datastore target_of(const XmlElement &operation, const std::string &path, const SessionParts &parts) {
  return Parameters(operation, path, {"target"}).datastore("target", parts.data.candidate());
}

Action parse_lock(const XmlElement &operation, const std::string &path, SessionParts &parts) {
  return [target = target_of(operation, path, parts), &parts]() -> Result {
    parts.data.check_lockable(target);
    parts.sessions.lock(target);
    return {};
  };
}

Action parse_unlock(const XmlElement &operation, const std::string &path, SessionParts &parts) {
  return [target = target_of(operation, path, parts), &parts]() -> Result {
    parts.sessions.unlock(target);
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
  return [id, &parts]() -> Result {
    parts.sessions.kill(id);
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
  bool of_candidate = false;  ///< only where there is a candidate datastore
};
constexpr std::array<Operation, 11> kOperations = {{
    {kNetconfNs, "get", parse_get},
    {kNetconfNs, "get-config", parse_data},
    {kNetconfNs, "edit-config", parse_data},
    {kNetconfNs, "validate", parse_data},
    {kNetconfNs, "commit", parse_data, true},
    {kNetconfNs, "discard-changes", parse_data, true},
    {kNetconfNs, "lock", parse_lock},
    {kNetconfNs, "unlock", parse_unlock},
    {kNetconfNs, "close-session", parse_close},
    {kNetconfNs, "kill-session", parse_kill},
    {kMonitoringNs, "get-schema", parse_get_schema},
}};

bool is_there(const Operation &row, const SessionParts &parts) {
  return !row.of_candidate || parts.data.candidate() == Candidate::present;
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

Action parse_operation(const RpcMessage &message, SessionParts &parts) {
  const auto operation = message.operation();
  const auto path = step({}, kProtocolModule, "rpc");
  const auto row = std::ranges::find_if(kOperations, [&](const Operation &one) {
    return one.name == operation.name() && one.ns == operation.ns() && is_there(one, parts);
  });
  if (row == kOperations.end()) refuse_unknown(operation, path, parts);
  return row->parse(operation, path, parts);
}

}  // namespace ymap::netconf
