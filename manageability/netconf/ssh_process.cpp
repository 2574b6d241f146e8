// Starts and ends ssh.
#include "ssh_process.hpp"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "rpc_error.hpp"

namespace ymap::netconf {
namespace {

constexpr auto kGrace = std::chrono::seconds(2);
constexpr auto kStep = std::chrono::milliseconds(5);

[[noreturn]] void no_destination(const std::string &text, const std::string &reason) {
  throw UsageError("\"" + text + "\" is no server: " + reason +
                   "; write [USER@]HOST[:PORT], such as admin@192.0.2.7:830 or [2001:db8::7]:830");
}

uint16_t parse_port(const std::string &text, std::string_view digits) {
  uint16_t port = 0;
  const auto *end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, port);
  if (error != std::errc() || stop != end || port == 0)
    no_destination(text, "\"" + std::string(digits) + "\" is no port from 1 to 65535");
  return port;
}

/// The command with its arguments; one from the environment goes through the shell, as it may hold quoted
/// words.
std::vector<std::string> command_of(const Destination &destination) {
  std::vector<std::string> words = {"ssh"};
  const char *named = std::getenv("YMAP_SSH");
  if (named != nullptr && *named != '\0')
    words = {"/bin/sh", "-c", std::string(named) + " \"$@\"", "YMAP_SSH"};
  for (const auto &word : {std::string("-s"), std::string("-p"), std::to_string(destination.port),
                           destination.host, std::string("netconf")})
    words.push_back(word);
  return words;
}

bool ends_within(pid_t process, std::chrono::steady_clock::duration time) {
  const auto end = std::chrono::steady_clock::now() + time;
  while (waitpid(process, nullptr, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(kStep);
  }
  return true;
}

}  // namespace

std::string Destination::text() const {
  return host + " port " + std::to_string(port);
}

Destination parse_destination(const std::string &text) {
  Destination destination;
  std::string_view rest = text;
  const auto at = rest.rfind('@');
  const auto user = at == std::string_view::npos ? std::string_view() : rest.substr(0, at);
  if (at != std::string_view::npos) rest.remove_prefix(at + 1);
  std::string_view host = rest;
  if (rest.starts_with('[')) {
    const auto close = rest.find(']');
    if (close == std::string_view::npos) no_destination(text, "the bracket is not closed");
    host = rest.substr(1, close - 1);
    rest.remove_prefix(close + 1);
    if (!rest.empty() && rest.front() != ':') no_destination(text, "a colon must follow the bracket");
  } else {
    if (std::ranges::count(rest, ':') > 1) no_destination(text, "an IPv6 address stands in brackets");
    host = rest.substr(0, rest.find(':'));
    rest.remove_prefix(host.size());
  }
  if (host.empty() || (at != std::string_view::npos && user.empty())) no_destination(text, "a name is empty");
  // ssh would take it as an option.
  if (host.front() == '-' || user.starts_with('-')) no_destination(text, "no name begins with a dash");
  if (!rest.empty()) destination.port = parse_port(text, rest.substr(1));
  destination.host = (user.empty() ? "" : std::string(user) + "@") + std::string(host);
  return destination;
}

SshProcess::SshProcess(const Destination &destination) {
  auto words = command_of(destination);
  std::vector<char *> arguments;
  arguments.reserve(words.size() + 1);
  for (auto &word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input_[Pipe::reading], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output_[Pipe::writing], STDOUT_FILENO);
  // A server holds signals back while it works; ssh shall hear them.
  sigset_t none;
  sigset_t pipe;
  sigemptyset(&none);
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &pipe);
  const int error = posix_spawnp(&process_, arguments[0], &actions, &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    throw UsageError(std::string("ssh cannot be started: ") + std::strerror(error) +
                     "; install openssh-client, or name the command in YMAP_SSH");
  }
  input_.shut(Pipe::reading);
  output_.shut(Pipe::writing);
}

SshProcess::~SshProcess() {
  input_.shut(Pipe::writing);
  output_.shut(Pipe::reading);
  if (ends_within(process_, kGrace)) return;
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
}

}  // namespace ymap::netconf
