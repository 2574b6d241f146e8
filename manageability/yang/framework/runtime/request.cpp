#include "request.hpp"

#include <algorithm>
#include <cstring>

#include "trace_log.hpp"

namespace yfw {
namespace {

thread_local Request *running_request = nullptr;

/// "/a1:ports/a1:port" ends in "port".
std::string_view last_name(std::string_view path) {
  return path.substr(path.find_last_of("/:") + 1);
}

}  // namespace

// ---- Walk path ------------------------------------------------------------------------------------

void WalkPath::push(yfw_map_state &state, vidl_yfw_datatree *node, uint32_t kind) {
  if (depth_ == kDepth) {
    ++beyond_;
    return;
  }
  nodes_[depth_].node = node;
  kinds_[depth_] = kind;
  ++depth_;
  show(state);
}

bool WalkPath::pop(yfw_map_state &state, const vidl_yfw_datatree *node) {
  if (beyond_ > 0) {
    --beyond_;
    return true;
  }
  for (std::size_t i = depth_; i > 0; --i) {
    if (nodes_[i - 1].node != node) continue;
    depth_ = i - 1;
    show(state);
    return true;
  }
  return false;
}

void WalkPath::clear(yfw_map_state &state) {
  depth_ = 0;
  beyond_ = 0;
  show(state);
}

vidl_yfw_datatree *WalkPath::entry() const {
  for (std::size_t i = depth_; i > 0; --i) {
    if (is_entry(i - 1)) return nodes_[i - 1].node;
  }
  return nullptr;
}

void WalkPath::follow(const Grown &grown) {
  for (std::size_t i = 0; i < depth_; ++i) nodes_[i].node = grown.follow(nodes_[i].node);
}

void WalkPath::show(yfw_map_state &state) {
  state.node_data = nodes_.data();
  state.node_data_count = static_cast<uint8_t>(depth_);
  state.current_node = depth_ > 0 ? nodes_[depth_ - 1].node : nullptr;
  state.parent_node = depth_ > 1 ? nodes_[depth_ - 2].node : nullptr;
}

// ---- Error notes ----------------------------------------------------------------------------------

void ErrorNotes::settle(const yfw_map_state &state) {
  if (pending_ == nullptr || state.err_tag != pending_) return;
  tag_ = std::move(pending_text_);
  pending_ = nullptr;
  tag_waits_ = !note_waits_;
  note_waits_ = false;
}

void ErrorNotes::duplicated(const yfw_map_state &state, const char *copy) {
  settle(state);
  pending_ = copy;
  pending_text_ = copy;
}

void ErrorNotes::released(const yfw_map_state &state, const char *text) {
  settle(state);
  if (pending_ == text) pending_ = nullptr;
}

void ErrorNotes::noted(const yfw_map_state &state, std::string path, std::vector<std::string> tags) {
  settle(state);
  path_ = std::move(path);
  tags_ = std::move(tags);
  if (!tag_waits_) tag_.clear();
  note_waits_ = !tag_waits_;
  tag_waits_ = false;
  message_ = !reason_.empty() ? reason_ : trace_waits_ ? trace_ : std::string();
  reason_.clear();
  trace_waits_ = false;
}

void ErrorNotes::traced(std::string text, std::string path) {
  trace_ = std::move(text);
  trace_path_ = std::move(path);
  trace_waits_ = true;
}

// ---- Path cache -----------------------------------------------------------------------------------

PathCache::Start PathCache::start(vidl_yfw_datatree *tree, const char *path) {
  if (tree != tree_) {
    tree_ = tree;
    steps_.clear();
  }
  const auto on_path = [&](const Step &step) {
    return std::strncmp(path, path_.data(), step.end) == 0 && path[step.end] == '/';
  };
  while (!steps_.empty() && !on_path(steps_.back())) steps_.pop_back();
  if (steps_.empty()) return {tree, path};
  return {steps_.back().node, path + steps_.back().end};
}

void PathCache::step(const char *path, const char *end, vidl_yfw_datatree *node) {
  const auto length = static_cast<std::size_t>(end - path);
  if (length > kLongest) return;
  const std::size_t kept = steps_.empty() ? 0 : steps_.back().end;
  std::memcpy(path_.data() + kept, path + kept, length - kept);
  steps_.push_back({length, node});
}

// ---- Request --------------------------------------------------------------------------------------

Request::Request(const Registration &registration, uint32_t type, uint32_t content_selector)
    : registration_(registration), outer_(running_request) {
  request_.type = type;
  if (content_selector != 0) {
    request_.content_selection = {content_selector, 1};
    request_.presence = 1U << 15;
  }
  state_.request = &request_;
  ctx_.state = &state_;
  running_request = this;
}

Request::~Request() {
  nos_named_free(state_.err_tag);
  nos_named_free(state_.err_message);
  running_request = outer_;
}

Request *Request::running() {
  return running_request;
}

Request *Request::of(const yfw_map_ctx *ctx) {
  return running_request != nullptr && ctx == &running_request->ctx_ ? running_request : nullptr;
}

verrno Request::run(Observer::Direction direction, Walker walker, vidl_yfw_datatree *top,
                    vidl_yfw_datatree *out, vidl_yfw_datatree *duplicate) {
  direction_ = direction;
  path.clear(state_);
  cache.forget();
  currents_.clear();
  outputs_.clear();
  expansions.clear();
  state_.output_list_count = 0;
  state_.plist = nullptr;
  state_.reg_dup_datatree = duplicate;
  state_.root_node = top;
  state_.pass_flags = state_.key_mode = state_.final_pass = state_.leaf_seen = 0;
  attach_logs(ctx_, direction == Observer::Direction::on);
  if (Observer *observer = current_observer()) observer->begin(direction, top);
  const verrno status = walker(&ctx_, top, out);
  errors.finish(state_);
  return status;
}

void Request::enter(vidl_yfw_datatree *node, uint32_t kind) {
  if (node == nullptr) return;
  path.push(state_, node, kind);
  if (Observer *observer = current_observer()) observer->enter(node, kind);
}

void Request::leave(vidl_yfw_datatree *node) {
  if (!path.pop(state_, node)) return;
  if (Observer *observer = current_observer()) observer->leave(node);
}

std::string Request::walk_text() const {
  std::string text;
  for (std::size_t i = 0; i < path.depth(); ++i) {
    if (i > 0) text += '/';
    text += path_step(path.node(i), path.is_entry(i), registration_.key);
  }
  return text;
}

std::vector<std::string> Request::walk_tags() const {
  std::vector<std::string> tags;
  for (std::size_t i = 0; i < path.depth(); ++i) tags.emplace_back(tag_of(path.node(i)));
  return tags;
}

void Request::update_current(const char *list_path) {
  vidl_yfw_datatree *entry = path.entry();
  // In a fill of a list container no entry was recorded: the one above it belongs to another list.
  if (entry != nullptr && tag_of(*entry) != last_name(list_path)) entry = nullptr;
  for (Current &current : currents_) {
    if (current.list_path != list_path) continue;
    current.entry = entry;
    return;
  }
  currents_.push_back({list_path, entry});
}

vidl_yfw_datatree *Request::current(const char *list_path) const {
  for (const Current &current : currents_) {
    if (current.list_path == list_path) return current.entry;
  }
  return nullptr;
}

void Request::select(vidl_yfw_datatree &parent, uint32_t index) {
  extra(parent).selected = extra(parent).hint = index + 1;
  cache.forget();
  if (direction_ == Observer::Direction::no &&
      std::find(selected_in_.begin(), selected_in_.end(), &parent) == selected_in_.end()) {
    selected_in_.push_back(&parent);
  }
}

void Request::open_output(vidl_yfw_datatree *node) {
  if (node == nullptr || outputs_.size() == UINT8_MAX) return;
  outputs_.push_back(node);
  state_.output_list_count = static_cast<uint8_t>(outputs_.size());
}

void Request::close_output(vidl_yfw_datatree *node) {
  const auto found = std::find(outputs_.rbegin(), outputs_.rend(), node);
  if (found == outputs_.rend()) return;
  outputs_.erase(std::next(found).base(), outputs_.end());
  state_.output_list_count = static_cast<uint8_t>(outputs_.size());
  if (!outputs_.empty()) return;
  // What the next native entry adds before it has selected an output entry must not land in this one's.
  for (vidl_yfw_datatree *parent : selected_in_) {
    extra(*parent).closed = child_count(*parent);
    extra(*parent).selected = extra(*parent).hint = 0;
  }
  selected_in_.clear();
  cache.forget();
}

void Request::follow(const Grown &grown) {
  if (grown.from == nullptr) return;
  cache.forget();
  path.follow(grown);
  state_.plist = grown.follow(state_.plist);
  state_.root_node = grown.follow(state_.root_node);
  for (Current &current : currents_) current.entry = grown.follow(current.entry);
  for (vidl_yfw_datatree *&parent : selected_in_) parent = grown.follow(parent);
}

std::string path_step(const vidl_yfw_datatree &node, bool list_entry, const std::string &key) {
  std::string step(tag_of(node));
  if (!list_entry) return step;
  for (const vidl_yfw_datatree &leaf : children(node)) {
    if (!(leaf.is_key == 1 || tag_of(leaf) == key) || !has_value(leaf)) continue;
    const char quote = std::strchr(leaf.data, '\'') == nullptr ? '\'' : '"';
    step.append("[").append(tag_of(leaf)).append("=") += quote;
    step.append(leaf.data) += quote;
    step += ']';
    break;
  }
  return step;
}

}  // namespace yfw
