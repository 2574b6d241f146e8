/// \file
/// Where and why a request failed.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ymap_types.h"

namespace yfw {

/// What the plug-in told of an error outside fills, whose status nobody hears.
class ErrorNotes {
 public:
  /// An owned copy was made. It becomes the failing tag when the plug-in keeps it in err_tag.
  void duplicated(const yfw_map_state &state, const char *copy);
  /// A copy was made, and was not seen in err_tag yet.
  bool is_copy_pending() const { return pending_ != nullptr; }
  /// `text` is about to be freed; says nothing unless a copy is pending.
  void released(const yfw_map_state &state, const char *text);
  /// The plug-in noted the walk path.
  void noted(const yfw_map_state &state, std::string path, std::vector<std::string> tags);
  /// An ERR message was traced at the walk path `path`.
  void traced(std::string text, std::string path);
  /// A reason of the runtime's own, for a note that follows.
  void reason(std::string text) { begin_texts().reason = std::move(text); }
  /// To be called once, when the walk is over.
  void finish(const yfw_map_state &state) {
    if (is_copy_pending()) settle(state);
  }

  /// The walk path of the last note, and the tag at fault where one was given; empty without a note.
  const std::string &path() const { return texts().path; }
  const std::vector<std::string> &tags() const { return texts().tags; }
  const std::string &tag() const { return texts().tag; }
  /// The message that belongs to the note, or empty.
  const std::string &message() const { return texts().message; }
  const std::string &last_trace() const { return texts().trace; }
  const std::string &last_trace_path() const { return texts().trace_path; }

 private:
  struct Texts {
    std::string path, tag, message, reason, trace, trace_path, pending;
    std::vector<std::string> tags;
  };

  void settle(const yfw_map_state &state);
  const Texts &texts() const {
    static const Texts none;
    return texts_ ? *texts_ : none;
  }
  Texts &begin_texts() { return texts_ ? *texts_ : texts_.emplace(); }

  std::optional<Texts> texts_;     ///< requests without an error make none
  const char *pending_ = nullptr;  ///< copy made last, not yet seen in err_tag
  bool tag_waits_ = false;         ///< the tag came before its note
  bool note_waits_ = false;        ///< the note came before its tag, if it has one
  bool trace_waits_ = false;       ///< the trace came before its note
};

}  // namespace yfw
