// The story of one request: what was walked, asked, answered and dropped.
#include "explain.hpp"

#include <utility>
#include <vector>

#include "native_text.hpp"
#include "printable.hpp"
#include "walk.hpp"
#include "walk_text.hpp"
#include "ymap_datatree.h"

namespace ymap {
namespace {

/// One native read of a request, with the walks around it.
struct Exchange {
  std::vector<Walk> before;  ///< on direction; the last one made the native request
  yfw::Datatree request, answer;
  std::vector<Walk> after;  ///< no direction
};

yfw::Datatree copy_of(const yfw::Datatree &tree) {
  yfw::Datatree copy;
  if (!vidl_yfw_datatree_has_subtrees(tree.root())) return copy;
  for (uint32_t at = 0; at < tree.root()->subtree_count; ++at)
    copy.add_copy(copy.root(), &tree.root()->subtrees[at]);
  return copy;
}

/// Passes reads on and keeps what was sent and answered.
class ListeningDatastore : public yfw::NativeDatastore {
 public:
  ListeningDatastore(yfw::NativeDatastore &device, WalkRecorder &recorder)
      : device_(device), recorder_(recorder) {}

  void read(const yfw::Datatree &request, yfw::Datatree &answer) override {
    collect();
    device_.read(request, answer);
    keep(request, answer);
  }

  void read_config(const yfw::Datatree &request, yfw::Datatree &answer) override {
    collect();
    device_.read_config(request, answer);
    keep(request, answer);
  }

  void edit(const yfw::Datatree &request) override { device_.edit(request); }

  /// To be called when the request is over. The walks that no native request came of are in `rest`.
  std::vector<Exchange> finish(std::vector<Walk> &rest) {
    collect();
    rest = std::move(before_);
    return std::move(exchanges_);
  }

 private:
  void collect() {
    for (auto &walk : recorder_.take()) {
      const bool back = walk.direction == yfw::Observer::Direction::no && !exchanges_.empty();
      (back ? exchanges_.back().after : before_).push_back(std::move(walk));
    }
  }

  void keep(const yfw::Datatree &request, const yfw::Datatree &answer) {
    exchanges_.push_back({std::move(before_), copy_of(request), copy_of(answer), {}});
    before_.clear();
  }

  yfw::NativeDatastore &device_;
  WalkRecorder &recorder_;
  std::vector<Walk> before_;
  std::vector<Exchange> exchanges_;
};

const char *kind_text(const Request &request) {
  switch (request.kind) {
    case Request::Kind::get_config:
      return "get-config: a read of configuration (request type 0)";
    case Request::Kind::edit:
      return "edit-config: an edit (request type 1), translated only, nothing is stored";
    case Request::Kind::get:
      break;
  }
  return request.state_only ? "get: a read of state only (request type 10, content selector 2)"
                            : "get: a read of configuration and state (request type 10)";
}

/// The nodes that the OpenConfig request names.
std::string request_tree(const Request &request) {
  if (request.selects_nothing) return "  nothing: no data can match the filter\n";
  const auto tree = tree_text(request.tree, 1, YMAP_NS_OPENCONFIG);
  return tree.empty() ? "  everything\n" : tree;
}

class Narrator {
 public:
  Narrator(Session &session, const Request &request, const Terminal &terminal)
      : session_(session), request_(request), terminal_(terminal) {}

  Explanation tell() {
    text_ = terminal_.bold(kind_text(request_)) + "\n" + printable(request_tree(request_));
    try {
      if (request_.kind == Request::Kind::edit)
        tell_edit();
      else
        tell_read();
    } catch (const RpcError &error) {
      const auto &fault = error.fault();
      const auto where = fault.path.empty() ? "" : " at " + fault.path;
      heading("Refused: " + printable(fault.tag + where + ": " + fault.message));
      return {std::move(text_), fault};
    }
    return {std::move(text_), std::nullopt};
  }

 private:
  void heading(const std::string &words) { text_ += "\n" + terminal_.bold(words) + "\n"; }

  void tell_edit() {
    WalkRecorder recorder(session_.schema(), session_.registration());
    const auto native = [&] {
      try {
        return session_.translate(request_);
      } catch (const RpcError &) {
        tell_walks(recorder.take(), true);
        throw;
      }
    }();
    tell_walks(recorder.take(), true);
    std::size_t leaves = 0;
    for (const auto &tree : native) {
      heading("The native edit (not sent)");
      text_ += printable(tree_text(tree, 1));
      leaves += count_tree(tree, {}).leaves;
    }
    heading("Translated: " + counted(leaves, "native leaf", "native leaves") + "; nothing was stored");
  }

  void tell_read() {
    WalkRecorder recorder(session_.schema(), session_.registration());
    ListeningDatastore datastore(session_.device(), recorder);
    std::vector<Walk> rest;
    try {
      const auto answer = session_.run(request_, datastore);
      tell_exchanges(datastore.finish(rest), recorder);
      tell_walks(rest, false);
      tell_answer(answer);
    } catch (const RpcError &) {
      tell_exchanges(datastore.finish(rest), recorder);
      tell_walks(rest, true);
      throw;
    }
  }

  /// `ended`: the last walk made a native request or was refused. The others were turned down for a node
  /// without mapping, and the framework went on without it.
  void tell_walks(const std::vector<Walk> &walks, bool ended) {
    for (std::size_t at = 0; at < walks.size(); ++at) {
      const auto node = ended && at + 1 == walks.size() ? std::string() : turned_down(walks[at]);
      if (node.empty()) {
        heading("On direction: the plug-in walks the OpenConfig request");
        text_ += walk_text(walks[at], 1, terminal_);
      } else {
        heading("The plug-in turns the request down");
        text_ += "  for " + printable(node) + "\n  The framework goes on without this node.\n";
      }
    }
  }

  void tell_exchanges(const std::vector<Exchange> &exchanges, const WalkRecorder &recorder) {
    for (const auto &exchange : exchanges) {
      tell_walks(exchange.before, true);
      const auto asked = count_tree(exchange.request, recorder.lists());
      heading("The device is asked for " + counted(asked.unvalued, "leaf", "leaves") + " in " +
              counted(asked.entries, "list entry", "list entries"));
      text_ += printable(tree_text(exchange.request, 1));
      const auto given = count_tree(exchange.answer, recorder.lists());
      heading("The device answers " + counted(given.entries, "list entry", "list entries") + ", " +
              counted(given.leaves, "leaf", "leaves"));
      text_ += printable(tree_text(exchange.answer, 1));
      if (exchange.after.empty()) continue;
      heading("No direction: the plug-in walks the native answer");
      for (const auto &walk : exchange.after) text_ += walk_text(walk, 1, terminal_);
    }
  }

  void tell_answer(const Answer &answer) {
    for (const auto &warning : answer.warnings) heading("Warning: " + printable(warning));
    std::vector<std::string> leaves;
    collect(answer.data, {}, leaves);
    heading("Answer: " + counted(leaves.size(), "leaf", "leaves") +
            (leaves.empty() ? "" : ", pruned to the request"));
    for (const auto &leaf : leaves) text_ += "  " + printable(leaf) + "\n";
  }

  /// "amplifier[name='0/0-AMP-BST2']/config/target-gain = 15.50 dB"
  void collect(const Data &siblings, const std::string &above, std::vector<std::string> &leaves) const {
    const auto &model = session_.registration();
    const auto list = step(step({}, model.openconfig_module, model.top), {}, model.list_container) + "/";
    for (const auto &node : siblings) {
      auto path = step(above, model.openconfig_module, node.schema->name);
      if (!node.schema->is_leaf()) {
        if (node.schema->is_list())
          path = with_key(path, node.children.front().schema->name, node.children.front().value);
        collect(node.children, path, leaves);
        continue;
      }
      if (path.starts_with(list)) path.erase(0, list.size());
      const auto unit = node.schema->units;
      leaves.push_back((path + " = " + node.value).append(unit.empty() ? "" : " ").append(unit));
    }
  }

  Session &session_;
  const Request &request_;
  const Terminal &terminal_;
  std::string text_;
};

}  // namespace

Explanation explain(Session &session, const Request &request, const Terminal &terminal) {
  return Narrator(session, request, terminal).tell();
}

}  // namespace ymap
