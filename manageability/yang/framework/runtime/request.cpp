// The life of a request, its walk and its lists.
#include "request.hpp"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <utility>

namespace yfw {
constinit thread_local Request *Request::running_ = nullptr;

Request::Request(const Registration &registration, const std::shared_ptr<PathTable> &paths, uint32_t type,
                 uint32_t content_selector)
    : memo(*paths), registration_(registration), paths_(*paths), kept_paths_(paths), outer_(running_) {
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
  for (char *text : {state_.err_tag, state_.err_message}) {
    if (text != nullptr) nos_named_free(text);
  }
  running_ = outer_;
}

verrno Request::run(Observer::Direction direction, Walker walker, vidl_yfw_datatree *top,
                    vidl_yfw_datatree *out, const vidl_yfw_datatree *duplicate) {
  static std::atomic<uint64_t> walks = 0;
  walk_ = ++walks;
  direction_ = direction;
  path.clear(state_);
  memo.restart();
  currents_.clear();
  outputs_.clear();
  expansions_.clear();
  state_.output_list_count = 0;
  state_.plist = nullptr;
  state_.reg_dup_datatree = const_cast<vidl_yfw_datatree *>(duplicate);
  state_.root_node = top;
  state_.pass_flags = state_.key_mode = state_.final_pass = state_.leaf_seen = 0;
  added_hollow_ = added_valueless_ = false;
  output_arena_ = &arena_;
  if (TreeStore *store = out == nullptr ? nullptr : store_of(*out)) {
    output_arena_ = &store->arena;
    store->names = kept_paths_;
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

Request::Current *Request::find_current(const Path &list, const char *list_path) {
  for (Current &current : currents_) {
    const bool constants = current.list != nullptr && list.source != nullptr;
    if (constants ? current.list == list.last : std::strcmp(current.list_path, list_path) == 0)
      return &current;
  }
  return nullptr;
}

void Request::update_current(const char *list_path) {
  const Path &path_of_list = paths_.find(list_path);
  vidl_yfw_datatree *entry = path.entry();
  // In a fill of a list container no entry was recorded: the one above it belongs to another list.
  if (in_fill() && entry != nullptr && !has_tag(*entry, path_of_list.node_name)) entry = nullptr;
  if (Current *known = find_current(path_of_list, list_path)) {
    known->entry = entry;
    return;
  }
  const bool constant = path_of_list.source != nullptr;
  currents_.push_back(
      arena_, {constant ? path_of_list.last : nullptr, constant ? list_path : arena_.copy(list_path), entry});
}

vidl_yfw_datatree *Request::current(const char *list_path) {
  const Current *known = find_current(paths_.find(list_path), list_path);
  return known == nullptr ? nullptr : known->entry;
}

void Request::select(vidl_yfw_datatree &parent, uint32_t index, const PathStep &list) {
  extra(parent).selected = extra(parent).hint = index + 1;
  memo.forget_from(list);
  if (direction_ == Observer::Direction::no &&
      std::find(selected_in_.begin(), selected_in_.end(), &parent) == selected_in_.end()) {
    selected_in_.push_back(arena_, &parent);
  }
}

void Request::open_output(vidl_yfw_datatree *node) {
  if (node == nullptr || outputs_.size() == UINT8_MAX) return;
  outputs_.push_back(arena_, node);
  state_.output_list_count = static_cast<uint8_t>(outputs_.size());
}

void Request::close_output(vidl_yfw_datatree *node) {
  std::size_t count = outputs_.size();
  while (count > 0 && outputs_.begin()[count - 1] != node) --count;
  if (count == 0) return;
  outputs_.truncate(count - 1);
  state_.output_list_count = static_cast<uint8_t>(outputs_.size());
  if (!outputs_.empty()) return;
  // What the next native entry adds before it has selected an output entry must not land in this one's.
  for (vidl_yfw_datatree *parent : selected_in_) {
    extra(*parent).closed = child_count(*parent);
    extra(*parent).selected = extra(*parent).hint = 0;
  }
  selected_in_.clear();
  memo.forget();
}

vidl_yfw_datatree *Request::append_growing(vidl_yfw_datatree &parent, uint32_t capacity) {
  if (child_count(parent) == 0) {
    begin_children(*output_arena_, parent, capacity);
    return append_if_room(parent);
  }
  Grown grown;
  vidl_yfw_datatree *added = append_child(*output_arena_, parent, &grown, capacity);
  memo.forget();
  path.follow(grown);
  state_.plist = grown.follow(state_.plist);
  state_.root_node = grown.follow(state_.root_node);
  for (Current &current : currents_) current.entry = grown.follow(current.entry);
  for (vidl_yfw_datatree *&selected : selected_in_) selected = grown.follow(selected);
  return added;
}

const char *Request::keep_other_namespace(const char *ns) {
  if (ns == nullptr) return nullptr;
  const char *kept = paths_.find_namespace(ns);
  if (kept == nullptr) return output_arena_->copy(ns);
  last_namespace_ = ns;
  return kept_namespace_ = kept;
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
