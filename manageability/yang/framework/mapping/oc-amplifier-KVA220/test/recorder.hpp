/// \file
/// The framework that the plug-in meets in its tests. It defines every service, behaves truly where the
/// plug-in depends on the answer, and turns every call into one line of text as it happens: nodes by path,
/// never by address. A scenario compares the whole list, so order, omission and excess fail alike.
///
///     enter entry /optical-amplifier/amplifiers/amplifier
///     add out ots-cfg:{if}/ots/ots-egress-osri="true" from /config/enabled 0 1
///     on:lvla_opticalamplifier_amplifiers| ERR No keys specified with a list node.
///
/// Long prefixes are folded, of paths to {if}, {port}, {pm}, {history}, {bucket}, {amp} and {channel}, of
/// function names to on:, ifmgr:, ots-cfg:, ots-oper: and pm:. A broken rule of the trace convention (levels,
/// log handles, zero arguments, site indices, the two outputs saying the same) is a line that begins with
/// `!!`.
#ifndef YMAP_TEST_RECORDER_HPP
#define YMAP_TEST_RECORDER_HPP

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tree.hpp"
#include "yfw_services.h"

namespace ymap_test {

/// What a scenario compares. `adds` keeps paths added, entries searched and errors, `calls` drops all trace
/// points, `walk` drops all but errors, makes one line of a dump of trees and shows "Start" as
/// `> function` (`>` for the function under test), `full` keeps everything with `<` for "End". Queries and
/// copies are recorded on demand only.
enum class View { adds, calls, walk, full };

/// Name of a status as a test writes it, a number when it has none; and the way back.
std::string status_name(verrno status);
verrno status_value(const std::string &name);

/// Folds the long prefixes, and unfolds them.
std::string fold_path(const std::string &path);
std::string fold_function(const std::string &name);
std::string unfold_path(const std::string &path);
std::string unfold_function(const std::string &name);

class Recorder {
 public:
  /// The one that the services of this process report to.
  static Recorder &instance();

  /// Forgets everything but the log sites; ends with nothing allocated.
  void reset(yfw_map_ctx *ctx);

  // ---- What a scenario sets ----
  View view = View::calls;
  std::string self;             ///< traces of this function are shown without its name
  std::set<std::string> quiet;  ///< functions whose traces are left out
  bool queries = false;         ///< also record do_these_match, is_request_*, strcpy_s, strcat_s, stack size
  bool marks = false;           ///< show the walk marks of the state record beside "Start"
  bool indent = false;          ///< two blanks a step of the walk path
  bool log_errors = true;       ///< answers of yfw_debug_should_log
  bool log_traces = true;
  /// Makes the n-th call (from 1) of a service answer `status`: a copy or an owned text then stays empty, an
  /// entry off the output list.
  void fail(const std::string &service, int nth, verrno status) { failures_[{service, nth}] = status; }
  /// Pushes an expansion entry within the n-th call of a service, unless that fails, as the framework does in
  /// a handler.
  void push_in(const std::string &service, int nth, const yfw_itree_entry &entry) {
    pushes_[{service, nth}] = entry;
  }

  // ---- What a scenario reads ----
  const std::vector<std::string> &lines() const { return lines_; }
  std::string text() const;
  Forest &forest() { return forest_; }
  size_t allocated() const { return owned_.size(); }
  size_t walk_depth() const { return walk_.size(); }
  size_t stack_depth() const { return stack_.size(); }
  const std::vector<std::string> &light_lines() const { return light_lines_; }
  int formatted() const { return formatted_; }
  int asked() const { return asked_; }
  int failed() const { return failed_; }           ///< calls that were made to fail
  size_t forgotten() const { return forgotten_; }  ///< nodes that others took off the walk path with them
  void forget_sites() { sites_.clear(); }

  // ---- What the services do ----
  void line(const std::string &text);
  void drop_lines() { lines_.clear(); }
  void query(const std::string &text);
  verrno reach(const std::string &service);
  void enter(vidl_yfw_datatree *node, uint32_t kind);
  void leave(const vidl_yfw_datatree *node);
  void make_current(const std::string &list) { current_[list] = walk_.empty() ? nullptr : walk_.back().node; }
  const vidl_yfw_datatree *current(const std::string &list) const;
  char *own(const char *text);
  std::string disown(void *text);
  void asked_level(const yfw_debug_cfg *cfg, int level);
  void log_message(const void *log, bool zeros, uint32_t *site, const std::string &text);
  void light_message(const void *ltrace, uint64_t tag, const std::string &text);
  uint32_t next_number() { return ++light_number_; }
  std::vector<yfw_itree_entry> &stack() { return stack_; }

 private:
  void trace(const std::string &function, const std::string &level, const std::string &message);
  void settle_pending();
  std::string state_marks() const;

  yfw_map_ctx *ctx_ = nullptr;
  Forest forest_;
  std::vector<std::string> lines_;
  std::vector<std::string> light_lines_;
  std::map<std::string, int> counts_;
  std::map<std::pair<std::string, int>, verrno> failures_;
  std::map<std::pair<std::string, int>, yfw_itree_entry> pushes_;
  std::vector<yfw_map_node_data> walk_;
  std::map<std::string, const vidl_yfw_datatree *> current_;
  std::vector<yfw_itree_entry> stack_;
  std::set<void *> owned_;
  std::map<const uint32_t *, int> sites_;  ///< source line by site index, 0 until known
  std::string pending_;  ///< "LVL message" that went to the log and waits for its light-trace twin
  const uint32_t *pending_site_ = nullptr;
  int asked_level_ = -1;
  int formatted_ = 0;
  int asked_ = 0;  ///< for a level
  int failed_ = 0;
  size_t forgotten_ = 0;
  uint32_t light_number_ = 0;
};

}  // namespace ymap_test

#endif  // YMAP_TEST_RECORDER_HPP
