/// \file
/// A framework that records nothing: it keeps the walk path, the lists' current entries and the expansion
/// stack as a real one does, and lets calls fail where the input says so.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "bytes.hpp"
#include "forest.hpp"
#include "yfw_services.h"

namespace ymap_fuzz {

class Framework {
 public:
  /// The services of this process work for the one that was made last. `faults` decides which calls fail.
  Framework(yfw_map_ctx *ctx, Forest *forest, Bytes faults) : ctx_(ctx), forest_(forest), faults_(faults) {
    running_ = this;
  }
  ~Framework() { running_ = nullptr; }
  Framework(const Framework &) = delete;
  Framework &operator=(const Framework &) = delete;
  static Framework &running() { return *running_; }

  /// What is pushed on the expansion stack, by the input's choice, while a path is added.
  void offer(const yfw_itree_entry &expansion) {
    offered_ = expansion;
    offers_ = true;
  }
  void set_traces(bool log) { log_ = log; }

  size_t walk_depth() const { return walk_.size(); }

  // ---- What the services do ----
  verrno status();
  bool fails() { return faults_.left() != 0 && (faults_.byte() & 7U) == 7; }
  bool logs() const { return log_; }
  void enter(vidl_yfw_datatree *node);
  void leave(const vidl_yfw_datatree *node);
  void make_current(const std::string &list) { current_[list] = walk_.empty() ? nullptr : walk_.back().node; }
  const char *key_of_current(const std::string &list, const char *key) const;
  void maybe_expand();
  vidl_yfw_datatree *append(vidl_yfw_datatree *parent, const char *tag, const char *ns) {
    return forest_->append(parent, tag, ns);
  }
  std::vector<yfw_itree_entry> &stack() { return stack_; }

 private:
  void publish();

  static Framework *running_;
  yfw_map_ctx *ctx_;
  Forest *forest_;
  Bytes faults_;
  bool log_ = false;
  std::vector<yfw_map_node_data> walk_;
  std::map<std::string, vidl_yfw_datatree *> current_;
  std::vector<yfw_itree_entry> stack_;
  yfw_itree_entry offered_{};
  bool offers_ = false;
};

}  // namespace ymap_fuzz
