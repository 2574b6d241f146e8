// Starting a session and talking with it.
#include "session_process.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <initializer_list>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace ymap::bench {
namespace {

constexpr std::string_view kEndOfMessage = "]]>]]>";

std::array<int, 2> make_pipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe can be made");
  return ends;
}

}  // namespace

SessionProcess::SessionProcess(const char *tool, const std::filesystem::path &folder) {
  const auto requests = make_pipe(), replies = make_pipe();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, requests[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, replies[1], STDOUT_FILENO);
  std::array<std::string, 4> words = {tool, "--device", folder.string(), "netconf"};
  std::array<char *, 5> arguments = {words[0].data(), words[1].data(), words[2].data(), words[3].data(),
                                     nullptr};
  const int failure = posix_spawn(&process_, tool, &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(requests[0]);
  close(replies[1]);
  input_ = requests[1];
  output_ = replies[0];
  if (failure != 0) throw std::runtime_error(std::string(tool) + " cannot be started");
  receive();
  const std::string hello =
      R"(<hello xmlns="urn:ietf:params:xml:ns:netconf:base:1.0"><capabilities>)"
      R"(<capability>urn:ietf:params:netconf:base:1.0</capability></capabilities></hello>)";
  const auto framed = hello + std::string(kEndOfMessage);
  if (write(input_, framed.data(), framed.size()) != static_cast<ssize_t>(framed.size()))
    throw std::runtime_error("the session took no hello");
}

SessionProcess::~SessionProcess() {
  close(input_);
  close(output_);
  if (process_ > 0) waitpid(process_, nullptr, 0);
}

std::string SessionProcess::exchange(const std::string &message) {
  const auto framed = message + std::string(kEndOfMessage);
  if (write(input_, framed.data(), framed.size()) != static_cast<ssize_t>(framed.size()))
    throw std::runtime_error("the session ended");
  return receive();
}

std::string SessionProcess::receive() {
  std::array<char, 1U << 16> block{};
  while (true) {
    if (const auto end = received_.find(kEndOfMessage); end != std::string::npos) {
      auto message = received_.substr(0, end);
      received_.erase(0, end + kEndOfMessage.size());
      return message;
    }
    const auto count = read(output_, block.data(), block.size());
    if (count <= 0) throw std::runtime_error("the session ended");
    received_.append(block.data(), static_cast<std::size_t>(count));
  }
}

double SessionProcess::processor_time() const {
  std::ifstream file("/proc/" + std::to_string(process_) + "/stat");
  std::string text;
  std::getline(file, text);
  // Fields 14 and 15; the second is a name in parentheses that may hold anything.
  std::istringstream fields(text.substr(text.rfind(')') + 2));
  std::string skipped;
  for (int field = 3; field < 14; ++field) fields >> skipped;
  long user = 0, system = 0;
  fields >> user >> system;
  return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

SessionProcess::Memory SessionProcess::memory() const {
  const auto sum_of = [this](const char *name, std::initializer_list<std::string_view> fields) {
    std::ifstream file("/proc/" + std::to_string(process_) + "/" + name);
    double sum = 0;
    for (std::string line; std::getline(file, line);)
      for (const auto field : fields)
        if (line.starts_with(field)) sum += std::stod(line.substr(field.size()));
    return sum;
  };
  return {sum_of("smaps_rollup", {"Rss:"}), sum_of("smaps_rollup", {"Private_Clean:", "Private_Dirty:"}),
          sum_of("status", {"VmHWM:"})};
}

}  // namespace ymap::bench
