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
  /// `paths`: of the plug-in.
  Request(const Registration &registration, std::shared_ptr<PathTable> paths, uint32_t type,
          uint32_t content_selector);
  ~Request();
  Request(const Request &) = delete;
  Request &operator=(const Request &) = delete;

  /// The request that runs on this thread, when `ctx` is its; else nullptr.
  static Request *of(const yfw_map_ctx *ctx) {
    Request *request = running_;
    return request != nullptr && ctx == &request->ctx_ ? request : nullptr;
  }
  static Request *running() { return running_; }

  /// Calls a root walker. `duplicate` is the root of the request's copy that the plug-in may search.
  /// `out` may be the root of a Datatree; what is added to it then lives as long as that.
  verrno run(Observer::Direction direction, Walker walker, vidl_yfw_datatree *top, vidl_yfw_datatree *out,
             vidl_yfw_datatree *duplicate);

  yfw_map_ctx *ctx() { return &ctx_; }
  yfw_map_state &state() { return state_; }
  bool in_fill() const { return state_.final_pass == 1; }
  Observer::Direction direction() const { return direction_; }

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

  /// Makes a child the current entry of its list in an output tree.
  void select(vidl_yfw_datatree &parent, uint32_t index);
  void open_output(vidl_yfw_datatree *node);
  void close_output(vidl_yfw_datatree *node);

  /// Keeps every pointer of the runtime's into a child array that moved.
  void follow(const Grown &grown) {
    if (grown.from != nullptr) follow_moved(grown);
  }

  PathTable &paths() { return *paths_; }
  /// A namespace that lives as long as the output tree; nullptr stays nullptr.
  const char *keep_namespace(const char *ns) {
    if (ns == nullptr || ns == last_namespace_) return ns == nullptr ? nullptr : kept_namespace_;
    const char *kept = paths_->find_namespace(ns);
    if (kept == nullptr) return output_arena_->copy(ns);
    last_namespace_ = ns;
    return kept_namespace_ = kept;
  }
  /// Where what is added to output trees lives.
  Arena &output_arena() { return *output_arena_; }

  WalkPath path;
  ErrorNotes errors;
  PathCache cache;
  std::vector<yfw_itree_entry> expansions;

 private:
  struct Current {
    const char *list_path;
    vidl_yfw_datatree *entry;
  };

  void follow_moved(const Grown &grown);
  Current *find_current(const char *list_path);

  // A call less for each service: the library is loaded with the program, or small enough for the room left.
  [[gnu::tls_model("initial-exec")]] static constinit thread_local Request *running_;

  yfw_map_ctx ctx_{};
  yfw_map_state state_{};
  yfw_map_request request_{};
  const Registration &registration_;
  std::shared_ptr<PathTable> paths_;
  Arena arena_;  ///< for what is added to trees that are not ours
  Arena *output_arena_ = &arena_;
  const char *last_namespace_ = nullptr;  ///< a constant of the plug-in
  const char *kept_namespace_ = nullptr;
  Observer::Direction direction_ = Observer::Direction::on;
  Request *outer_ = nullptr;
  std::vector<Current> currents_;
  std::vector<const vidl_yfw_datatree *> outputs_;
  /// Parents of the entries selected since the output list was empty.
  std::vector<vidl_yfw_datatree *> selected_in_;
};

/// One step of a data path: the tag, and for a list entry its keys ("amplifier[name='0/0-AMP-PRE0']"). Keys
/// are the children marked as such by the plug-in; before that, the one named `key`.
std::string path_step(const vidl_yfw_datatree &node, bool list_entry, const std::string &key);

}  // namespace yfw
