// What the tests of the device share; see support.hpp.
#include "support.hpp"

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string_view>

namespace device::test {

namespace {

const std::map<std::string, std::string, std::less<>> kNamespaces = {
    {"if", "http://velm.example/ns/yang/Velm-NALTO-ifmgr-cfg"},
    {"cfg", "http://velm.example/ns/yang/Velm-NALTO-controller-ots-cfg"},
    {"oper", "http://velm.example/ns/yang/Velm-NALTO-controller-ots-oper"},
    {"pm", "http://velm.example/ns/yang/Velm-NALTO-pmengine-oper"},
    {"strange", "http://velm.example/ns/yang/strange"}};

const std::map<std::string, RequestNode::Operation, std::less<>> kOperations = {
    {"create", RequestNode::Operation::create},
    {"replace", RequestNode::Operation::replace},
    {"merge", RequestNode::Operation::merge},
    {"delete", RequestNode::Operation::remove_existing},
    {"remove", RequestNode::Operation::remove}};

class Parser {
 public:
  explicit Parser(const char *text) : at_(text) {}

  std::vector<RequestNode> siblings(std::string_view ns) {
    std::vector<RequestNode> nodes;
    for (skip(); *at_ != '\0' && *at_ != '}'; skip()) nodes.push_back(node(ns));
    return nodes;
  }

 private:
  void skip() {
    while (std::isspace(static_cast<unsigned char>(*at_)) != 0) ++at_;
  }

  std::string_view word(const char *stop) {
    const char *begin = at_;
    while (*at_ != '\0' && std::string_view(stop).find(*at_) == std::string_view::npos) ++at_;
    return {begin, static_cast<size_t>(at_ - begin)};
  }

  std::string_view value() {
    if (*at_ != '\'') return word(" \n{}!");
    ++at_;
    const auto text = word("'");
    ++at_;
    return text;
  }

  RequestNode node(std::string_view ns) {
    RequestNode result;
    result.origin = at_;
    result.ns = ns;
    result.name = word(" \n={}!");
    if (const size_t colon = result.name.find(':'); colon != std::string_view::npos) {
      result.ns = kNamespaces.find(result.name.substr(0, colon))->second;
      result.name.remove_prefix(colon + 1);
    }
    if (*at_ == '=') {
      ++at_;
      result.value = value();
    }
    if (*at_ == '!') {
      ++at_;
      result.operation = kOperations.find(word(" \n{}"))->second;
    }
    if (*at_ == '{') {
      ++at_;
      result.children = siblings(result.ns);
      if (*at_++ != '}') throw std::invalid_argument("a brace is open");
    }
    return result;
  }

  const char *at_;
};

/// Writes an answer in the notation.
class Notation : public AnswerSink {
 public:
  void open(const char *name, const char *ns) override {
    begin(name, ns);
    text += '{';
    namespaces_.emplace_back(ns);
  }
  void leaf(const char *name, const char *ns, const char *value) override {
    begin(name, ns);
    const std::string shown = value;
    const bool plain = !shown.empty() && shown.find(' ') == std::string::npos;
    text += plain ? "=" + shown : "='" + shown + "'";
  }
  void close() override {
    text += '}';
    namespaces_.pop_back();
  }

  std::string text;

 private:
  void begin(const char *name, const std::string &ns) {
    if (!text.empty() && text.back() != '{') text += ' ';
    if (namespaces_.empty() || ns != namespaces_.back()) {
      for (const auto &[prefix, known] : kNamespaces) {
        if (known == ns) text += prefix + ":";
      }
    }
    text += name;
  }

  std::vector<std::string> namespaces_;
};

}  // namespace

std::vector<RequestNode> request(const char *text) {
  return Parser(text).siblings("");
}

std::string read(const Device &device, const char *filter, ReadCount *count) {
  Notation notation;
  const ReadCount counted = device.read(request(filter), notation);
  if (count != nullptr) *count = counted;
  return notation.text;
}

std::string read_candidate(const Device &device, const char *filter) {
  Notation notation;
  device.read_candidate(request(filter), notation);
  return notation.text;
}

Workplace::Workplace() {
  std::string name = (std::filesystem::temp_directory_path() / "device-test-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = name;
  std::filesystem::permissions(path_, std::filesystem::perms(0755));
}

Workplace::~Workplace() {
  std::filesystem::remove_all(path_);
}

std::string Workplace::running_text() const {
  std::ifstream file(running());
  return {std::istreambuf_iterator<char>(file), {}};
}

void Workplace::write(const char *file, const std::string &text) const {
  std::ofstream(path_ / file) << text;
}

std::vector<std::string> Workplace::files() const {
  std::vector<std::string> names;
  for (const auto &entry : std::filesystem::directory_iterator(path_)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

Unprivileged::Unprivileged() : held_(::geteuid() != 0 || ::seteuid(65534) == 0) {}

Unprivileged::~Unprivileged() {
  if (::getuid() == 0 && ::seteuid(0) != 0) std::abort();
}

pid_t in_process(const std::function<void()> &work) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  try {
    work();
  } catch (...) {
    ::_exit(1);
  }
  ::_exit(0);
}

int exit_status(pid_t child) {
  int status = -1;
  ::waitpid(child, &status, 0);
  return status;
}

std::optional<int> killed_before_call(int call, const std::function<void()> &work) {
  const pid_t child = in_process([&] {
    if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) return;
    ::raise(SIGSTOP);
    work();
  });
  int status = 0;
  ::waitpid(child, &status, 0);
  if (!WIFSTOPPED(status)) return std::nullopt;
  // Each call stops the process twice, as it begins and as it ends.
  for (int stop = 0; WIFSTOPPED(status); ++stop) {
    if (stop == 2 * call + 1) ::kill(child, SIGKILL);
    ::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    ::waitpid(child, &status, 0);
  }
  return status;
}

std::string folder_error(const std::function<void()> &work) {
  try {
    work();
  } catch (const FolderError &error) {
    return error.what();
  }
  return "no error";
}

}  // namespace device::test
