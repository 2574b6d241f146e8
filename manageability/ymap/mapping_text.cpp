// The mapping as tables.
#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <utility>

#include "mapping.hpp"
#include "native_text.hpp"

namespace ymap {
namespace {

constexpr std::size_t kLongestCell = 40;

std::string joined(const std::vector<std::string> &words) {
  std::string text;
  for (const auto &word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

std::string native_path(const MappedLeaf &leaf, const std::string &amplifier) {
  for (const auto &native : leaf.natives)
    if (std::ranges::find(native.amplifiers, amplifier) != native.amplifiers.end()) return native.path;
  return {};
}

const char *direction(const MappedLeaf &leaf) {
  if (leaf.key) return "key";
  if (leaf.read && leaf.write) return "read, write";
  if (leaf.write) return leaf.fill ? "write, fill" : "write";
  return leaf.read ? "read" : "fill";
}

std::string conversion_text(const MappedLeaf &leaf) {
  const auto &conversion = leaf.conversion;
  std::vector<std::string> parts;
  switch (conversion.kind) {
    case Conversion::Kind::copy:
      parts.emplace_back("as it is");
      break;
    case Conversion::Kind::constant:
      parts.push_back("always " + conversion.constant + (leaf.units.empty() ? "" : " " + leaf.units));
      break;
    case Conversion::Kind::factor:
      parts.push_back((leaf.units.empty() ? "" : leaf.units + " ") + "x " + plain_number(conversion.factor) +
                      (conversion.cut ? " cut to an integer" : ""));
      break;
    case Conversion::Kind::words:
      for (const auto &pair : conversion.pairs)
        parts.push_back((pair.openconfig.empty() ? "none" : pair.openconfig) + " = " + pair.native);
      if (!conversion.otherwise.empty()) parts.push_back(conversion.otherwise + " = any other");
      break;
    case Conversion::Kind::unknown:
      break;
  }
  if (leaf.range) parts.push_back(leaf.range->lowest + " to " + leaf.range->highest + " " + leaf.units);
  if (!leaf.unmapped_words.empty()) parts.push_back("no native value for " + joined(leaf.unmapped_words));
  return joined(parts);
}

/// Amplifiers whose native leaves are the same everywhere share a column.
std::vector<std::vector<std::string>> columns(const Mapping &mapping) {
  std::vector<std::vector<std::string>> groups;
  for (const auto &amplifier : mapping.amplifiers) {
    const auto alike = [&](const std::vector<std::string> &group) {
      return std::ranges::all_of(mapping.mapped, [&](const MappedLeaf &leaf) {
        return native_path(leaf, amplifier) == native_path(leaf, group.front());
      });
    };
    const auto group = std::ranges::find_if(groups, alike);
    if (group == groups.end())
      groups.push_back({amplifier});
    else
      group->push_back(amplifier);
  }
  return groups;
}

/// The part of the path that all native leaves of a module have in common, up to a slash.
std::string common_path(const std::vector<const MappedLeaf *> &leaves) {
  std::string common = leaves.front()->natives.front().path;
  for (const auto *leaf : leaves) {
    for (const auto &native : leaf->natives) {
      const auto apart = std::ranges::mismatch(common, native.path).in1;
      common.erase(apart, common.end());
    }
  }
  return common.substr(0, common.rfind('/') + 1);
}

/// The last two steps of a long path.
std::string tail(const std::string &path) {
  if (path.size() <= kLongestCell) return path;
  const auto last = path.rfind('/', path.rfind('/') - 1);
  return last == std::string::npos ? path : "..." + path.substr(last);
}

class TableWriter {
 public:
  TableWriter(const Mapping &mapping, const Terminal &terminal)
      : mapping_(mapping), terminal_(terminal), columns_(columns(mapping)) {}

  std::string write() {
    std::map<std::string, std::vector<const MappedLeaf *>> modules;
    std::vector<std::string> order;
    for (const auto &leaf : mapping_.mapped) {
      const auto &module = leaf.natives.front().module;
      if (!modules.contains(module)) order.push_back(module);
      modules[module].push_back(&leaf);
    }
    text_ =
        "key: selects the native entries. read: a read of the leaf asks for the native one. write: an edit\n"
        "sets it. fill: its answer fills the leaf too, when the read of another leaf brings it.\n"
        "Values stand as OpenConfig = native; \"dB x 10\" makes a native 155 of 15.5 dB.\n";
    std::ranges::stable_sort(order, std::greater<>{}, [&](const std::string &module) {
      return std::ranges::any_of(modules[module], &MappedLeaf::write);
    });
    for (const auto &module : order) write_module(module, modules[module]);
    write_unmapped();
    return std::move(text_);
  }

 private:
  using Row = Terminal::Row;

  void write_module(const std::string &module, const std::vector<const MappedLeaf *> &leaves) {
    const auto common = common_path(leaves);
    text_ += "\n" + terminal_.bold(module) + "\n" +
             terminal_.dim(shortened(common.substr(0, common.size() - 1)) + "/") + "\n";
    Row heading = {"OpenConfig"};
    for (const auto &group : columns_) heading.push_back(joined(group));
    heading.insert(heading.end(), {"direction", "conversion, range"});
    std::vector<Row> rows = {heading};
    for (const auto *leaf : leaves) {
      Row row = {leaf->leaf};
      for (const auto &group : columns_) {
        const auto path = native_path(*leaf, group.front());
        row.push_back(path.empty() ? "-" : tail(path.substr(common.size())));
      }
      row.insert(row.end(), {direction(*leaf), conversion_text(*leaf)});
      rows.push_back(std::move(row));
    }
    text_ += terminal_.columns(rows);
  }

  void write_unmapped() {
    text_ +=
        "\n" + terminal_.bold("Not mapped: " + counted(mapping_.unmapped.size(), "leaf", "leaves")) + "\n";
    std::vector<std::string> reasons;
    for (const auto &leaf : mapping_.unmapped)
      if (std::ranges::find(reasons, reason(leaf)) == reasons.end()) reasons.push_back(reason(leaf));
    for (const auto &why : reasons) {
      text_ += "  " + why + "\n";
      write_containers(why);
    }
  }

  static std::string reason(const UnmappedLeaf &leaf) {
    std::string text = "adds no native path";
    if (!leaf.handler.empty())
      text = leaf.generic ? "the generic leaf handler turns it down" : "its own handler turns it down";
    return text + (leaf.refusal.empty() ? "" : "; an edit: \"" + leaf.refusal + "\"");
  }

  /// Containers beside each other with the same leaves share a line.
  void write_containers(const std::string &why) {
    std::vector<std::pair<std::string, Row>> containers;
    for (const auto &leaf : mapping_.unmapped) {
      if (reason(leaf) != why) continue;
      const auto slash = leaf.path.rfind('/');
      const auto container = leaf.path.substr(1, slash - 1);
      if (containers.empty() || containers.back().first != container) containers.push_back({container, {}});
      containers.back().second.push_back(leaf.path.substr(slash + 1));
    }
    for (std::size_t at = 0; at < containers.size();) {
      const auto &[path, leaves] = containers[at];
      const auto parent = path.substr(0, path.rfind('/') + 1);
      Row names;
      for (; at < containers.size() && containers[at].second == leaves; ++at) {
        const auto &other = containers[at].first;
        if (other.substr(0, other.rfind('/') + 1) != parent) break;
        names.push_back(other.substr(parent.size()));
      }
      text_ += "    " + parent + (names.size() == 1 ? names.front() : "{" + joined(names) + "}") + ": " +
               joined(leaves) + "\n";
    }
  }

  const Mapping &mapping_;
  const Terminal &terminal_;
  std::vector<std::vector<std::string>> columns_;
  std::string text_;
};

}  // namespace

std::string mapping_text(const Mapping &mapping, const Terminal &terminal) {
  return TableWriter(mapping, terminal).write();
}

}  // namespace ymap
