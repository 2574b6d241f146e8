// The events of a walk as a tree of its nodes.
#include "walk.hpp"

#include <algorithm>
#include <utility>

#include "ymap_datatree.h"

namespace ymap {
namespace {

/// A function name of the plug-in, taken apart by the naming rule: prefix, module word, kind, level, path
/// words. Transforms and utilities have no prefix.
struct FunctionName {
  enum class Kind { walker, handler, augments, other };
  Kind kind = Kind::other;
  std::string_view handler;  ///< "cont", "list", "leaf" or "duck"
  std::string_view rest;     ///< behind the level, or behind "duck_map_"
};

constexpr std::string_view kAugments = "_parse_augments";
constexpr std::size_t kLevelLength = 5;  ///< "lvla_"

FunctionName function_name(const yfw::Registration &registration, std::string_view name) {
  std::string_view prefix;
  for (const std::string_view candidate : {registration.on_prefix, registration.no_prefix})
    if (name.starts_with(candidate)) prefix = candidate;
  const auto module_end = name.find('_', prefix.size());
  if (prefix.empty() || module_end == std::string_view::npos) return {};
  auto rest = name.substr(module_end + 1);
  if (rest.ends_with(kAugments)) return {FunctionName::Kind::augments, {}, {}};
  if (rest.starts_with("lvl")) return {FunctionName::Kind::walker, {}, rest.substr(kLevelLength)};
  const auto kind = rest.substr(0, rest.find('_'));
  if (kind == "duck") return {FunctionName::Kind::handler, kind, rest.substr(rest.rfind('_') + 1)};
  if (kind == "cont" || kind == "list" || kind == "leaf")
    return {FunctionName::Kind::handler, kind, rest.substr(kind.size() + 1 + kLevelLength)};
  return {};
}

/// As the tag stands in a function name.
std::string word_of(std::string_view tag) {
  std::string word(tag);
  std::erase(word, '-');
  return word;
}

std::string_view tag_of(const vidl_yfw_datatree &node) {
  return node.tag == nullptr ? std::string_view() : node.tag;
}

uint32_t child_count(const vidl_yfw_datatree *node) {
  return node != nullptr && vidl_yfw_datatree_has_subtrees(node) && node->subtrees != nullptr
             ? node->subtree_count
             : 0;
}

std::optional<std::string> value_of(const vidl_yfw_datatree &node) {
  if (!vidl_yfw_datatree_has_data(&node) || node.data == nullptr) return std::nullopt;
  return node.data;
}

uint32_t operation_of(const vidl_yfw_datatree &node) {
  return vidl_yfw_datatree_has_operation(&node) ? node.operation : YMAP_OP_NONE;
}

const vidl_yfw_datatree *entry_with_key(const vidl_yfw_datatree &parent, std::string_view tag,
                                        std::string_view key, std::string_view value) {
  const vidl_yfw_datatree *last = nullptr;
  for (auto at = child_count(&parent); at-- > 0;) {
    const auto &child = parent.subtrees[at];
    if (tag_of(child) != tag) continue;
    if (last == nullptr) last = &child;
    if (value.empty()) break;
    for (uint32_t leaf = 0; leaf < child_count(&child); ++leaf)
      if (tag_of(child.subtrees[leaf]) == key && value_of(child.subtrees[leaf]) == value) return &child;
  }
  return last;
}

/// The node at the path: of list entries the one with the key, else the one added last.
const vidl_yfw_datatree *find_path(const vidl_yfw_datatree *node, std::string_view path, std::string_view key,
                                   std::string_view value) {
  while (node != nullptr && !path.empty()) {
    const auto begin = path.find_first_not_of('/');
    if (begin == std::string_view::npos) break;
    path.remove_prefix(begin);
    const auto tag = path.substr(0, path.find('/'));
    path.remove_prefix(tag.size());
    node = entry_with_key(*node, tag, key, value);
  }
  return node;
}

}  // namespace

bool Step::adds() const {
  return std::ranges::any_of(events, [](const Event &event) {
    return event.kind == Event::Kind::added || (event.child != nullptr && event.child->adds());
  });
}

WalkRecorder::WalkRecorder(const Schema &schema, const yfw::Registration &registration)
    : schema_(schema),
      registration_(registration),
      list_path_("/" + registration.top + "/" + registration.list_container + "/" + registration.list + "/") {
  yfw::set_observer(this);
}

WalkRecorder::~WalkRecorder() {
  yfw::set_observer(nullptr);
}

std::vector<Walk> WalkRecorder::take() {
  open_.clear();
  return std::exchange(walks_, {});
}

void WalkRecorder::begin(Direction direction, const vidl_yfw_datatree *top) {
  walks_.push_back({direction, {}});
  open_.clear();
  top_ = top;
  selected_key_.clear();
  foreign_.clear();
}

void WalkRecorder::enter(const vidl_yfw_datatree *node, uint32_t kind) {
  if (kind == YMAP_WALK_LIST_ENTRY) lists_.emplace(tag_of(*node));
  if (open_.empty() || open_.back().node != nullptr) return;
  auto &step = *open_.back().step;
  open_.back().node = node;
  step.name = tag_of(*node);
  step.operation = operation_of(*node);
}

// Nodes may be gone once they are left.
void WalkRecorder::leave(const vidl_yfw_datatree *node) {
  for (auto &open : open_)
    if (open.node == node) open.node = nullptr;
}

void WalkRecorder::message(std::string_view level, std::string_view function, std::string_view text) {
  const auto name = function_name(registration_, function);
  const bool started = text == "Start";
  if (started || text == "End") {
    if (name.kind == FunctionName::Kind::walker)
      return started ? walker_started(function, name.rest.substr(name.rest.rfind('_') + 1))
                     : walker_ended(function);
    if (open_.empty()) return;
    if (name.kind == FunctionName::Kind::augments) return augments_called(started);
    if (name.kind == FunctionName::Kind::handler) return handler_called(name.handler, name.rest, started);
    auto &transforms = open_.back().step->transforms;
    const bool own =
        name.kind == FunctionName::Kind::other && function.find("augment_lvl") == std::string_view::npos;
    if (own && std::ranges::find(transforms, function) == transforms.end()) transforms.emplace_back(function);
    return;
  }
  if (open_.empty()) return;
  auto &step = *open_.back().step;
  if (text.starts_with("Unsupported tag"))
    return note({.kind = Event::Kind::dropped, .text = pass_over() + std::string(text)});
  if (level == "ERR") return note({.kind = Event::Kind::error, .text = std::string(text)});
  const bool own = name.kind == FunctionName::Kind::handler ||
                   std::ranges::find(step.transforms, function) != step.transforms.end();
  if (own) step.traces.emplace_back(text);
}

void WalkRecorder::walker_started(std::string_view function, std::string_view word) {
  if (walks_.empty()) return;
  Step step{.name = std::string(word), .function = std::string(function)};
  const SchemaNode *schema = nullptr;
  if (walks_.back().direction == Direction::on) {
    const auto *parent = open_.empty() ? nullptr : open_.back().schema;
    for (const auto &node : schema_.children(parent))
      if (word_of(node.name) == word) schema = &node;
    if (schema != nullptr) step.name = schema->name;
  }
  if (const auto *node = open_.empty() ? top_ : find_child(word)) {
    step.name = tag_of(*node);
    step.named = true;
    step.module = module_of(node->namespace_);
    step.value = value_of(*node);
    step.operation = operation_of(*node);
  }
  open(std::move(step), schema);
}

void WalkRecorder::open(Step step, const SchemaNode *schema) {
  auto owned = std::make_unique<Step>(std::move(step));
  auto *opened = owned.get();
  if (open_.empty())
    walks_.back().tops.push_back(std::move(owned));
  else
    note({.kind = Event::Kind::child, .child = std::move(owned)});
  open_.push_back({opened, schema, nullptr, 0});
  foreign_.clear();
}

// A walker that returned early traced no end; it ends with the one around it.
void WalkRecorder::walker_ended(std::string_view function) {
  const auto at = std::find_if(open_.rbegin(), open_.rend(),
                               [&](const Open &open) { return open.step->function == function; });
  if (at != open_.rend()) open_.erase(std::prev(at.base()), open_.end());
}

void WalkRecorder::handler_called(std::string_view kind, std::string_view rest, bool started) {
  static constexpr std::pair<std::string_view, std::string_view> kinds[] = {
      {"cont", "container"}, {"list", "list"}, {"leaf", "leaf"}};
  auto &step = *open_.back().step;
  if (!step.handler.empty()) {
    if (started && kind == "cont") note({.kind = Event::Kind::pass});
    return;
  }
  // Entry walkers mark the keys before they call the handler.
  const auto *node = open_.back().node;
  for (uint32_t at = 0; at < child_count(node); ++at)
    if (const auto &key = node->subtrees[at]; key.is_key == 1)
      step.name = with_key(step.name, tag_of(key), value_of(key).value_or(""));
  step.generic = kind == "duck";
  if (step.generic) {
    step.handler = "generic " + std::string(rest) + " handler";
    step.is_leaf = rest == "leaf";
    return;
  }
  const auto row = std::ranges::find(kinds, kind, &std::pair<std::string_view, std::string_view>::first);
  const auto top_end = rest.find('_');
  step.handler = std::string(row->second) + " handler " +
                 std::string(top_end == std::string_view::npos ? rest : rest.substr(top_end + 1));
  step.is_leaf = kind == "leaf";
}

/// Children of other modules go to the augments walker, which passes over what no module of the mapping
/// takes.
void WalkRecorder::augments_called(bool started) {
  const auto &parent = open_.back();
  if (started && parent.next < child_count(parent.node)) {
    const auto module = module_of(parent.node->subtrees[parent.next].namespace_);
    if (module == module_of(parent.node->namespace_)) return;
    foreign_ = pass_over() + "of module " + module + ", passed over";
  } else if (!started && !foreign_.empty()) {
    note({.kind = Event::Kind::dropped, .text = std::exchange(foreign_, {})});
  }
}

/// The child of the node being walked whose walker has that word. Fills call walkers without a child.
const vidl_yfw_datatree *WalkRecorder::find_child(std::string_view word) {
  auto &parent = open_.back();
  const auto count = child_count(parent.node);
  for (uint32_t tried = 0; tried < count; ++tried) {
    const auto at = (parent.next + tried) % count;
    if (word_of(tag_of(parent.node->subtrees[at])) != word) continue;
    parent.next = at + 1;
    return &parent.node->subtrees[at];
  }
  return nullptr;
}

/// The child that the dispatch came to and did not walk, as "tag: ".
std::string WalkRecorder::pass_over() {
  auto &parent = open_.back();
  if (parent.next >= child_count(parent.node)) return {};
  const auto &child = parent.node->subtrees[parent.next++];
  const auto value = value_of(child);
  return std::string(tag_of(child)) + (value ? " = " + *value : "") + ": ";
}

void WalkRecorder::note(Event event) {
  open_.back().step->events.push_back(std::move(event));
}

void WalkRecorder::added(const vidl_yfw_datatree *tree, const char *path, const char *value, verrno status) {
  if (open_.empty()) return;
  AddedPath added{.path = path, .status = status};
  if (value != nullptr) added.value = value;
  const auto *node = find_path(tree, path, registration_.key, selected_key_);
  if (walks_.back().direction == Direction::on) {
    if (node != nullptr) added.module = module_of(node->namespace_);
    if (node != nullptr) added.operation = operation_of(*node);
  } else {
    if (added.path.starts_with(list_path_)) added.path.erase(0, list_path_.size());
    const auto kept = node == nullptr ? std::nullopt : value_of(*node);
    if (kept && value != nullptr && *kept != value) added.kept = *kept;
  }
  note({.kind = Event::Kind::added, .added = std::move(added)});
}

void WalkRecorder::selected(const char *list_path, const char *key_value) {
  if (open_.empty()) return;
  selected_key_ = key_value;
  note({.kind = Event::Kind::selected, .text = with_key(list_path, registration_.key, selected_key_)});
}

std::string module_of(const char *ns) {
  const std::string_view uri = ns == nullptr ? "" : ns;
  return std::string(uri.substr(uri.rfind('/') + 1));
}

}  // namespace ymap
