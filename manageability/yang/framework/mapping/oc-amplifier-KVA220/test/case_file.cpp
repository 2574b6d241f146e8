// Scenario files; see case_file.hpp.
#include "case_file.hpp"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "scenario.hpp"

namespace ymap_test {

namespace {

std::string rest_of(std::istringstream &words) {
  std::string rest;
  std::getline(words >> std::ws, rest);
  return rest;
}

std::string word_of(std::istringstream &words) {
  std::string word;
  words >> word;
  return word;
}

verrno record_callback(yfw_map_ctx *, vidl_yfw_datatree *node, vidl_yfw_datatree *, uint32_t zero) {
  Recorder &recorder = Recorder::instance();
  recorder.line("callback " + fold_path(recorder.forest().path(node)) + ":" +
                operation_name(node->operation) + (zero == 0 ? "" : " !! last argument"));
  return YMAP_ERR_BAD_NODE;
}

// One case on its way: directives prepare the scenario, `on` gives the tree.
class Run {
 public:
  explicit Run(const Case &one) : case_(one), header_(one.directives.front()) {
    word_of(header_);
    function_ = unfold_function(word_of(header_));
    header_ >> scenario_.request.type;
    const std::string both = word_of(header_);
    const size_t bar = both.find('|');
    if (bar == std::string::npos) throw std::invalid_argument(one.place + ": no slots PRE|BST");
    const std::string pre = both.substr(0, bar);
    const std::string bst = both.substr(bar + 1);
    scenario_.slots(pre == "NULL" ? nullptr : pre.c_str(), bst == "NULL" ? nullptr : bst.c_str());
    scenario_.recorder.self = function_;
    scenario_.recorder.marks = true;
    scenario_.recorder.quiet = {"compare_path", "check_request_type_3"};
    scenario_.recorder.view = View::full;
  }

  std::string outcome() {
    for (size_t i = 1; i < case_.directives.size(); ++i) prepare(case_.directives[i]);
    vidl_yfw_datatree *node = root_;
    std::vector<vidl_yfw_datatree *> path{node};
    for (int i = 0; i < depth_; ++i) path.push_back(node = node->subtrees);
    if (!list_.empty()) scenario_.on_path(path, list_);
    scenario_.recorder.indent = indent_;
    scenario_.call(function_, node);
    for (const std::string &what : shown_) show(what);
    return inside_.empty() ? scenario_.outcome() : lines_inside();
  }

 private:
  void prepare(const std::string &directive) {
    std::istringstream words(directive);
    const std::string kind = word_of(words);
    Recorder &recorder = scenario_.recorder;
    if (kind == "request") {
      scenario_.request_copy(rest_of(words));
    } else if (kind == "state-only") {
      const std::string by = word_of(words);
      scenario_.state_only(by == "request", by == "own");
    } else if (kind == "fail") {
      const std::string service = word_of(words);
      const std::string nth = word_of(words);
      recorder.fail(service, std::stoi(nth), status_value(word_of(words)));
    } else if (kind == "push" || kind == "push-callback") {
      const std::string service = word_of(words);
      const std::string nth = word_of(words);
      pushed_ = recorder.forest().plant(rest_of(words));
      recorder.push_in(
          service, std::stoi(nth),
          {pushed_->subtrees, pushed_->subtree_count, kind == "push" ? nullptr : record_callback});
    } else if (kind == "enter") {
      list_ = unfold_path(word_of(words));
      depth_ = std::stoi(word_of(words));
    } else if (kind == "view") {
      const std::string view = word_of(words);
      recorder.view = view == "walk"    ? View::walk
                      : view == "calls" ? View::calls
                      : view == "adds"  ? View::adds
                                        : View::full;
    } else if (kind == "inside") {
      inside_ = word_of(words);
    } else if (kind == "indent") {
      indent_ = true;
    } else if (kind == "untraced") {
      recorder.log_errors = recorder.log_traces = false;
      scenario_.ctx.ltrace_on = 0;
    } else if (kind == "show") {
      shown_.push_back(word_of(words));
    } else if (kind == "on") {
      root_ = recorder.forest().plant(rest_of(words));
    } else {
      throw std::invalid_argument(case_.place + ": no directive is called '" + kind + "'");
    }
  }

  std::string lines_inside() const {
    std::string text;
    bool within = false;
    for (const std::string &line : scenario_.recorder.lines()) {
      if (line == "leave " + inside_) within = false;
      if (line.starts_with("= ")) within = true;
      if (within) text += line + "\n";
      if (line == "enter container " + inside_) within = true;
    }
    return text;
  }

  void show(const std::string &what) {
    Recorder &recorder = scenario_.recorder;
    if (what == "tree") recorder.line("tree " + print_tree(*root_));
    if (what == "pushed") recorder.line("pushed " + print_tree(*pushed_));
    if (what == "slots") recorder.line("slots " + Scenario::slot_texts());
    std::ostringstream text;
    if (what == "left") {
      const yfw_map_state &state = scenario_.state;
      text << "left pass=" << (state.pass_flags & (YMAP_PASS_FIRST | YMAP_PASS_SECOND))
           << " final=" << state.final_pass << " key_mode=" << state.key_mode
           << " output=" << int{state.output_list_count} << " path=" << recorder.walk_depth()
           << " stack=" << recorder.stack_depth() << " forgotten=" << recorder.forgotten()
           << " failed=" << recorder.failed();
      recorder.line(text.str());
    }
    if (what != "state") return;
    text << "state pass_flags=" << std::hex << scenario_.state.pass_flags
         << " final_pass=" << scenario_.state.final_pass << " key_mode=" << scenario_.state.key_mode
         << " leaf_seen=" << scenario_.state.leaf_seen << " list_entry_op=" << scenario_.ctx.list_entry_op
         << " path=" << recorder.walk_depth() << " stack=" << recorder.stack_depth();
    recorder.line(text.str());
  }

  const Case &case_;
  std::istringstream header_;
  std::string function_;
  Scenario scenario_;
  vidl_yfw_datatree *root_ = nullptr;
  const vidl_yfw_datatree *pushed_ = nullptr;
  std::string list_;
  std::string inside_;
  int depth_ = 0;
  bool indent_ = false;
  std::vector<std::string> shown_;
};

bool indented(const Case &one) {
  for (const std::string &directive : one.directives) {
    if (directive == "indent") return true;
  }
  return false;
}

}  // namespace

std::vector<Case> read_cases(const std::filesystem::path &file) {
  std::ifstream in(file);
  std::vector<Case> cases;
  bool body = false;
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    const size_t begin = line.find_first_not_of(' ');
    if (begin == std::string::npos || line[begin] == '#') continue;
    const std::string text = line.substr(begin);
    if (text.starts_with("== ")) {
      cases.push_back({file.filename().string() + ":" + std::to_string(number), {text}, ""});
      body = false;
    } else if (cases.empty()) {
      throw std::invalid_argument(file.string() + ": a line before the first `==`");
    } else if (body) {
      cases.back().expected += (indented(cases.back()) ? line : text) + "\n";
    } else {
      cases.back().directives.push_back(text);
      body = text.starts_with("on ");
    }
  }
  return cases;
}

std::string run_case(const Case &one) {
  return Run(one).outcome();
}

void write_cases(const std::filesystem::path &file, const std::vector<Case> &cases,
                 const std::vector<std::string> &outcomes) {
  std::ofstream out(file);
  for (size_t i = 0; i < cases.size(); ++i) {
    for (const std::string &directive : cases[i].directives) out << directive << '\n';
    out << outcomes[i];
  }
}

}  // namespace ymap_test
