/// \file
/// The command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ymap {

struct Options {
  enum class Command {
    get,
    set,
    unset,
    rpc,
    translate,
    explain,
    map,
    access,
    log,
    netconf,
    confirm,
    watch_commit,
    gnmi,
    watch,
    completion
  };
  enum class Format { text, xml, json, prometheus };

  Command command = Command::get;
  std::string device;   ///< folder, or "ssh://" and a native NETCONF server; empty: the user's own folder
  std::string connect;  ///< NETCONF server in the place of a device folder; empty: none
  double timeout = 30;  ///< seconds that the server has for the login and for each answer
  bool trace = false;
  bool verbose = false;  ///< messages to and from servers
  bool light_trace = false;

  std::vector<std::string> amplifiers;  ///< get
  bool config_only = false;
  bool state_only = false;
  Format format = Format::text;
  std::optional<double> watch;  ///< seconds between two reads

  std::string amplifier;               ///< set, unset
  std::vector<std::string> arguments;  ///< set: LEAF=VALUE; unset: LEAF

  bool test_only = false;  ///< tried, not stored

  std::optional<uint32_t> confirm;  ///< set, unset: seconds after which it is taken back
  std::string persist_id;           ///< confirm: of the commit; empty: whichever waits
  bool cancel = false;              ///< confirm: take it back now

  std::string user;                 ///< access: of whom, empty for the rules; log: whose, empty for all
  std::string path;                 ///< access: data node or operation
  std::string since, until;         ///< log: times, empty for none
  bool follow = false;              ///< log: go on with what comes
  bool records_reads = false;       ///< reads too stand in the record
  bool record_is_required = false;  ///< what cannot be recorded is not done

  bool native = false;     ///< netconf: the device's own models in the place of OpenConfig's
  bool candidate = false;  ///< netconf: with a candidate datastore

  bool insecure = false;               ///< gnmi: without TLS
  uint32_t most_subscriptions = 2000;  ///< gnmi
  uint32_t most_stalled = 30;          ///< gnmi: seconds
  std::string listen;                  ///< gnmi: address and port, or "unix:" and a path
  std::string certificate, key;        ///< gnmi: files, PEM
  std::string client_ca;               ///< gnmi: file of those whose certificates name users; empty: none
  std::string as_user;                 ///< gnmi: who asks where nobody is named; empty: nobody
  std::string pam;                     ///< gnmi: PAM service that judges passwords; empty: none

  std::vector<std::string> words;  ///< the command line

  std::string file = "-";  ///< rpc, translate, explain; "-" is standard input
};

/// The programs of those commands whose libraries would make the start of all others slow; nullptr for the
/// others.
const char *own_program(Options::Command command);

/// Reads the command line into `options`. The exit status where nothing is left to do: 0 after --help and
/// --version, 2 after a message about wrong usage.
std::optional<int> parse_command_line(int argc, const char *const *argv, Options &options);

/// Reads the command line that `options` are of again, and with it the file of options.
std::optional<int> parse_again(const Options &options, Options &fresh);

/// A subcommand as the shell completes it.
struct CommandWords {
  std::string name;                  ///< empty for the tool itself
  std::vector<std::string> options;  ///< "-f", "--format"
};
std::vector<CommandWords> command_words();

}  // namespace ymap
