// Paths with wildcards, matched step by step: all steps that may come next are kept at once.
#include "pattern.hpp"

#include <algorithm>
#include <string_view>

#include "data_parser.hpp"
#include "printable.hpp"
#include "refusal.hpp"

namespace ymap::telemetry {
namespace {

/// Some clients escape a slash or bracket in a key, and send it as it was typed.
std::string unescaped_key(std::string_view key) {
  std::string text;
  for (std::size_t at = 0; at < key.size(); ++at) {
    const bool escapes = key[at] == '\\' && at + 1 < key.size() &&
                         std::string_view("/[]\\").find(key[at + 1]) != std::string_view::npos;
    if (escapes) ++at;
    text += key[at];
  }
  return text;
}

/// The only key: all lists of the model have one.
const SchemaNode &key_leaf(const SchemaNode &list) {
  return list.children.front();
}

}  // namespace

Pattern::Pattern(const Schema &schema, const ::gnmi::Path &prefix, const ::gnmi::Path &path)
    : schema_(schema) {
  for (const auto *part : {&prefix, &path}) {
    const auto &origin = part->origin();
    if (!origin.empty() && origin != "openconfig" && origin != schema.module_name())
      refuse_value("origin \"" + shortened(origin) + "\" is not known; there is \"openconfig\"");
    add(*part);
  }
  check_against_schema();
}

void Pattern::add(const ::gnmi::Path &path) {
  if (path.elem().empty() && path.element_size() > 0)
    refuse_value("the path has nothing in its field elem; the deprecated field element is not read");
  for (const auto &elem : path.elem()) {
    if (steps_.size() == kMostSteps)
      refuse("too-big", "a path has more than " + std::to_string(kMostSteps) + " elements", text_);
    steps_.push_back(step_of(elem));
    const auto &step = steps_.back();
    text_ = named(text_, step);
    if (!step.key_name.empty())
      text_ = with_key(text_, shortened(step.key_name), shortened(step.key.value_or("*")));
  }
}

std::string Pattern::named(const std::string &path, const Step &step) const {
  if (step.kind == Step::Kind::name) return ymap::step(path, schema_.module_name(), shortened(step.name));
  return path + (step.kind == Step::Kind::any ? "/*" : "/...");
}

Pattern::Step Pattern::step_of(const ::gnmi::PathElem &elem) const {
  Step step;
  std::string_view name = elem.name();
  if (name == "*" || name == "...") {
    step.kind = name == "*" ? Step::Kind::any : Step::Kind::deep;
  } else {
    if (const auto colon = name.find(':'); colon != std::string_view::npos) {
      const auto module = name.substr(0, colon);
      if (module != schema_.module_name() && module != schema_.prefix())
        refuse("unknown-namespace",
               "element " + shortened(name) + " is of a module that is not served; there is " +
                   std::string(schema_.module_name()),
               text_);
      name.remove_prefix(colon + 1);
    }
    if (name.empty()) refuse_value("an element of the path has no name", text_);
    step.name = name;
  }
  check_keys(elem, step);
  return step;
}

void Pattern::check_keys(const ::gnmi::PathElem &elem, Step &step) const {
  if (elem.key().empty()) return;
  if (step.kind == Step::Kind::deep || elem.key_size() > 1)
    refuse("bad-element", "element " + shortened(elem.name()) + " has no such keys", text_);
  const auto &[key_name, key] = *elem.key().begin();
  step.key_name = key_name.substr(key_name.find(':') + 1);
  if (!is_key(key))
    refuse_value("the key of element " + shortened(elem.name()) + " is empty or holds a zero byte", text_);
  if (key != "*") step.key = unescaped_key(key);
}

/// Looks for a node that the path can stand for, and tells the first step where there is none.
void Pattern::check_against_schema() const {
  Positions seen = begin();
  const auto visit = [&](const auto &self, const SchemaNode *parent, Positions at) -> void {
    for (const auto &node : schema_.children(parent)) {
      const auto next = after(at, node, nullptr);
      seen |= next;
      if (next != 0 && !node.is_leaf()) self(self, &node, next);
    }
  };
  visit(visit, nullptr, begin());
  if (is_end(seen)) return;
  std::size_t wrong = steps_.size();
  while ((seen >> wrong & 1) == 0) --wrong;
  std::string path;
  for (std::size_t at = 0; at <= wrong; ++at) path = named(path, steps_[at]);
  const auto &step = steps_[wrong];
  const auto name = step.kind == Step::Kind::name ? shortened(step.name) : std::string("*");
  if (!step.key_name.empty())
    refuse("unknown-element",
           "the model has no list " + name + " there with the key " + shortened(step.key_name), path);
  throw unknown_element(path, name);
}

Pattern::Positions Pattern::past_deep(Positions at) const {
  for (std::size_t step = 0; step < steps_.size(); ++step)
    if ((at >> step & 1) != 0 && steps_[step].kind == Step::Kind::deep) at |= Positions{1} << (step + 1);
  return at;
}

Pattern::Positions Pattern::after(Positions at, const SchemaNode &node, const std::string *key) const {
  Positions next = 0;
  for (std::size_t position = 0; position < steps_.size(); ++position) {
    if ((at >> position & 1) == 0) continue;
    const auto &step = steps_[position];
    if (step.kind == Step::Kind::deep) {
      next |= Positions{1} << position;
      continue;
    }
    const bool is_named = step.kind == Step::Kind::any || step.name == node.name;
    const bool has_key = step.key_name.empty() || (node.is_list() && key_leaf(node).name == step.key_name);
    const bool is_entry = !step.key || key == nullptr || *step.key == *key;
    if (is_named && has_key && is_entry) next |= Positions{1} << (position + 1);
  }
  return past_deep(next);
}

void Pattern::select(const Data &data, const std::function<void(const Trail &)> &take) const {
  Trail trail;
  select(data, begin(), trail, take);
}

void Pattern::select(const Data &data, Positions at, Trail &trail,
                     const std::function<void(const Trail &)> &take) const {
  for (const auto &node : data) {
    const auto next = after(at, *node.schema, node.schema->is_list() ? &key_of(node) : nullptr);
    trail.push_back(&node);
    if (is_end(next) || is_end(at))
      take(trail);
    else if (next != 0)
      select(node.children, next, trail, take);
    trail.pop_back();
  }
}

bool Pattern::reaches(const std::function<bool(const SchemaNode &)> &takes) const {
  return reaches(nullptr, begin(), is_end(begin()), takes);
}

bool Pattern::reaches(const SchemaNode *parent, Positions at, bool is_below,
                      const std::function<bool(const SchemaNode &)> &takes) const {
  return std::ranges::any_of(schema_.children(parent), [&](const SchemaNode &node) {
    const auto next = after(at, node, nullptr);
    const bool is_in = is_below || is_end(next);
    if (!is_in && next == 0) return false;
    return (is_in && takes(node)) || (!node.is_leaf() && reaches(&node, next, is_in, takes));
  });
}

std::vector<Pattern::Node> Pattern::node() const {
  std::vector<Node> nodes;
  const SchemaNode *parent = nullptr;
  for (const auto &step : steps_) {
    const auto *node = step.kind == Step::Kind::name ? schema_.child(parent, step.name) : nullptr;
    if (node == nullptr || (node->is_list() && !step.key))
      refuse(node == nullptr ? "invalid-value" : "missing-element",
             node == nullptr ? "wildcards are for reading; an edit names each node"
                             : "list " + step.name + " needs its key " + std::string(key_leaf(*node).name),
             text_);
    nodes.push_back({node, step.key.value_or("")});
    parent = node;
  }
  return nodes;
}

bool Pattern::is_one_node() const {
  const SchemaNode *parent = nullptr;
  return std::ranges::all_of(steps_, [&](const Step &step) {
    parent = step.kind == Step::Kind::name ? schema_.child(parent, step.name) : nullptr;
    return parent != nullptr && (!parent->is_list() || step.key);
  });
}

std::optional<std::string> Pattern::only_entry() const {
  for (const auto &step : steps_) {
    if (step.kind == Step::Kind::deep) return std::nullopt;
    if (step.key) return step.key;
  }
  return std::nullopt;
}

std::string path_of(const Schema &schema, const std::vector<Pattern::Node> &nodes) {
  std::string path;
  for (const auto &[node, key] : nodes) {
    path = step(path, schema.module_name(), node->name);
    if (node->is_list()) path = with_key(path, key_leaf(*node).name, shortened(key));
  }
  return path;
}

bool is_key(std::string_view text) {
  return !text.empty() && text.find('\0') == std::string_view::npos;
}

const std::string &key_of(const DataNode &entry) {
  return entry.children.front().value;
}

std::string key_or_nothing(const DataNode &node) {
  return node.schema->is_list() ? key_of(node) : std::string();
}

void add_elem(::gnmi::Path &path, const SchemaNode &node, const std::string &key) {
  auto *elem = path.add_elem();
  elem->set_name(std::string(node.name));
  if (node.is_list()) (*elem->mutable_key())[std::string(key_leaf(node).name)] = key;
}

}  // namespace ymap::telemetry
