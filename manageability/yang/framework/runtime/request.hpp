/// \file
/// One running request: the records that the plug-in sees, and the runtime's own bookkeeping behind them.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "observer.hpp"
#include "plugin.hpp"
#include "record.hpp"
#include "services.hpp"

namespace yfw {

/// The nodes from the top down to the one being walked, as the state record's node_data shows them.
/// node_data_count has 8 bits; nodes below that depth are only counted.
class WalkPath {
 public:
  static constexpr std::size_t kDepth = 255;

  void push(yfw_map_state &state, vidl_yfw_datatree *node, uint32_t kind);
  /// Drops `node` and whatever was left on top of it; false when it is not on the path.
  bool pop(yfw_map_state &state, const vidl_yfw_datatree *node);
  void clear(yfw_map_state &state);
  std::size_t depth() const { return depth_; }
  const vidl_yfw_datatree &node(std::size_t i) const { return *nodes_[i].node; }
  bool is_entry(std::size_t i) const { return kinds_[i] == YMAP_WALK_LIST_ENTRY; }
  /// The list entry last recorded, or nullptr.
  vidl_yfw_datatree *entry() const;
  void follow(const Grown &grown);

 private:
  void show(yfw_map_state &state);

  std::array<yfw_map_node_data, kDepth> nodes_{};
  std::array<uint32_t, kDepth> kinds_{};
  std::size_t depth_ = 0;
  std::size_t beyond_ = 0;
};

/// Where and why a request failed: what the plug-in told outside fills, whose status nobody hears.
class ErrorNotes {
 public:
  /// An owned copy was made. It becomes the failing tag when the plug-in keeps it in err_tag.
  void duplicated(const yfw_map_state &state, const char *copy);
  /// `text` is about to be freed.
  void released(const yfw_map_state &state, const char *text);
  /// The plug-in noted the walk path.
  void noted(const yfw_map_state &state, std::string path, std::vector<std::string> tags);
  /// An ERR message was traced at the walk path `path`.
  void traced(std::string text, std::string path);
  /// A reason of the runtime's own, for a note that follows.
  void reason(std::string text) { reason_ = std::move(text); }
  /// To be called once, when the walk is over.
  void finish(const yfw_map_state &state) { settle(state); }

  /// The walk path of the last note, and the tag at fault where one was given; empty without a note.
  const std::string &path() const { return path_; }
  const std::vector<std::string> &tags() const { return tags_; }
  const std::string &tag() const { return tag_; }
  /// The message that belongs to the note, or empty.
  const std::string &message() const { return message_; }
  const std::string &last_trace() const { return trace_; }
  const std::string &last_trace_path() const { return trace_path_; }

 private:
  void settle(const yfw_map_state &state);

  std::string path_, tag_, message_, reason_, trace_, trace_path_;
  std::vector<std::string> tags_;
  const char *pending_ = nullptr;  ///< copy made last, not yet seen in err_tag
  std::string pending_text_;
  bool tag_waits_ = false;    ///< the tag came before its note
  bool note_waits_ = false;   ///< the note came before its tag, if it has one
  bool trace_waits_ = false;  ///< the trace came before its note
};

/// The records of the path added last, so that the next one starts where the two part.
class PathCache {
 public:
  struct Start {
    vidl_yfw_datatree *node;
    const char *rest;  ///< what is left of the path below `node`
  };
  /// The deepest record known that is an ancestor of the last component of `path`; what the cached path had
  /// below it is forgotten.
  Start start(vidl_yfw_datatree *tree, const char *path);
  /// Records that `node` stands at path[0, end), the path being that of the last start().
  void step(const char *path, const char *end, vidl_yfw_datatree *node);
  void forget() { steps_.clear(); }

 private:
  struct Step {
    std::size_t end;
    vidl_yfw_datatree *node;
  };
  static constexpr std::size_t kLongest = 512;

  vidl_yfw_datatree *tree_ = nullptr;
  std::array<char, kLongest> path_{};
  std::vector<Step> steps_;
};

class Request {
 public:
  Request(const Registration &registration, uint32_t type, uint32_t content_selector);
  ~Request();
  Request(const Request &) = delete;
  Request &operator=(const Request &) = delete;

  /// The request that runs on this thread, when `ctx` is its; else nullptr.
  static Request *of(const yfw_map_ctx *ctx);
  static Request *running();

  /// Calls a root walker. `duplicate` is the root of the request's copy that the plug-in may search.
  verrno run(Observer::Direction direction, Walker walker, vidl_yfw_datatree *top, vidl_yfw_datatree *out,
             vidl_yfw_datatree *duplicate);

  yfw_map_ctx *ctx() { return &ctx_; }
  yfw_map_state &state() { return state_; }
  bool in_fill() const { return state_.final_pass == 1; }
  Observer::Direction direction() const { return direction_; }

  void enter(vidl_yfw_datatree *node, uint32_t kind);
  void leave(vidl_yfw_datatree *node);
  /// The walk path as a data path with keys, without a leading slash.
  std::string walk_text() const;
  std::vector<std::string> walk_tags() const;

  /// The current entry of a list of the walked tree: set to the entry last recorded; nullptr when there is
  /// none.
  void update_current(const char *list_path);
  vidl_yfw_datatree *current(const char *list_path) const;

  /// Makes a child the current entry of its list in an output tree.
  void select(vidl_yfw_datatree &parent, uint32_t index);
  void open_output(vidl_yfw_datatree *node);
  void close_output(vidl_yfw_datatree *node);

  /// Keeps every pointer of the runtime's into a child array that moved.
  void follow(const Grown &grown);

  WalkPath path;
  ErrorNotes errors;
  PathCache cache;
  Arena arena;  ///< for records of trees that are not ours
  std::vector<yfw_itree_entry> expansions;

 private:
  struct Current {
    std::string list_path;
    vidl_yfw_datatree *entry;
  };

  yfw_map_ctx ctx_{};
  yfw_map_state state_{};
  yfw_map_request request_{};
  const Registration &registration_;
  Observer::Direction direction_ = Observer::Direction::on;
  Request *outer_ = nullptr;
  std::vector<Current> currents_;
  std::vector<const vidl_yfw_datatree *> outputs_;
  std::vector<vidl_yfw_datatree *>
      selected_in_;  ///< parents of the entries selected since the output list was empty
};

/// One step of a data path: the tag, and for a list entry its keys ("amplifier[name='0/0-AMP-PRE0']"). Keys
/// are the children marked as such by the plug-in; before that, the one named `key`.
std::string path_step(const vidl_yfw_datatree &node, bool list_entry, const std::string &key);

}  // namespace yfw
