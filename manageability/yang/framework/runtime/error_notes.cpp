// Pairs the tags, paths and messages that a plug-in gives one by one.
#include "error_notes.hpp"

namespace yfw {

void ErrorNotes::settle(const yfw_map_state &state) {
  if (pending_ == nullptr || state.err_tag != pending_) return;
  Texts &texts = begin_texts();
  texts.tag = std::move(texts.pending);
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
  begin_texts().pending = copy;
}

void ErrorNotes::noted(const yfw_map_state &state, std::string path, std::vector<std::string> tags) {
  settle(state);
  Texts &texts = begin_texts();
  texts.path = std::move(path);
  texts.tags = std::move(tags);
  if (!tag_waits_) texts.tag.clear();
  note_waits_ = !tag_waits_;
  tag_waits_ = false;
  texts.message = !texts.reason.empty() ? texts.reason : trace_waits_ ? texts.trace : std::string();
  texts.reason.clear();
  trace_waits_ = false;
}

void ErrorNotes::traced(std::string text, std::string path) {
  Texts &texts = begin_texts();
  texts.trace = std::move(text);
  texts.trace_path = std::move(path);
  trace_waits_ = true;
}

}  // namespace yfw
