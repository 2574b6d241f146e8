// A walk as indented text.
#include "walk_text.hpp"

#include <algorithm>
#include <string_view>
#include <vector>

#include "native_text.hpp"
#include "operation_words.hpp"
#include "printable.hpp"

namespace ymap {
namespace {

constexpr std::size_t kHandlerColumn = 48;
constexpr std::size_t kLongLine = 110;

std::string joined(const std::vector<std::string> &words, const char *between = ", ") {
  std::string text;
  for (const auto &word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

/// A leaf of a fill that nothing came of.
bool is_quiet(const Step &step) {
  return step.is_leaf && !step.named && step.events.empty() && step.traces.empty();
}

/// A container of which nothing is mapped: no path, no message, only leaves that were turned down.
bool is_barren(const Step &step) {
  return !step.events.empty() && std::ranges::all_of(step.events, [](const Event &event) {
    return event.kind == Event::Kind::child && is_quiet(*event.child);
  });
}

class WalkWriter {
 public:
  WalkWriter(const Walk &walk, const Terminal &terminal)
      : on_(walk.direction == yfw::Observer::Direction::on), terminal_(terminal) {}

  void write(const Step &step, std::size_t depth) {
    const auto *bottom = &step;
    std::vector<std::string> names = {step.name};
    // The long way down to the first list says nothing that its names do not.
    while (!on_ && bottom->events.size() == 1 && bottom->events.front().kind == Event::Kind::child &&
           !bottom->events.front().child->events.empty() && !bottom->events.front().child->is_leaf) {
      bottom = bottom->events.front().child.get();
      names.push_back(bottom->name);
    }
    if (names.size() > 3) {
      names[1] = "...";
      names.erase(names.begin() + 2, names.end() - 2);
    }
    write_head(*bottom, joined(names, "/"), depth);
    write_events(*bottom, depth + 1);
  }

  std::string text;

 private:
  void line(std::size_t depth, const std::string &words) {
    text += std::string(2 * depth, ' ') + printable(words) + "\n";
  }

  void write_head(const Step &step, const std::string &name, std::size_t depth) {
    std::string head = std::string(2 * depth, ' ') + name;
    if (step.value && step.is_leaf) head += " = " + *step.value;
    if (const auto operation = operation_word(step.operation); !operation.empty())
      head.append(", operation ").append(operation);
    std::string handlers = step.handler.empty() ? "no handler" : step.handler;
    if (!step.transforms.empty()) handlers += ", " + joined(step.transforms);
    head = printable(head);
    if (head.size() + 2 > kHandlerColumn && head.size() + handlers.size() > kLongLine)
      head += "\n" + std::string(kHandlerColumn, ' ');
    else
      head.append(head.size() + 2 < kHandlerColumn ? kHandlerColumn - head.size() : 2, ' ');
    text += head + terminal_.dim(handlers) + "\n";
  }

  void write_events(const Step &step, std::size_t depth) {
    std::vector<std::string> generic, nothing, barren;
    for (const auto &event : step.events) {
      if (event.kind != Event::Kind::child)
        write_event(event, depth);
      else if (on_ && is_quiet(*event.child))
        (event.child->generic ? generic : nothing).push_back(event.child->name);
      else if (on_ && is_barren(*event.child))
        barren.push_back(event.child->name);
      else
        write(*event.child, depth);
    }
    if (!generic.empty()) line(depth, "no mapping (generic leaf handler): " + joined(generic));
    if (!nothing.empty()) line(depth, "handler adds nothing: " + joined(nothing));
    if (!barren.empty()) line(depth, "no leaf adds anything: " + joined(barren));
    if (step.is_leaf && !step.adds()) {
      for (const auto &trace : step.traces) line(depth, "\"" + trace + "\"");
      line(depth, step.generic ? "no mapping, adds nothing" : "adds nothing");
    }
  }

  void write_event(const Event &event, std::size_t depth) {
    switch (event.kind) {
      case Event::Kind::added:
        write_added(event.added, depth);
        break;
      case Event::Kind::selected:
        line(depth, "selects " + event.text);
        break;
      case Event::Kind::dropped:
        line(depth, "drops " + event.text);
        break;
      case Event::Kind::error:
        line(depth, "error: " + event.text);
        break;
      case Event::Kind::pass:
        line(depth, "second pass, with the children of the request");
        break;
      case Event::Kind::child:
        break;
    }
  }

  void write_added(const AddedPath &added, std::size_t depth) {
    std::string words = "adds " + shortened(added.path);
    if (added.value && !added.value->empty()) words += " = " + *added.value;
    if (const auto operation = operation_word(added.operation); !operation.empty())
      words.append(", operation ").append(operation);
    if (!added.kept.empty()) words += "; the first value stays: " + added.kept;
    if (added.status != YMAP_OK) words += "; refused by the framework";
    if (!added.module.empty()) words += "  (" + added.module + ")";
    line(depth, words);
  }

  bool on_;
  const Terminal &terminal_;
};

const Step *last_leaf(const Step &step, std::string &path) {
  path += "/" + step.name;
  if (step.is_leaf) return &step;
  for (auto at = step.events.rbegin(); at != step.events.rend(); ++at) {
    if (at->kind != Event::Kind::child) continue;
    return last_leaf(*at->child, path);
  }
  return nullptr;
}

}  // namespace

std::string walk_text(const Walk &walk, std::size_t depth, const Terminal &terminal) {
  WalkWriter writer(walk, terminal);
  for (const auto &top : walk.tops) writer.write(*top, depth);
  return writer.text;
}

std::string turned_down(const Walk &walk) {
  std::string path;
  const auto *leaf = walk.tops.empty() ? nullptr : last_leaf(*walk.tops.back(), path);
  if (leaf == nullptr || !leaf->named || leaf->adds()) return {};
  return path + " (" + leaf->handler + (leaf->generic ? ": no mapping" : "") + ")";
}

}  // namespace ymap
