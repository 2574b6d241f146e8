// The subcommands: from options to what is printed.
#include "commands.hpp"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <thread>

#include "access_text.hpp"
#include "client.hpp"
#include "commit_watch.hpp"
#include "completion.hpp"
#include "data_writer.hpp"
#include "devices.hpp"
#include "explain.hpp"
#include "log_text.hpp"
#include "mapping.hpp"
#include "openconfig_request.hpp"
#include "openmetrics.hpp"
#include "parts.hpp"
#include "printable.hpp"
#include "rpc_reply.hpp"
#include "session.hpp"
#include "table.hpp"
#include "terminal.hpp"
#include "trace.hpp"

namespace ymap {
namespace {

constexpr std::size_t kLightTraceLines = 100'000;

void print(const std::string &text) {
  std::cout << text;
  flush_output();
}

void print_warnings(const std::vector<std::string> &warnings) {
  for (const auto &warning : warnings) std::cerr << "ymap: warning: " << printable(warning) << "\n";
}

/// All of a file; of one that is too large, enough to be refused.
std::string read_input(const std::string &name) {
  const bool standard = name == "-";
  const std::string shown = standard ? "standard input" : name;
  std::FILE *file = standard ? stdin : std::fopen(name.c_str(), "rb");
  if (file == nullptr) throw UsageError("file " + shown + " cannot be opened: " + std::strerror(errno));
  const std::unique_ptr<std::FILE, int (*)(std::FILE *)> owner(standard ? nullptr : file, &std::fclose);
  std::string text;
  std::string block(1U << 16, '\0');
  while (text.size() <= kLargestDocument) {
    const auto count = std::fread(block.data(), 1, block.size(), file);
    text.append(block, 0, count);
    if (count < block.size()) break;
  }
  if (std::ferror(file) != 0) throw UsageError(shown + " cannot be read: " + std::strerror(errno));
  return text;
}

std::string render(const Schema &schema, const Data &data, Options::Format format, const Terminal &terminal) {
  switch (format) {
    case Options::Format::xml:
      return xml_of(schema, data);
    case Options::Format::json:
      return json_of(schema, data);
    case Options::Format::prometheus:
      return openmetrics(schema, data);
    case Options::Format::text:
      break;
  }
  return print_table(data, terminal);
}

int get(const Schema &schema, const Run &run, const Options &options) {
  const auto kind = options.config_only ? Request::Kind::get_config : Request::Kind::get;
  const auto request = read_request(schema, kind, options.state_only, options.amplifiers);
  const auto terminal = Terminal::of_standard_output();
  while (true) {
    const auto answer = run(request);
    print_warnings(answer.warnings);
    const auto text = render(schema, answer.data, options.format, terminal);
    if (!options.watch) {
      print(text);
      return kDone;
    }
    // Home and erase to the end; without control sequences an empty line parts the readings.
    print(terminal.redraws ? "\033[H\033[J" + text : text + "\n");
    std::this_thread::sleep_for(std::chrono::duration<double>(*options.watch));
  }
}

std::vector<Assignment> assignments(const Options &options) {
  std::vector<Assignment> list;
  for (const auto &argument : options.arguments) {
    const auto equals = argument.find('=');
    Assignment assignment{argument.substr(0, equals), std::nullopt};
    if (options.command == Options::Command::set) {
      if (equals == std::string::npos)
        throw UsageError("\"" + argument + "\" has no value; write LEAF=VALUE, such as target-gain=15.5");
      assignment.value = argument.substr(equals + 1);
    } else if (equals != std::string::npos) {
      throw UsageError("\"" + argument + "\" has a value; unset takes the leaf alone");
    }
    if (assignment.leaf.empty()) throw UsageError("\"" + argument + "\" names no leaf");
    if (std::ranges::find(list, assignment.leaf, &Assignment::leaf) != list.end())
      throw UsageError("leaf " + assignment.leaf + " is given twice");
    list.push_back(std::move(assignment));
  }
  return list;
}

/// Of the command line's own commits: whoever has a command line may confirm them.
constexpr const char *kPersistId = "ymap";

/// `waiting` is the commit that waits at the device, as far as that is known.
int edit(const Schema &schema, const Run &run, const Options &options,
         const std::optional<device::PendingCommit> &waiting = std::nullopt) {
  auto request = edit_request(schema, options.amplifier, assignments(options));
  request.test_only = options.test_only;
  if (options.confirm && options.test_only)
    throw UsageError("--test-only makes no edit, and --confirm is of one that is made");
  if (options.confirm) {
    request.commit.emplace();
    request.commit->to_confirm = {std::chrono::seconds(*options.confirm), kPersistId};
    if (waiting && waiting->persist == kPersistId) request.commit->persist_id = kPersistId;
  }
  print_warnings(run(request).warnings);
  if (options.confirm)
    print("In force now; what was before is back in " + std::to_string(*options.confirm) +
          " seconds unless you run: ymap confirm\n" +
          (waiting ? "With it goes the change of " + waiting->user + " that waited already.\n"
                   : std::string()));
  return kDone;
}

std::optional<device::PendingCommit> waiting_commit(Session &session) {
  auto *near = session.device().near();
  if (near == nullptr)
    throw UsageError("commits wait to be confirmed in a device folder, or at a server of --connect");
  session.settle();
  return near->state().pending_commit();
}

int confirm(Session &session, const Requester &who, const Options &options) {
  const auto waiting = waiting_commit(session);
  std::optional<std::string> persist_id = options.persist_id;
  if (options.persist_id.empty()) persist_id = waiting ? waiting->persist : std::nullopt;
  options.cancel ? session.cancel_commit(who, persist_id) : session.confirm_commit(who, persist_id);
  return kDone;
}

/// The reply is the result, also where it is a refusal.
int rpc(Session &session, const Requester &who, const Options &options) {
  const RpcMessage message(read_input(options.file));
  try {
    const auto request = message.request(session.schema());
    const auto answer = session.run(who, request);
    print_warnings(answer.warnings);
    print(reply(message.attributes(), content_of(session.schema(), request, answer, Layout::indented),
                Layout::indented));
    return kDone;
  } catch (const RpcError &error) {
    print(error_reply(message.attributes(), error.fault(), Layout::indented));
    return kRefused;
  }
}

int translate(Session &session, const Options &options) {
  const RpcMessage message(read_input(options.file));
  const auto request = message.request(session.schema());
  const auto natives = session.translate(request);
  if (natives.empty()) std::cerr << "ymap: the request has nothing for the device\n";
  for (const auto &native : natives) print(native_request(request.kind, native));
  return kDone;
}

int explain(Session &session, const Requester &who, const Options &options) {
  const RpcMessage message(read_input(options.file));
  // It shows the device's own data, which no rule tells apart.
  if (!session.guard().rights(who).can_read_all_of(session.schema().module_name()))
    throw RpcError(
        {.tag = "access-denied", .message = "user " + who.user() + " may not read all that explain shows"});
  const auto explanation =
      ymap::explain(session, message.request(session.schema()), Terminal::of_standard_output());
  print(explanation.text);
  return explanation.fault ? kRefused : kDone;
}

int map(Session &session, const Options &options) {
  const auto mapping = ask_mapping(session);
  print(options.format == Options::Format::json ? mapping_json(mapping)
                                                : mapping_text(mapping, Terminal::of_standard_output()));
  return kDone;
}

int access(Session &session, const Requester &who, const Options &options) {
  const auto terminal = Terminal::of_standard_output();
  print(options.user.empty() ? rules_text(session, who, terminal)
                             : verdicts_text(session, who, options.user, options.path, terminal));
  return kDone;
}

/// Values that a user may not read are not for him in the record either.
int log(Session &session, const Requester &who, const Options &options) {
  const auto folder = session.device().folder();
  if (folder.empty())
    throw UsageError(
        "the record is kept with a device folder; of a device elsewhere there is the system's log only");
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const LogSelection selection(options, std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
  RecordReader reader(folder);
  const auto show = [&](RecordEntry entry) {
    if (!selection.takes(entry)) return;
    const auto &rights = session.guard().rights(who);
    std::erase_if(entry.changes,
                  [&](const Change &change) { return !rights.can_read(parse_path(change.path)); });
    if (!entry.path.empty() && entry.user != who.user() && !rights.can_read(parse_path(entry.path))) {
      entry.path.clear();
      entry.message.clear();
    }
    print(options.format == Options::Format::json ? entry_json(entry) : entry_text(entry));
  };
  if (options.follow) reader.descriptor();
  reader.read(show);
  while (options.follow) {
    pollfd wait = {reader.descriptor(), POLLIN, 0};
    if (poll(&wait, 1, -1) > 0) reader.read(show);
  }
  return kDone;
}

int dispatch(Session &session, const NamedDevice &device, const Options &options, const OwnCommands &own) {
  const auto who = Requester::of_process("command line");
  const auto run = [&](const Request &request) { return session.run(who, request); };
  switch (options.command) {
    case Options::Command::get:
      return get(session.schema(), run, options);
    case Options::Command::set:
    case Options::Command::unset:
      return edit(session.schema(), run, options, options.confirm ? waiting_commit(session) : std::nullopt);
    case Options::Command::confirm:
      return confirm(session, who, options);
    case Options::Command::watch_commit:
      watch_commit(session);
      return kDone;
    case Options::Command::rpc:
      return rpc(session, who, options);
    case Options::Command::translate:
      return translate(session, options);
    case Options::Command::explain:
      return explain(session, who, options);
    case Options::Command::map:
      return map(session, options);
    case Options::Command::access:
      return access(session, who, options);
    case Options::Command::log:
      return log(session, who, options);
    case Options::Command::netconf:
      serve(session, device);
      return kDone;
    case Options::Command::gnmi:
      return own.gnmi(session, options);
    case Options::Command::watch:
      return own.watch(session.schema(), run, options);
    case Options::Command::completion:
      print(bash_completion(session));
      return kDone;
  }
  return kUnusable;
}

/// The plug-in's outputs while a command runs; the light trace is written when it is over, however it ends.
class Tracing {
 public:
  explicit Tracing(const Options &options) : light_(options.light_trace) {
    if (options.trace) {
      yfw::set_log_sink(yfw::LogLevel::error, yfw::LogSink::standard_error);
      yfw::set_log_sink(yfw::LogLevel::trace, yfw::LogSink::standard_error);
    }
    if (light_) yfw::set_light_trace(kLightTraceLines);
  }
  ~Tracing() {
    if (light_) yfw::dump_light_trace(std::cerr);
  }
  Tracing(const Tracing &) = delete;
  Tracing &operator=(const Tracing &) = delete;

 private:
  bool light_;
};

/// Ends as another program, with the same command line.
[[noreturn]] void become(const std::filesystem::path &program, char **argv) {
  ::execv(program.c_str(), argv);
  throw UsageError(program.string() + " cannot be started: " + std::strerror(errno));
}

/// The commands that need no more of a device than a NETCONF server gives.
int run_connected(const Options &options, const OwnCommands &own) {
  using Command = Options::Command;
  const bool watches = options.command == Command::watch;
  const bool read = options.command == Command::get || watches;
  const bool confirms = options.command == Command::confirm;
  if (!read && !confirms && options.command != Command::set && options.command != Command::unset)
    throw UsageError("--connect is for get, watch, set, unset and confirm; the other commands run here");
  if (!options.device.empty())
    throw UsageError("--connect names a server and --device a device; give one of them");
  if (options.trace || options.light_trace)
    throw UsageError("--trace and --light-trace are of the plug-in here, and --connect uses the server's");
  const auto address = address_of(options.connect, options);
  const Schema schema(find_parts().models, yfw::optical_amplifier().openconfig_module);
  // Opened by the first request, so that one which is wrong already here bothers no server.
  std::optional<netconf::Client> client;
  const auto opened = [&]() -> netconf::Client & {
    if (!client) {
      client.emplace(schema, address);
      print_warnings(client->warnings());
    }
    return *client;
  };
  if (confirms) {
    const auto id = options.persist_id.empty() ? std::string(kPersistId) : options.persist_id;
    print_warnings(opened().end_commit(id, options.cancel).warnings);
    return kDone;
  }
  const auto run = [&](const Request &request) {
    try {
      return opened().run(request);
    } catch (const UsageError &) {
      client.reset();  // who asks again, asks a new session
      throw;
    }
  };
  if (watches) return own.watch(schema, run, options);
  return read ? get(schema, run, options) : edit(schema, run, options);
}

}  // namespace

int run_command(const Options &options, const OwnCommands &own) {
  if (options.candidate && !options.native)
    throw UsageError("--candidate is of --native: OpenConfig's server edits the running datastore");
  if (!options.connect.empty()) return run_connected(options, own);
  if (options.native) {
    serve_native(options);
    return kDone;
  }
  const auto parts = find_parts();
  auto named = named_device(options, parts);
  const auto watch = [folder = named.device->folder()] { start_commit_watch(folder); };
  const auto make = [&] {
    return new Session(parts, std::move(named.device), companions_of(options),
                       {options.records_reads, options.record_is_required});
  };
  const Tracing tracing(options);
  // A device elsewhere must be told that the session is over.
  if (is_remote(options)) {
    const std::unique_ptr<Session> session(make());
    return dispatch(*session, named, options, own);
  }
  // Never taken down: the end of the process does that for nothing.
  static auto &session = *make();
  session.watch_commits(watch);
  return dispatch(session, named, options, own);
}

int run_tool(int argc, char **argv, const OwnCommands &own) {
  Options options;
  try {
    if (const auto status = parse_command_line(argc, argv, options)) {
      flush_output();
      return *status;
    }
    const auto *program = own_program(options.command);
    const bool is_here =
        options.command == Options::Command::gnmi ? own.gnmi != nullptr : own.watch != nullptr;
    if (program != nullptr && !is_here) become(find_program(program), argv);
    return run_command(options, own);
  } catch (const RpcError &error) {
    std::cerr << "ymap: error: " << describe(error.fault()) << "\n";
    return kRefused;
  } catch (const std::exception &error) {
    std::cerr << "ymap: error: " << printable(error.what()) << "\n";
    return kUnusable;
  }
}

std::string describe(const Fault &fault) {
  return printable(fault.tag + (fault.path.empty() ? "" : " at " + fault.path) + ": " + fault.message);
}

}  // namespace ymap
