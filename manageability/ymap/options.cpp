// The command line's options and help.
#include "options.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "help.hpp"
#include "printable.hpp"

namespace ymap {
namespace {

const char *const kExamples = R"(
Examples:
  ymap get                                          all amplifiers, settings and operating values
  ymap get 0/0-AMP-BST2 --config                    the settings of one
  ymap set 0/0-AMP-BST2 target-gain=15.5 enabled=true
  ymap rpc edit.xml                                 a NETCONF <rpc> from a file
  ymap translate edit.xml                           what it would send to the device
  ymap explain edit.xml                             how it comes to that, step by step
  ymap map                                          the mapping, leaf by leaf
  ymap access                                       who may do what here
  ymap log --since 2h                               who changed what
  ymap --connect admin@192.0.2.7 get                from a NETCONF server that knows OpenConfig
  ymap --device ssh://admin@192.0.2.7 get           from a device that does not

Exit status: 0 done, 1 the request was refused, 2 wrong usage, a broken device folder,
or a server that does not answer.
Environment: YMAP_PLUGIN (plug-in library), YMAP_MODELS and YMAP_IETF_MODULES (folders of YANG modules),
YMAP_SSH (ssh command of --connect and --device, such as "ssh -i KEY"), YMAP_JOURNAL ("none" keeps the record
out of the system's log), NO_COLOR.)";

const char *const kGetExamples = R"(
Examples:
  ymap get
  ymap get 0/0-AMP-PRE0 0/0-AMP-BST0 --state
  ymap get -f json | jq .
  ymap get -f prometheus > /var/lib/prometheus/node-exporter/ymap.prom
  ymap get | grep target-gain                       one line a value where it is no terminal
  ymap get 0/0-AMP-BST2 --watch 30)";

const char *const kSetExamples = R"(
Examples:
  ymap set 0/0-AMP-BST2 target-gain=15.5
  ymap set 0/0-AMP-PRE0 target-gain=20 target-gain-tilt=-1.5 gain-range=MID_GAIN_RANGE enabled=true
  ymap set 0/0-AMP-BST2 target-gain=15.5 --confirm 60    back after a minute without "ymap confirm"

All leaves are set, or none.)";

const char *const kUnsetExamples = R"(
Examples:
  ymap unset 0/0-AMP-BST2 target-gain-tilt gain-range)";

const char *const kConfirmExamples = R"(
Examples:
  ymap set 0/0-AMP-BST2 target-gain=15.5 --confirm 60
  ymap confirm
  ymap confirm --cancel                             back to what was, at once

Unless it is confirmed in time, what was before is in force again: also if this machine was off meanwhile.)";

const char *const kRpcExamples = R"(
Examples:
  ymap rpc request.xml
  ymap rpc <<'END'
  <rpc message-id="1" xmlns="urn:ietf:params:xml:ns:netconf:base:1.0">
    <edit-config>
      <target><running/></target>
      <config>
        <optical-amplifier xmlns="http://openconfig.net/yang/optical-amplfier">
          <amplifiers><amplifier>
            <name>0/0-AMP-BST2</name>
            <config><target-gain>15.5</target-gain></config>
          </amplifier></amplifiers>
        </optical-amplifier>
      </config>
    </edit-config>
  </rpc>
  END)";

const char *const kTranslateExamples = R"(
Examples:
  ymap translate request.xml
  ymap translate < request.xml

A read gives one native request an amplifier, an edit gives one.)";

const char *const kExplainExamples = R"(
Examples:
  ymap explain request.xml
  ymap explain request.xml | less

Shows each node, the plug-in's handler for it, the native paths that it adds, what the device was asked and
answered, and how the answer became OpenConfig. An edit is translated only, nothing is stored.)";

const char *const kMapExamples = R"(
Examples:
  ymap map
  ymap map | grep target-gain
  ymap map -f json | jq '.unmapped'

The plug-in is asked leaf by leaf; no device is needed.)";

const char *const kAccessExamples = R"(
Examples:
  ymap access                                       the rules in force, and who is in which group
  ymap access --as anna "/optical-amplifier/amplifiers/amplifier[name='0/0-AMP-PRE0']/config/target-gain"
  ymap access --as anna kill-session                of an operation

Rules are configuration (RFC 8341): NETCONF clients read and edit them as /nacm.)";

const char *const kLogExamples = R"(
Examples:
  ymap log
  ymap log 0/0-AMP-BST2 --user anna --since 2026-11-23
  ymap log --since 2h -f json | jq .
  ymap log --follow

Times are UTC: 2026-11-23, 2026-11-23T08:30 or 2026-11-23T08:30:00; or that long ago: 90s, 5m, 2h, 7d.)";

const char *const kNetconfExamples = R"(
Examples:
  Subsystem netconf /usr/local/bin/ymap netconf --device /var/lib/ymap

  Subsystem netconf /usr/local/bin/ymap netconf --device ssh://admin@192.0.2.7
  Subsystem netconf /usr/local/bin/ymap netconf --native --candidate --device /var/lib/ymap

are lines of sshd_config: OpenSSH's server then runs the command for every session, and any NETCONF client can
manage the amplifiers. All sessions of a device share its folder.)";

const char *const kGnmiExamples = R"(
Examples:
  ymap gnmi --certificate server.crt --key server.key --client-ca clients.crt --listen [::]:9339
  ymap gnmi --insecure --as "$USER"                 for yourself, on 127.0.0.1:9339
  ymap gnmi --config /etc/ymap/gnmi.conf

A file of options has one a line, such as listen = "[::]:9339" below the line [gnmi]; SIGHUP reads it and the
certificates again. gNMI knows users by their certificates (the e-mail address or DNS name, else the common
name) or, where PAM may be asked, by user name and password.)";

const char *const kWatchExamples = R"(
Examples:
  ymap watch
  ymap watch 0/0-AMP-BST2 --interval 0.5

Keys: digits and arrow keys choose an amplifier, a shows all; g gain, t tilt, b both; + and - less and more time;
q leaves.)";

const char *const kCompletionExamples = R"(
Examples:
  source <(ymap completion bash)
  ymap completion bash > ~/.local/share/bash-completion/completions/ymap)";

/// An unset variable of the shell must not lead to the user's own device.
CLI::Validator not_empty() {
  return {[](const std::string &value) { return std::string(value.empty() ? "it is empty" : ""); }, ""};
}

/// The parser, bound to the options that it fills.
class Parser {
 public:
  /// Of `words`, the command line, or of all commands if it names none.
  explicit Parser(Options &options, std::span<const char *const> words = {})
      : options_(options), words_(words) {
    app_.set_version_flag("--version", std::string("ymap ") + YMAP_VERSION);
    app_.formatter(std::make_shared<HelpFormatter>());
    app_.footer(kExamples);
    app_.require_subcommand(1);
    app_.add_option(
            "--device", options_.device,
            "Folder of the emulated device, your own without it; or a device that speaks its own models "
            "over NETCONF, port 830 without one")
        ->type_name("DIR|ssh://[USER@]HOST[:PORT]")
        ->check(not_empty());
    app_.add_option("--connect", options_.connect,
                    "NETCONF server to get from, set and unset at, in the place of a device folder; port 830 "
                    "without one")
        ->type_name("[USER@]HOST[:PORT]")
        ->check(not_empty());
    app_.add_option("--timeout", options_.timeout, "How long the server may take to answer; 30 without it")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.1, 86400.0).description(""));
    app_.add_flag("-v,--verbose", options_.verbose,
                  "Messages to and from a server or a device elsewhere on standard error");
    app_.add_flag(
        "--trace", options_.trace,
        "The plug-in's log on standard error, and sizes and times of messages to a device elsewhere");
    app_.add_flag("--log-reads", options_.records_reads, "Reads stand in the record too, beside changes");
    app_.add_flag("--log-required", options_.record_is_required, "Do nothing that cannot be recorded");
    app_.add_flag("--light-trace", options_.light_trace, "The plug-in's light trace on standard error");
    // Others have no file: to look for one would cost them time.
    const auto is_gnmi = [](const char *word) { return std::string_view(word) == "gnmi"; };
    if (std::ranges::any_of(words_, is_gnmi)) {
      app_.set_config("--config", "", "File of options")->type_name("FILE");
      app_.allow_config_extras(CLI::config_extras_mode::error);
    }
    add_commands();
    if (app_.get_subcommands({}).empty()) {
      words_ = {};
      add_commands();
    }
  }

  CLI::App &app() { return app_; }

  /// Gives all commands their options.
  void fill_all() {
    for (const auto &[sub, fill] : fills_) fill(sub);
  }

 private:
  void add_commands() {
    add_get();
    add_edit(Options::Command::set, "set", "Set leaves of an amplifier's config", kAssignment, kSetExamples);
    add_edit(Options::Command::unset, "unset", "Remove leaves of an amplifier's config", "LEAF",
             kUnsetExamples);
    add_confirm();
    add_message(Options::Command::rpc, "rpc", "Run a NETCONF <rpc>: get, get-config, edit-config, validate",
                kRpcExamples);
    add_message(Options::Command::translate, "translate", "Show the native requests of an <rpc>, run nothing",
                kTranslateExamples);
    add_message(Options::Command::explain, "explain", "Tell how an <rpc> is mapped, step by step",
                kExplainExamples);
    add_map();
    add_access();
    add_log();
    add(Options::Command::netconf, "netconf", "Serve a NETCONF session on standard input and output",
        kNetconfExamples, [this](CLI::App *sub) {
          sub->add_flag("--native", options_.native,
                        "The emulated device's own models in the place of OpenConfig's");
          sub->add_flag("--candidate", options_.candidate, "With --native: a candidate datastore too");
        });
    add_gnmi();
    add_watch();
    add_completion();
  }

  /// Gives a command its options, when it turns out to be the one.
  using Fill = std::function<void(CLI::App *sub)>;

  void add(Options::Command command, const char *name, const char *description, const char *examples,
           Fill fill = {}) {
    const auto is_name = [&](const char *word) { return std::string_view(word) == name; };
    if (!words_.empty() && std::ranges::none_of(words_, is_name)) return;
    auto *sub = app_.add_subcommand(name, description);
    if (*description == '\0') sub->group("");  // not shown
    sub->fallthrough();
    sub->footer(examples);
    sub->final_callback([this, command] { options_.command = command; });
    if (!fill) return;
    sub->preparse_callback([sub, fill](std::size_t) { fill(sub); });
    fills_.emplace_back(sub, std::move(fill));
  }

  void add_get() {
    add(Options::Command::get, "get", "Read amplifiers: settings and operating values", kGetExamples,
        [this](CLI::App *sub) { fill_get(sub); });
  }

  void fill_get(CLI::App *sub) {
    sub->add_option("AMPLIFIER", options_.amplifiers, "Names of amplifiers; all without any");
    auto *config = sub->add_flag("--config", options_.config_only, "Settings only");
    sub->add_flag("--state", options_.state_only, "State only")->excludes(config);
    add_format(sub, true);
    sub->add_option("--watch", options_.watch, "Read again every so many seconds, until interrupted")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.1, 86400.0).description(""));
  }

  void add_edit(Options::Command command, const char *name, const char *description, const char *argument,
                const char *examples) {
    add(command, name, description, examples, [this, argument](CLI::App *sub) {
      sub->add_option("AMPLIFIER", options_.amplifier, "Name of the amplifier")->required();
      sub->add_option(argument, options_.arguments, "One or more, one transaction")->required();
      sub->add_flag("--test-only", options_.test_only, "Try it, and change nothing");
      sub->add_option("--confirm", options_.confirm,
                      "Take it back after so long, unless \"ymap confirm\" comes before")
          ->type_name("SECONDS")
          ->check(CLI::Range(uint32_t{1}, std::numeric_limits<uint32_t>::max()).description(""));
    });
  }

  void add_confirm() {
    add(Options::Command::confirm, "confirm", "Confirm a change that is taken back otherwise",
        kConfirmExamples, [this](CLI::App *sub) {
          sub->add_option("ID", options_.persist_id, "persist-id of the commit; whichever waits without it");
          sub->add_flag("--cancel", options_.cancel, "Take it back now");
        });
    // Of the tool's own processes.
    add(Options::Command::watch_commit, "watch-commit", "", "");
  }

  void add_gnmi() {
    add(Options::Command::gnmi, "gnmi", "Serve gNMI: telemetry, and settings", kGnmiExamples,
        [this](CLI::App *sub) { fill_gnmi(sub); });
  }

  void fill_gnmi(CLI::App *sub) {
    sub->add_option("--listen", options_.listen, "Where to listen; 127.0.0.1:9339 without it")
        ->type_name("ADDRESS:PORT|unix:PATH")
        ->check(not_empty());
    auto *certificate = add_file(sub, "--certificate", options_.certificate,
                                 "The server's certificate and those behind it, PEM");
    auto *key = add_file(sub, "--key", options_.key, "Its private key, PEM");
    certificate->needs(key);
    key->needs(certificate);
    add_file(sub, "--client-ca", options_.client_ca,
             "Authorities whose certificates clients must show; they name the user");
    sub->add_option("--pam", options_.pam, "PAM service that judges users and passwords; needs root")
        ->type_name("SERVICE")
        ->check(not_empty());
    sub->add_option("--as", options_.as_user,
                    "Who asks where a request names nobody; without it, it is refused")
        ->type_name("USER")
        ->check(not_empty());
    sub->add_flag("--insecure", options_.insecure,
                  "Without TLS, on a loopback address or a Unix socket only");
    sub->add_option("--max-subscriptions", options_.most_subscriptions,
                    "How many may be open at once; 2000 without it")
        ->type_name("NUMBER")
        ->check(CLI::Range(uint32_t{1}, uint32_t{100000}).description(""));
    sub->add_option("--max-stall", options_.most_stalled,
                    "How long a subscriber may take nothing before it is closed; 30 without it")
        ->type_name("SECONDS")
        ->check(CLI::Range(uint32_t{1}, uint32_t{3600}).description(""));
  }

  CLI::Option *add_file(CLI::App *sub, const char *name, std::string &file, const char *description) {
    return sub->add_option(name, file, description)->type_name("FILE")->check(not_empty());
  }

  void add_watch() {
    add(Options::Command::watch, "watch", "Look at amplifiers: gain and tilt over time", kWatchExamples,
        [this](CLI::App *sub) {
          sub->add_option("AMPLIFIER", options_.amplifiers, "Names of amplifiers; all without any");
          sub->add_option("--interval", options_.watch, "How often they are read; 1 without it")
              ->type_name("SECONDS")
              ->check(CLI::Range(0.1, 3600.0).description(""));
        });
  }

  void add_message(Options::Command command, const char *name, const char *description,
                   const char *examples) {
    add(command, name, description, examples, [this](CLI::App *sub) {
      sub->add_option("FILE", options_.file, "File with the <rpc>; - or none: standard input");
    });
  }

  void add_map() {
    add(Options::Command::map, "map", "Show the mapping, leaf by leaf", kMapExamples,
        [this](CLI::App *sub) { add_format(sub, false); });
  }

  void add_access() {
    add(Options::Command::access, "access", "Show who may do what", kAccessExamples, [this](CLI::App *sub) {
      auto *path =
          sub->add_option("PATH", options_.path, "A data node, or the name of an operation or event");
      auto *user = sub->add_option("--as", options_.user, "What this user may do there, and by which rule")
                       ->type_name("USER")
                       ->check(not_empty());
      path->needs(user);
      user->needs(path);
    });
  }

  void add_log() {
    add(Options::Command::log, "log", "Show the record: who changed what, and when", kLogExamples,
        [this](CLI::App *sub) {
          sub->add_option("AMPLIFIER", options_.amplifiers, "Names of amplifiers; all without any");
          sub->add_option("--user", options_.user, "What this user did")
              ->type_name("USER")
              ->check(not_empty());
          sub->add_option("--since", options_.since, "From then on")->type_name("TIME")->check(not_empty());
          sub->add_option("--until", options_.until, "Before then")->type_name("TIME")->check(not_empty());
          sub->add_flag("--follow", options_.follow, "Go on with what comes, until interrupted");
          add_format(sub, false);
        });
  }

  /// Text and JSON, and where it is data of amplifiers more.
  void add_format(CLI::App *sub, bool of_data) {
    static const std::map<std::string, Options::Format> all = {{"text", Options::Format::text},
                                                               {"xml", Options::Format::xml},
                                                               {"json", Options::Format::json},
                                                               {"prometheus", Options::Format::prometheus}};
    static const std::map<std::string, Options::Format> few = {{"text", Options::Format::text},
                                                               {"json", Options::Format::json}};
    sub->add_option_function<std::string>(
           "-f,--format", [this](const std::string &word) { options_.format = all.at(word); },
           of_data ? "text, xml, json or prometheus" : "text or json")
        ->type_name("FORMAT")
        ->check(CLI::IsMember(of_data ? all : few).description(""));
  }

  void add_completion() {
    add(Options::Command::completion, "completion", "Print a completion script for a shell",
        kCompletionExamples, [this](CLI::App *sub) {
          sub->add_option("SHELL", shell_, "bash")
              ->required()
              ->check(CLI::IsMember({"bash"}).description(""));
        });
  }

  Options &options_;
  std::span<const char *const> words_;
  std::vector<std::pair<CLI::App *, Fill>> fills_;
  std::string shell_;
  CLI::App app_{"Reads and sets the amplifiers of an optical line system in OpenConfig terms.", "ymap"};
};

void collect(const CLI::App &app, const std::string &name, std::vector<CommandWords> &commands) {
  CommandWords words{name, {}};
  for (const auto *option : app.get_options()) {
    for (const auto &letter : option->get_snames()) words.options.push_back("-" + letter);
    for (const auto &word : option->get_lnames()) words.options.push_back("--" + word);
  }
  commands.push_back(std::move(words));
}

}  // namespace

const char *own_program(Options::Command command) {
  switch (command) {
    case Options::Command::gnmi:
      return "ymap-gnmi";
    case Options::Command::watch:
      return "ymap-watch";
    default:
      return nullptr;
  }
}

std::optional<int> parse_command_line(int argc, const char *const *argv, Options &options) {
  options.words.assign(argv, argv + argc);
  Parser parser(options, {argv, static_cast<std::size_t>(argc)});
  try {
    parser.app().parse(argc, argv);
    return std::nullopt;
  } catch (const CLI::Success &wanted) {
    return parser.app().exit(wanted);
  } catch (const CLI::ParseError &error) {
    const auto rest = parser.app().remaining();
    const bool no_command = parser.app().get_subcommands().empty() && !rest.empty();
    std::cerr << "ymap: error: "
              << printable(no_command ? "\"" + rest.front() + "\" is no command or option" : complaint(error))
              << "\nymap --help, or ymap COMMAND --help, shows the usage.\n";
    return 2;
  }
}

std::optional<int> parse_again(const Options &options, Options &fresh) {
  std::vector<const char *> words;
  for (const auto &word : options.words) words.push_back(word.c_str());
  return parse_command_line(static_cast<int>(words.size()), words.data(), fresh);
}

std::vector<CommandWords> command_words() {
  Options unused;
  Parser parser(unused);
  parser.fill_all();
  std::vector<CommandWords> commands;
  collect(parser.app(), "", commands);
  for (const auto *sub : parser.app().get_subcommands([](const CLI::App *) { return true; }))
    if (!sub->get_group().empty()) collect(*sub, sub->get_name(), commands);
  return commands;
}

}  // namespace ymap
