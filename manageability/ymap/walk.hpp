/// \file
/// What the plug-in did with a request, as a tree of the nodes that it walked.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "datatree.hpp"
#include "observer.hpp"
#include "plugin.hpp"
#include "schema.hpp"

namespace ymap {

/// A path that a handler asked for in the output tree.
struct AddedPath {
  std::string path = {};    ///< from the top, or "config/enabled" below the OpenConfig list entry
  std::string module = {};  ///< native module; empty for OpenConfig paths
  std::optional<std::string> value = {};
  uint32_t operation = YMAP_OP_NONE;
  verrno status = YMAP_OK;
  std::string kept = {};  ///< the value that the node had before and keeps, where it is another one
};

struct Step;

/// Something that happened at a node, in the order of the walk.
struct Event {
  enum class Kind {
    child,     ///< a node below was walked
    added,     ///< a path was added
    selected,  ///< an output list entry was found or made: `text` is its path
    dropped,   ///< a node below was passed over: `text` says which and why
    error,     ///< the plug-in's own ERR message: `text`
    pass       ///< the children are walked again: second pass of a replace
  };
  Kind kind;
  std::string text = {};
  AddedPath added = {};
  std::unique_ptr<Step> child = nullptr;
};

/// A node and what was done for it.
struct Step {
  std::string name = {};      ///< tag, list entries with their key
  std::string function = {};  ///< its walker, full name
  bool is_leaf = false;       ///< walked by a leaf handler
  bool named = false;         ///< stands in the walked tree; else a fill came to it
  std::string module = {};    ///< of its namespace, where it is named
  std::optional<std::string> value = {};
  uint32_t operation = YMAP_OP_NONE;
  std::string handler = {};  ///< "leaf handler config_targetgain"; empty: none was called
  bool generic = false;      ///< the handler is the module's generic one
  std::vector<std::string> transforms = {};
  std::vector<std::string> traces = {};  ///< other messages of handler and transforms
  std::vector<Event> events = {};

  bool adds() const;  ///< a path was added here or below
};

struct Walk {
  yfw::Observer::Direction direction;
  std::vector<std::unique_ptr<Step>> tops;
};

/// Follows the plug-in while it lives: one recorder at a time.
class WalkRecorder : public yfw::Observer {
 public:
  /// `schema` names the nodes of requests; both must outlive the recorder.
  WalkRecorder(const Schema &schema, const yfw::Registration &registration);
  ~WalkRecorder() override;
  WalkRecorder(const WalkRecorder &) = delete;
  WalkRecorder &operator=(const WalkRecorder &) = delete;

  /// The walks since the last call, in order.
  std::vector<Walk> take();
  /// Tags of the list entries walked so far.
  const std::set<std::string> &lists() const { return lists_; }

  void begin(Direction direction, const vidl_yfw_datatree *top) override;
  void enter(const vidl_yfw_datatree *node, uint32_t kind) override;
  void leave(const vidl_yfw_datatree *node) override;
  void message(std::string_view level, std::string_view function, std::string_view text) override;
  void added(const vidl_yfw_datatree *tree, const char *path, const char *value, verrno status) override;
  void selected(const char *list_path, const char *key_value) override;

 private:
  /// A node being walked. `node` is nullptr until it is entered and after it was left.
  struct Open {
    Step *step;
    const SchemaNode *schema;
    const vidl_yfw_datatree *node;
    uint32_t next;  ///< child that the dispatch comes to next
  };

  void walker_started(std::string_view function, std::string_view word);
  void walker_ended(std::string_view function);
  void augments_called(bool started);
  void handler_called(std::string_view kind, std::string_view rest, bool started);
  void open(Step step, const SchemaNode *schema);
  const vidl_yfw_datatree *find_child(std::string_view word);
  std::string pass_over();
  void note(Event event);

  const Schema &schema_;
  const yfw::Registration &registration_;
  std::vector<Walk> walks_;
  std::vector<Open> open_;
  std::set<std::string> lists_;
  const vidl_yfw_datatree *top_ = nullptr;
  std::string foreign_;       ///< the child that an augments walker has to take now
  std::string list_path_;     ///< of the OpenConfig list, with a slash at its end
  std::string selected_key_;  ///< of the output's current entry
};

/// A namespace's module: the last step of the URI.
std::string module_of(const char *ns);

}  // namespace ymap
