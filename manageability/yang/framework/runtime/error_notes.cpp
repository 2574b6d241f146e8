// Pairs the tags, paths and messages that a plug-in gives one by one.
#include "error_notes.hpp"

#include <utility>

namespace yfw {

void ErrorNotes::settle(const yfw_map_state &state) {
  if (pending_ == nullptr || state.err_tag != pending_) return;
  tag_ = std::move(pending_text_);
  pending_ = nullptr;
  tag_waits_ = !note_waits_;
  note_waits_ = false;
}

void ErrorNotes::released(const yfw_map_state &state, const char *text) {
  settle(state);
  if (pending_ == text) pending_ = nullptr;
}

void ErrorNotes::duplicated(const yfw_map_state &state, const char *copy) {
  settle(state);
  pending_ = copy;
  pending_text_ = copy;
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

}  // namespace yfw
