/// \file
/// One running request: the records that the plug-in sees, and the runtime's own bookkeeping behind them.
#pragma once

#include <string>
#include <vector>

#include "error_notes.hpp"
#include "plugin.hpp"
#include "services.hpp"
#include "trace_log.hpp"
#include "tree_store.hpp"
#include "walk_path.hpp"

namespace yfw {

class Request {
 public:
  /// `paths`: of the plug-in, which outlives the request.
  Request(const Registration &registration, const std::shared_ptr<PathTable> &paths, uint32_t type,
          uint32_t content_selector);
  Request(const Registration &, std::shared_ptr<PathTable> &&, uint32_t, uint32_t) = delete;
  ~Request();
  Request(const Request &) = delete;
  Request &operator=(const Request &) = delete;

  /// The request that runs on this thread, when `ctx` is its; else nullptr.
  static Request *of(const yfw_map_ctx *ctx) {
    Request *request = running_;
    return request != nullptr && ctx == &request->ctx_ ? request : nullptr;
  }
  static Request *running() { return running_; }

  /// Calls a root walker. `duplicate` is the root of the request's copy that the plug-in may search, but not
  /// change. `out` may be the root of a Datatree; what is added to it then lives as long as that.
  verrno run(Observer::Direction direction, Walker walker, vidl_yfw_datatree *top, vidl_yfw_datatree *out,
             const vidl_yfw_datatree *duplicate);

  yfw_map_ctx *ctx() { return &ctx_; }
  yfw_map_state &state() { return state_; }
  bool in_fill() const { return state_.final_pass == 1; }
  Observer::Direction direction() const { return direction_; }
  /// A number of this run() only, never 0.
  uint64_t walk() const { return walk_; }
  /// True for the very tag of the node walked last: a text that stays as it is until the walk is over.
  bool is_walked_tag(const char *text) const {
    return state_.current_node != nullptr && state_.current_node->tag == text;
  }

  void enter(vidl_yfw_datatree *node, uint32_t kind) {
    if (node == nullptr) return;
    path.push(state_, node, kind);
    if (Observer *observer = current_observer()) observer->enter(node, kind);
  }
  void leave(vidl_yfw_datatree *node) {
    if (!path.pop(state_, node)) return;
    if (Observer *observer = current_observer()) observer->leave(node);
  }
  /// The walk path as a data path with keys, without a leading slash.
  std::string walk_text() const;
  std::vector<std::string> walk_tags() const;
  /// Tells the error notes where the walk is. A native walk has no error path.
  void note_error_path();

  /// The current entry of a list of the walked tree: set to the entry last recorded; nullptr when there is
  /// none.
  void update_current(const char *list_path);
  vidl_yfw_datatree *current(const char *list_path);

  /// Makes a child the current entry of its list in an output tree, at `list` of its paths.
  void select(vidl_yfw_datatree &parent, uint32_t index, const PathStep &list);
  void open_output(vidl_yfw_datatree *node);
  void close_output(vidl_yfw_datatree *node);

  void expand(const yfw_itree_entry &entry) { expansions_.push_back(arena_, entry); }
  ArenaList<yfw_itree_entry> &expansions() { return expansions_; }

  /// Appends a record to a child array of an output tree that is full; what the runtime knows of the array
  /// moves with it. Arrays begin with `capacity` records.
  vidl_yfw_datatree *append_growing(vidl_yfw_datatree &parent, uint32_t capacity);

  PathTable &paths() { return paths_; }
  /// A namespace that lives as long as the output tree; nullptr stays nullptr.
  const char *keep_namespace(const char *ns) {
    return ns == last_namespace_ ? kept_namespace_ : keep_other_namespace(ns);
  }
  /// Where what is added to output trees lives.
  Arena &output_arena() { return *output_arena_; }
  /// For what lives as long as the request.
  Arena &arena() { return arena_; }
  /// In reads an empty value says no more than none.
  bool is_read() const { return request_.type == YMAP_REQ_GET_CONFIG || request_.type == YMAP_REQ_GET; }
  /// A node without a value was added since the last run() began: perhaps it got no children either. The
  /// registered list's entries do not count, they are known by their keys.
  bool added_hollow() const { return added_hollow_; }
  void note_hollow(const vidl_yfw_datatree &node) {
    added_hollow_ = added_hollow_ || !has_tag(node, registration_.list);
  }
  /// A node was added without a value, or with an empty one, for a request node that has one.
  bool added_valueless() const { return added_valueless_; }
  void note_valueless(const vidl_yfw_datatree &source) {
    added_valueless_ = added_valueless_ || has_value(source);
  }

  WalkPath path;
  ErrorNotes errors;
  PathMemo memo;

 private:
  struct Current {
    const PathStep *list;  ///< nullptr when the path is no constant
    const char *list_path;
    vidl_yfw_datatree *entry;
  };

  const char *keep_other_namespace(const char *ns);
  Current *find_current(const Path &list, const char *list_path);

  // A call less for each service: the library is loaded with the program, or small enough for the room left.
  [[gnu::tls_model("initial-exec")]] static constinit thread_local Request *running_;

  yfw_map_ctx ctx_{};
  yfw_map_state state_{};
  yfw_map_request request_{};
  const Registration &registration_;
  PathTable &paths_;
  const std::shared_ptr<PathTable> &kept_paths_;  ///< the same, for output trees to keep
  Arena arena_;  ///< for lists of its own, and for what is added to trees that are not the runtime's
  Arena *output_arena_ = &arena_;
  const char *last_namespace_ = nullptr;  ///< a constant of the plug-in; at first none, kept as none
  const char *kept_namespace_ = nullptr;
  Observer::Direction direction_ = Observer::Direction::on;
  uint64_t walk_ = 0;
  bool added_hollow_ = false;
  bool added_valueless_ = false;
  Request *outer_ = nullptr;
  ArenaList<Current> currents_;
  ArenaList<const vidl_yfw_datatree *> outputs_;
  ArenaList<yfw_itree_entry> expansions_;
  /// Parents of the entries selected since the output list was empty.
  ArenaList<vidl_yfw_datatree *> selected_in_;
};

/// One step of a data path: the tag, and for a list entry its keys ("amplifier[name='0/0-AMP-PRE0']"). Keys
/// are the children marked as such by the plug-in; before that, the one named `key`.
std::string path_step(const vidl_yfw_datatree &node, bool list_entry, const std::string &key);

}  // namespace yfw
