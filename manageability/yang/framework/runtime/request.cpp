// The life of a request, its walk and its lists.
#include "request.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace yfw {
constinit thread_local Request *Request::running_ = nullptr;

Request::Request(const Registration &registration, std::shared_ptr<PathTable> paths, uint32_t type,
                 uint32_t content_selector)
    : registration_(registration), paths_(std::move(paths)), outer_(running_) {
  request_.type = type;
  if (content_selector != 0) {
    request_.content_selection = {content_selector, 1};
    request_.presence = 1U << 15;
  }
  state_.request = &request_;
  ctx_.state = &state_;
  running_ = this;
}

Request::~Request() {
  nos_named_free(state_.err_tag);
  nos_named_free(state_.err_message);
  running_ = outer_;
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
  output_arena_ = &arena_;
  if (TreeStore *store = out == nullptr ? nullptr : store_of(*out)) {
    output_arena_ = &store->arena;
    store->names = paths_;
  }
  attach_logs(ctx_, direction == Observer::Direction::on);
  if (Observer *observer = current_observer()) observer->begin(direction, top);
  const verrno status = walker(&ctx_, top, out);
  errors.finish(state_);
  return status;
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

void Request::note_error_path() {
  if (direction_ == Observer::Direction::on) errors.noted(state_, walk_text(), walk_tags());
}

Request::Current *Request::find_current(const char *list_path) {
  for (Current &current : currents_) {
    if (current.list_path == list_path || std::strcmp(current.list_path, list_path) == 0) return &current;
  }
  return nullptr;
}

void Request::update_current(const char *list_path) {
  vidl_yfw_datatree *entry = path.entry();
  // In a fill of a list container no entry was recorded: the one above it belongs to another list.
  if (entry != nullptr && !has_tag(*entry, paths_->find(list_path).node_name)) entry = nullptr;
  if (Current *known = find_current(list_path)) {
    known->entry = entry;
    return;
  }
  currents_.push_back({paths_->is_constant(list_path) ? list_path : arena_.copy(list_path), entry});
}

vidl_yfw_datatree *Request::current(const char *list_path) {
  const Current *known = find_current(list_path);
  return known == nullptr ? nullptr : known->entry;
}

void Request::select(vidl_yfw_datatree &parent, uint32_t index) {
  extra(parent).selected = extra(parent).hint = index + 1;
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

void Request::follow_moved(const Grown &grown) {
  cache.follow(grown);
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
    if (!(leaf.is_key == 1 || has_tag(leaf, key)) || !has_value(leaf)) continue;
    const char quote = std::strchr(leaf.data, '\'') == nullptr ? '\'' : '"';
    step.append("[").append(tag_of(leaf)).append("=") += quote;
    step.append(leaf.data) += quote;
    step += ']';
    break;
  }
  return step;
}

}  // namespace yfw
