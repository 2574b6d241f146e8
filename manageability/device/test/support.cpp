// What the tests of the device share; see support.hpp.
#include "support.hpp"

#include <libyang/libyang.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>

namespace device::test {

namespace {

const std::map<std::string, std::string> kModules = {{"if", "Velm-NALTO-ifmgr-cfg"},
                                                     {"cfg", "Velm-NALTO-controller-ots-cfg"},
                                                     {"oper", "Velm-NALTO-controller-ots-oper"},
                                                     {"pm", "Velm-NALTO-pmengine-oper"},
                                                     {"strange", "strange"}};

const std::map<std::string, RequestNode::Operation> kOperations = {
    {"create", RequestNode::Operation::create},
    {"replace", RequestNode::Operation::replace},
    {"merge", RequestNode::Operation::merge},
    {"delete", RequestNode::Operation::remove_existing},
    {"remove", RequestNode::Operation::remove}};

class Parser {
 public:
  explicit Parser(const char *text) : at_(text) {}

  std::vector<RequestNode> siblings(const std::string &ns) {
    std::vector<RequestNode> nodes;
    for (skip(); *at_ != '\0' && *at_ != '}'; skip()) nodes.push_back(node(ns));
    return nodes;
  }

 private:
  void skip() {
    while (std::isspace(static_cast<unsigned char>(*at_)) != 0) ++at_;
  }

  std::string word(const char *stop) {
    std::string text;
    while (*at_ != '\0' && std::string(stop).find(*at_) == std::string::npos) text += *at_++;
    return text;
  }

  std::string value() {
    if (*at_ != '\'') return word(" \n{}!");
    ++at_;
    std::string text = word("'");
    ++at_;
    return text;
  }

  RequestNode node(const std::string &ns) {
    RequestNode result;
    result.origin = at_;
    result.ns = ns;
    result.name = word(" \n={}!");
    if (const size_t colon = result.name.find(':'); colon != std::string::npos) {
      result.ns = "http://velm.example/ns/yang/" + kModules.at(result.name.substr(0, colon));
      result.name.erase(0, colon + 1);
    }
    if (*at_ == '=') {
      ++at_;
      result.value = value();
    }
    if (*at_ == '!') {
      ++at_;
      result.operation = kOperations.at(word(" \n{}"));
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

void print_node(const lyd_node *node, std::string &text) {
  const lys_module *module = node->schema->module;
  if (!text.empty() && text.back() != '{') text += ' ';
  if (node->parent == nullptr || module != node->parent->schema->module) {
    for (const auto &[prefix, name] : kModules) {
      if (name == module->name) text += prefix + ":";
    }
  }
  text += node->schema->name;
  if ((node->schema->nodetype & LYD_NODE_TERM) != 0) {
    const std::string value = lyd_get_value(node);
    const bool plain = !value.empty() && value.find(' ') == std::string::npos;
    text += plain ? "=" + value : "='" + value + "'";
    return;
  }
  text += '{';
  for (const lyd_node *child = lyd_child(node); child != nullptr; child = child->next)
    print_node(child, text);
  text += '}';
}

}  // namespace

std::vector<RequestNode> request(const char *text) {
  return Parser(text).siblings("");
}

std::string print(const lyd_node *tree) {
  std::string text;
  for (; tree != nullptr; tree = tree->next) print_node(tree, text);
  return text;
}

std::string read(const Device &device, const char *filter, ReadCount *count) {
  const Tree answer = device.read(request(filter), count);
  return print(answer.get());
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

std::string folder_error(const std::function<void()> &work) {
  try {
    work();
  } catch (const FolderError &error) {
    return error.what();
  }
  return "no error";
}

}  // namespace device::test
