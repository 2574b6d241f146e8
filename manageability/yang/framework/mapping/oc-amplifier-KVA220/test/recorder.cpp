// Service calls as lines of text; see recorder.hpp.
#include "recorder.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace ymap_test {

namespace {

using Fold = std::pair<std::string, std::string>;

const std::string kPort =
    "/performance-management-history/global/periodic/optics-history/optics-port-histories/"
    "optics-port-history";
const std::string kHistory =
    kPort + "/optics-second30-history/optics-second30-optics-histories/optics-second30-optics-history";

// Longest first: the first that fits is taken.
const std::vector<Fold> &path_folds() {
  static const std::vector<Fold> folds{
      {kHistory + "/optics-second30-optics-time-line-instances/optics-second30-optics-time-line-instance",
       "{bucket}"},
      {kHistory, "{history}"},
      {kPort, "{pm}"},
      {"/interface-configurations/interface-configuration", "{if}"},
      {"/optical-amplifier/amplifiers/amplifier", "{amp}"},
      {"/optical-amplifier/supervisory-channels/supervisory-channel", "{channel}"},
      {"/ots-oper/ots-ports/ots-port", "{port}"},
  };
  return folds;
}

const std::vector<Fold> &function_folds() {
  static const std::vector<Fold> folds{
      {"ymap_on_oc_opt_ampli_openconfigopticalamplifier_", "on:"},
      {"ymap_no_oc_amplifier_kva220_velmnaltocontrollerotscfg_", "ots-cfg:"},
      {"ymap_no_oc_amplifier_kva220_velmnaltocontrollerotsoper_", "ots-oper:"},
      {"ymap_no_oc_amplifier_kva220_velmnaltoifmgrcfg_", "ifmgr:"},
      {"ymap_no_oc_amplifier_kva220_velmnaltopmengineoper_", "pm:"},
  };
  return folds;
}

std::string fold(const std::vector<Fold> &folds, const std::string &text) {
  for (const auto &[prefix, name] : folds) {
    if (text.starts_with(prefix)) return name + text.substr(prefix.size());
  }
  return text;
}

std::string unfold(const std::vector<Fold> &folds, const std::string &text) {
  for (const auto &[prefix, name] : folds) {
    if (text.starts_with(name)) return prefix + text.substr(name.size());
  }
  return text;
}

constexpr std::array<std::pair<verrno, const char *>, 9> kStatuses{{
    {YMAP_OK, "OK"},
    {YMAP_ERR_BAD_NODE, "BAD_NODE"},
    {YMAP_ERR_INVALID_ARGS, "INVALID_ARGS"},
    {YMAP_ERR_UNSUPPORTED_TAG, "UNSUPPORTED_TAG"},
    {YMAP_ERR_LIST_KEY, "LIST_KEY"},
    {YMAP_ERR_KEY_DELETE, "KEY_DELETE"},
    {YMAP_ERR_INVALID_VALUE, "INVALID_VALUE"},
    {YMAP_SKIP_NODE, "SKIP_NODE"},
    {YMAP_ERR_AUGMENT_ADD, "AUGMENT_ADD"},
}};

constexpr uint32_t kFreshSite = 0xffffffff;
constexpr uint32_t kSeenSite = 0x5157;
constexpr uint64_t kLightTraceTag = 0x10101000000;
constexpr size_t kLightTraceLength = 249;

}  // namespace

std::string status_name(verrno status) {
  for (const auto &[value, name] : kStatuses) {
    if (value == status) return name;
  }
  return std::to_string(status);
}

verrno status_value(const std::string &name) {
  for (const auto &[value, known] : kStatuses) {
    if (name == known) return value;
  }
  return static_cast<verrno>(std::stoul(name));
}

std::string unfold_path(const std::string &path) {
  return unfold(path_folds(), path);
}

std::string unfold_function(const std::string &name) {
  return unfold(function_folds(), name);
}

std::string fold_path(const std::string &path) {
  return fold(path_folds(), path);
}

std::string fold_function(const std::string &name) {
  return fold(function_folds(), name);
}

Recorder &Recorder::instance() {
  static Recorder recorder;
  return recorder;
}

void Recorder::reset(yfw_map_ctx *ctx) {
  for (void *text : owned_) std::free(text);
  auto sites = std::move(sites_);
  *this = Recorder();
  sites_ = std::move(sites);
  ctx_ = ctx;
}

std::string Recorder::text() const {
  std::string all;
  for (const std::string &one : lines_) all += one + "\n";
  return all;
}

void Recorder::line(const std::string &text) {
  settle_pending();
  const auto starts = [&text](const char *word) { return text.starts_with(word); };
  if (view == View::adds && !starts("add ") && !starts("search ") && !starts("!!") && !starts("= ") &&
      text.find("ERR ") == std::string::npos) {
    return;
  }
  // A blank at the end would be lost in an editor.
  lines_.push_back((indent ? std::string(2 * walk_.size(), ' ') : "") + text +
                   (text.ends_with(' ') ? "<end>" : ""));
}

void Recorder::query(const std::string &text) {
  if (queries) line(text);
}

verrno Recorder::reach(const std::string &service) {
  const std::pair<std::string, int> here{service, ++counts_[service]};
  if (const auto failure = failures_.find(here); failure != failures_.end()) {
    ++failed_;
    return failure->second;
  }
  if (const auto push = pushes_.find(here); push != pushes_.end()) stack_.push_back(push->second);
  return YMAP_OK;
}

void Recorder::enter(vidl_yfw_datatree *node, uint32_t kind) {
  const char *name = kind == YMAP_WALK_CONTAINER    ? "container "
                     : kind == YMAP_WALK_LIST_ENTRY ? "entry "
                                                    : "?? ";
  line(std::string("enter ") + name + fold_path(forest_.path(node)));
  walk_.push_back({node});
  ctx_->state->node_data = walk_.data();
  ctx_->state->node_data_count = static_cast<uint8_t>(walk_.size());
}

void Recorder::leave(const vidl_yfw_datatree *node) {
  // What stands behind it on the path goes with it, as after a failed leafref check.
  const auto last =
      std::find_if(walk_.rbegin(), walk_.rend(), [&](const auto &one) { return one.node == node; });
  if (last == walk_.rend()) {
    line("!! leaves " + forest_.path(node) + ", which is not on the walk path");
  } else {
    forgotten_ += static_cast<size_t>(last - walk_.rbegin());
    walk_.erase(std::next(last).base(), walk_.end());
  }
  line("leave " + fold_path(forest_.path(node)));
  ctx_->state->node_data = walk_.data();
  ctx_->state->node_data_count = static_cast<uint8_t>(walk_.size());
}

const vidl_yfw_datatree *Recorder::current(const std::string &list) const {
  const auto found = current_.find(list);
  return found == current_.end() ? nullptr : found->second;
}

char *Recorder::own(const char *text) {
  char *copy = strdup(text);
  owned_.insert(copy);
  return copy;
}

std::string Recorder::disown(void *text) {
  if (text == nullptr) return "NULL";
  if (owned_.erase(text) == 0) return "!! a text that is not owned";
  std::string was = '"' + std::string(static_cast<char *>(text)) + '"';
  std::free(text);
  return was;
}

void Recorder::asked_level(const yfw_debug_cfg *cfg, int level) {
  settle_pending();
  ++asked_;
  if (ctx_ == nullptr || cfg != &ctx_->debug_cfg) line("!! should_log asked with another configuration");
  if (level != 0 && level != 3) line("!! should_log asked for level " + std::to_string(level));
  asked_level_ = level;
}

void Recorder::log_message(const void *log, bool zeros, uint32_t *site, const std::string &text) {
  ++formatted_;
  const std::string level = asked_level_ == 0 ? "ERR" : "TRC";
  std::array<char, 64> prefix{};
  std::snprintf(prefix.data(), prefix.size(), "%s: YFW: ctx=%p,", level.c_str(), static_cast<void *>(ctx_));
  if (!text.starts_with(prefix.data())) line("!! log message without its prefix: " + text);
  if (log != (asked_level_ == 0 ? ctx_->err_log : ctx_->trc_log)) line("!! wrong log for: " + text);
  if (!zeros) line("!! non-zero arguments before the site index of: " + text);
  const bool fresh = sites_.emplace(site, 0).second;
  if (*site != (fresh ? kFreshSite : kSeenSite)) line("!! site index was touched: " + text);
  *site = kSeenSite;
  pending_site_ = site;
  pending_ = level + " " + text.substr(std::min(text.size(), std::strlen(prefix.data())));
  if (ctx_->ltrace_on == 0) {
    const std::string message = std::move(pending_);
    pending_.clear();
    trace("", message.substr(0, 3), message.substr(4));
  }
  asked_level_ = -1;
}

void Recorder::light_message(const void *ltrace, uint64_t tag, const std::string &text) {
  const std::string pending = std::move(pending_);
  pending_.clear();
  light_lines_.push_back(text);
  ++formatted_;
  unsigned number = 0;
  int source_line = 0;
  int length = 0;
  void *ctx = nullptr;
  std::array<char, 8> level{};
  std::array<char, 250> function{};
  if (ltrace != ctx_->ltrace || tag != kLightTraceTag || ctx_->ltrace_on == 0)
    line("!! light trace misled: " + text);
  if (std::sscanf(text.c_str(), "#%u: %3[A-Z]: %249[^:]:%d ctx=%p,%n", &number, level.data(), function.data(),
                  &source_line, &ctx, &length) != 5 ||
      length == 0 || number != light_number_ || ctx != ctx_ || source_line < 1) {
    return line("!! light trace line: " + text);
  }
  const std::string both = std::string(level.data()) + " " + text.substr(static_cast<size_t>(length));
  // A site of the log is one line of the source.
  int &site_line = pending.empty() ? source_line : sites_[pending_site_];
  if (site_line == 0) site_line = source_line;
  if (site_line != source_line) line("!! two trace points share a site index: " + text);
  const bool wanted = level[0] == 'E' ? log_errors : log_traces;
  const bool same = text.size() < kLightTraceLength ? pending == both : pending.starts_with(both);
  if (wanted && !same) line("!! log says '" + pending + "', light trace '" + both + "'");
  trace(function.data(), level.data(), wanted ? pending.substr(4) : both.substr(4));
}

void Recorder::trace(const std::string &function, const std::string &level, const std::string &message) {
  if (view == View::calls || (view == View::adds && level == "TRC") || quiet.contains(function)) return;
  const std::string who = function == self ? "" : fold_function(function);
  if (level == "TRC" && message == "Start") return line((who.empty() ? ">" : "> " + who) + state_marks());
  if (view == View::walk && level == "TRC") return;
  if (level == "TRC" && message == "End") return line(who.empty() ? "<" : "< " + who);
  line((who.empty() ? "" : who + "| ") + level + " " + message);
}

std::string Recorder::state_marks() const {
  if (!marks) return "";
  const yfw_map_state &state = *ctx_->state;
  std::string text;
  if ((state.pass_flags & YMAP_PASS_FIRST) != 0) text += " first-pass";
  if ((state.pass_flags & YMAP_PASS_SECOND) != 0) text += " second-pass";
  if (state.final_pass != 0) text += " final";
  if (state.key_mode != 0) text += " key-mode=" + std::to_string(state.key_mode);
  return text;
}

void Recorder::settle_pending() {
  if (pending_.empty()) return;
  const std::string lost = std::move(pending_);
  pending_.clear();
  lines_.push_back("!! no light trace for: " + lost);
}

}  // namespace ymap_test
