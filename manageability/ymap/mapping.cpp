// The mapping, found by running each leaf of the model through the plug-in.
#include "mapping.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "conversion.hpp"
#include "openconfig_request.hpp"
#include "rpc_error.hpp"
#include "walk.hpp"
#include "ymap_datatree.h"

namespace ymap {
namespace {

/// What a device might answer for any leaf: numbers, and the words that the plug-in itself writes.
constexpr const char *kNumbers[] = {"1234", "-56"};

/// Answers every leaf that is asked for with the same made-up value.
class MadeUpDatastore : public yfw::NativeDatastore {
 public:
  std::string value;

  void read(const yfw::Datatree &request, yfw::Datatree &answer) override {
    copy(request.root(), answer.root(), answer);
  }
  void edit(const yfw::Datatree &) override {}

 private:
  void copy(const vidl_yfw_datatree *from, vidl_yfw_datatree *to, yfw::Datatree &answer) const {
    if (!vidl_yfw_datatree_has_subtrees(from)) return;
    std::set<std::string_view> valued;
    for (uint32_t at = 0; at < from->subtree_count; ++at) {
      const auto &node = from->subtrees[at];
      const bool leaf = !vidl_yfw_datatree_has_subtrees(&node) || node.subtree_count == 0;
      const bool key = vidl_yfw_datatree_has_data(&node) && node.data != nullptr;
      // A key that is asked for stands in the request as a match as well.
      if (leaf && !key && valued.contains(node.tag)) continue;
      if (leaf) {
        if (key) valued.insert(node.tag);
        answer.add(to, node.tag, node.namespace_, key ? std::string_view(node.data) : value);
      } else {
        copy(&node, answer.add(to, node.tag, node.namespace_), answer);
      }
    }
  }
};

/// A leaf of the model: the tags from the top.
struct ModelLeaf {
  std::vector<const SchemaNode *> steps;

  const SchemaNode *node() const { return steps.back(); }
  std::string path(std::size_t from) const {
    std::string text;
    for (; from < steps.size(); ++from) text += (text.empty() ? "" : "/") + std::string(steps[from]->name);
    return text;
  }
};

void collect_leaves(const Schema &schema, ModelLeaf &at, std::vector<ModelLeaf> &leaves) {
  for (const auto &node : schema.children(at.steps.empty() ? nullptr : at.steps.back())) {
    at.steps.push_back(&node);
    if (node.is_leaf())
      leaves.push_back(at);
    else
      collect_leaves(schema, at, leaves);
    at.steps.pop_back();
  }
}

using Found = std::map<std::string, Evidence>;  ///< by native module

/// Calls `use` for every leaf step of a walk with its path from the top.
void for_each_leaf(const Step &step, const std::string &above,
                   const std::function<void(const Step &, const std::string &)> &use) {
  const auto path = above + "/" + step.name.substr(0, step.name.find('['));
  if (step.is_leaf) use(step, path);
  for (const auto &event : step.events)
    if (event.child != nullptr) for_each_leaf(*event.child, path, use);
}

class Prober {
 public:
  explicit Prober(Session &session)
      : session_(session),
        registration_(session.registration()),
        recorder_(session.schema(), registration_),
        mapper_(session.plugin(), datastore_) {}

  Mapping run() {
    mapping_.amplifiers = registration_.instances;
    ModelLeaf top;
    std::vector<ModelLeaf> leaves;
    collect_leaves(session_.schema(), top, leaves);
    for (const auto &leaf : leaves)
      if (in_list(leaf) && leaf.node()->is_config && leaf.steps.size() > kListDepth + 1) ask_edit(leaf);
    for (const auto &leaf : leaves) ask_read(leaf);
    ask_everything();
    for (auto &[leaf, modules] : found_) {
      for (auto &[module, evidence] : modules) drop_companions(evidence);
      std::erase_if(modules, [](const auto &row) { return row.second.natives.empty(); });
    }
    for (const auto &leaf : leaves) conclude(leaf);
    return std::move(mapping_);
  }

 private:
  static constexpr std::size_t kListDepth = 3;  ///< steps down to the list entry

  bool in_list(const ModelLeaf &leaf) const {
    return leaf.steps.size() > kListDepth && leaf.steps[1]->name == registration_.list_container;
  }

  std::vector<std::string> words_to_answer() const {
    std::vector<std::string> words(std::begin(kNumbers), std::end(kNumbers));
    words.insert(words.end(), native_words_.begin(), native_words_.end());
    return words;
  }

  // ---- Edits: OpenConfig to native

  /// The native leaves that the edit adds, or nothing when the plug-in refuses it.
  std::optional<std::vector<AddedPath>> edited(const ModelLeaf &leaf, const std::string &amplifier,
                                               const std::string &value) {
    recorder_.take();
    std::vector<AddedPath> added;
    std::string refused;
    try {
      const auto request =
          edit_request(session_.schema(), amplifier, {{std::string(leaf.node()->name), value}});
      mapper_.translate_edit(request.tree);
    } catch (const RpcError &) {
      return std::nullopt;  // not of the leaf's type
    } catch (const yfw::Refusal &refusal) {
      refused = refusal.what();
    }
    const auto wanted = "/" + leaf.path(0);
    for (const auto &walk : recorder_.take())
      for (const auto &walked : walk.tops)
        for_each_leaf(*walked, {}, [&](const Step &step, const std::string &path) {
          if (path != wanted) return;
          for (const auto &event : step.events)
            if (event.kind == Event::Kind::added) added.push_back(event.added);
        });
    // A word without a native one is refused too, but the plug-in has told its leaf.
    if (refused.empty() || !added.empty()) return added;
    refusals_.try_emplace(leaf.path(0), refused);
    return std::nullopt;
  }

  std::vector<std::string> values_to_set(const ModelLeaf &leaf, const std::string &amplifier) const {
    const auto words = leaf.node()->words;
    if (!words.empty()) return {words.begin(), words.end()};
    std::vector<std::string> values = {amplifier};
    for (const char *number : {"0", "1", "1.09", "2", "10", "10.09", "11"}) values.emplace_back(number);
    return values;
  }

  void ask_edit(const ModelLeaf &leaf) {
    const auto name = leaf.path(kListDepth);
    for (const auto &amplifier : registration_.instances) {
      for (const auto &value : values_to_set(leaf, amplifier)) {
        const auto added = edited(leaf, amplifier, value);
        if (!added) continue;
        for (const auto &native : *added) {
          // A leaf repeats the key: what comes with it is the key's.
          if (!native.value && leaf.node()->words.empty()) continue;
          auto &evidence = found_[name][native.module];
          evidence.write = true;
          add_once(evidence.natives[native.path], amplifier);
          add_sample(evidence.edits, {native.value.value_or(""), value, native.path});
          if (native.value && !leaf.node()->words.empty()) native_words_.insert(*native.value);
        }
      }
    }
  }

  // ---- Reads: native to OpenConfig

  yfw::Datatree filter(const ModelLeaf &leaf, const std::string &amplifier) const {
    yfw::Datatree tree;
    auto *parent = tree.root();
    const auto ns = session_.schema().ns();
    for (const auto *node : leaf.steps) {
      parent = tree.add(parent, node->name, ns);
      if (node->is_list() && !amplifier.empty()) tree.add(parent, registration_.key, ns, amplifier);
    }
    return tree;
  }

  void ask_read(const ModelLeaf &leaf) {
    // A key alone would select the whole entry.
    const bool key = in_list(leaf) && leaf.node()->is_key;
    for (const auto &amplifier : in_list(leaf) ? registration_.instances : std::vector<std::string>{""}) {
      if (key || !run_read(filter(leaf, amplifier), kNumbers[0]) || rejected(leaf)) continue;
      for_each_answer([&](const std::string &native, const AddedPath &added, const std::string &module,
                          const std::string &native_value) {
        if (added.path != leaf.path(kListDepth)) return;
        auto &evidence = found_[added.path][module];
        evidence.read = true;
        add_once(evidence.natives[native], amplifier);
        add_sample(evidence.answers, {native_value, added.value.value_or(""), native});
      });
    }
  }

  bool run_read(const yfw::Datatree &tree, const std::string &value) {
    datastore_.value = value;
    recorder_.take();
    try {
      mapper_.read({.filter = &tree});
    } catch (const yfw::Refusal &) {
      return false;
    }
    walks_ = recorder_.take();
    return true;
  }

  /// The plug-in turned the leaf down: then the framework asked again without it, or not at all.
  bool rejected(const ModelLeaf &leaf) {
    if (walks_.empty()) return true;
    const auto wanted = "/" + leaf.path(0);
    const Step *found = nullptr;
    for (const auto &top : walks_.front().tops)
      for_each_leaf(*top, {}, [&](const Step &step, const std::string &path) {
        if (path == wanted) found = &step;
      });
    if (found == nullptr || found->adds()) return false;
    const bool again = walks_.size() > 1 && walks_[1].direction == yfw::Observer::Direction::on;
    const bool rejected = again || walks_.size() == 1;
    if (rejected) handlers_.try_emplace(leaf.path(0), found->handler, found->generic);
    return rejected;
  }

  /// Native leaves come with the module that their walker's name begins with.
  template <typename Use>
  void for_each_answer(Use use) {
    for (const auto &walk : walks_) {
      if (walk.direction != yfw::Observer::Direction::no) continue;
      for (const auto &top : walk.tops)
        for_each_leaf(*top, {}, [&](const Step &step, const std::string &path) {
          for (const auto &event : step.events)
            if (event.kind == Event::Kind::added)
              use(path, event.added, step.module, step.value.value_or(""));
        });
    }
  }

  /// A read of whole amplifiers: native leaves whose answers fill more than what asks for them.
  void ask_everything() {
    for (const auto &amplifier : registration_.instances) {
      const auto request = read_request(session_.schema(), Request::Kind::get, false, {amplifier});
      for (const auto &value : words_to_answer()) {
        if (!run_read(request.tree, value)) return;
        note_key(amplifier);
        for_each_answer([&](const std::string &native, const AddedPath &added, const std::string &module,
                            const std::string &native_value) {
          auto &evidence = found_[added.path][module];
          if (!evidence.read && !evidence.key) evidence.fill = true;
          add_once(evidence.natives[native], amplifier);
          add_sample(evidence.answers, {native_value, added.value.value_or(""), native});
        });
      }
    }
  }

  /// The native keys that the key handler adds.
  void note_key(const std::string &amplifier) {
    const auto wanted = "/" + registration_.top + "/" + registration_.list_container + "/" +
                        registration_.list + "/" + registration_.key;
    for (const auto &top : walks_.front().tops)
      for_each_leaf(*top, {}, [&](const Step &step, const std::string &path) {
        if (path != wanted) return;
        for (const auto &event : step.events) {
          if (event.kind != Event::Kind::added || !event.added.value) continue;
          auto &evidence = found_[registration_.key][event.added.module];
          evidence.key = true;
          add_once(evidence.natives[event.added.path], amplifier);
          add_sample(evidence.edits, {*event.added.value, amplifier, event.added.path});
        }
      });
  }

  // ---- Conclusions

  void conclude(const ModelLeaf &leaf) {
    const auto name = in_list(leaf) ? leaf.path(kListDepth) : std::string();
    const auto found = found_.find(name);
    if (name.empty() || found == found_.end()) return conclude_unmapped(leaf);
    for (auto &[module, evidence] : found->second) {
      MappedLeaf mapped{.leaf = name,
                        .units = std::string(leaf.node()->units),
                        .key = evidence.key,
                        .read = evidence.read,
                        .write = evidence.write,
                        .fill = evidence.fill,
                        .natives = {},
                        .conversion = conversion_of(evidence, !leaf.node()->words.empty()),
                        .range = std::nullopt,
                        .unmapped_words = {}};
      for (const auto &[path, amplifiers] : evidence.natives)
        mapped.natives.push_back({amplifiers, module, path});
      for (const auto &sample : evidence.edits)
        if (sample.native.empty()) add_once(mapped.unmapped_words, sample.openconfig);
      if (evidence.write && mapped.conversion.kind == Conversion::Kind::factor)
        mapped.range = accepted_range(leaf, evidence);
      mapping_.mapped.push_back(std::move(mapped));
    }
  }

  void conclude_unmapped(const ModelLeaf &leaf) {
    const auto path = leaf.path(0);
    const auto handler = handlers_.find(path);
    const auto refusal = refusals_.find(path);
    UnmappedLeaf unmapped;
    unmapped.path = "/" + path;
    if (handler != handlers_.end()) {
      unmapped.handler = handler->second.first;
      unmapped.generic = handler->second.second;
    }
    if (refusal != refusals_.end()) unmapped.refusal = refusal->second;
    mapping_.unmapped.push_back(std::move(unmapped));
  }

  // ---- Range of edits

  /// Bisects, in hundredths, between a value that is taken and one that is not.
  std::optional<AcceptedRange> accepted_range(const ModelLeaf &leaf, const Evidence &evidence) {
    constexpr long kFar = 10'000'000;
    const auto &amplifier = evidence.natives.begin()->second.front();
    const auto start = number_of(evidence.edits.front().openconfig);
    if (!start) return std::nullopt;
    const auto takes = [&](long hundredths) {
      return edited(leaf, amplifier, decimal(hundredths)).has_value();
    };
    const auto edge = [&](long taken, long refused) -> std::optional<std::string> {
      if (takes(refused)) return std::nullopt;
      while (std::abs(refused - taken) > 1) {
        const auto middle = taken + (refused - taken) / 2;
        (takes(middle) ? taken : refused) = middle;
      }
      return decimal(taken);
    };
    const auto from = std::lround(*start * 100);
    const auto lowest = edge(from, -kFar);
    const auto highest = edge(from, kFar);
    if (!lowest || !highest) return std::nullopt;
    return AcceptedRange{*lowest, *highest};
  }

  static std::string decimal(long hundredths) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", static_cast<double>(hundredths) / 100);
    return text;
  }

  Session &session_;
  const yfw::Registration &registration_;
  WalkRecorder recorder_;
  MadeUpDatastore datastore_;
  yfw::Mapper mapper_;
  std::vector<Walk> walks_;
  std::map<std::string, Found> found_;  ///< by the leaf's path below the list entry
  std::set<std::string> native_words_;  ///< that edits wrote
  /// Handlers of leaves that were turned down, and whether they are generic; by path.
  std::map<std::string, std::pair<std::string, bool>> handlers_;
  std::map<std::string, std::string> refusals_;  ///< messages of refused edits, by path
  Mapping mapping_;
};

}  // namespace

Mapping ask_mapping(Session &session) {
  return Prober(session).run();
}

}  // namespace ymap
