// Rules, filtered and without what is not for the user.
#include "rules_answer.hpp"

#include <string_view>
#include <utility>

#include "native_filter.hpp"
#include "native_parser.hpp"
#include "xpath.hpp"

namespace ymap {
namespace {

using device::PlainNode;

/// Paths are XPaths in XML.
class RulesWriter : public XmlAnswer {
 public:
  void leaf(const char *name, const char *ns, const char *value) override {
    if (std::string_view(name) != "path") return XmlAnswer::leaf(name, ns, value);
    const auto [text, declared] = xpath_of(value);
    write_leaf(name, text, declared);
  }
};

/// In the order of the module they stand behind the switches.
void add(const DeniedCounts &denied, std::vector<PlainNode> &rules) {
  auto place = rules.begin();
  const auto is_switch = [](std::string_view name) {
    return name.starts_with("enable-") || name.ends_with("-default");
  };
  while (place != rules.end() && is_switch(place->name)) ++place;
  rules.insert(place, {PlainNode{"denied-operations", std::to_string(denied.operations), true},
                       PlainNode{"denied-data-writes", std::to_string(denied.data_writes), true},
                       PlainNode{"denied-notifications", std::to_string(denied.notifications), true}});
}

}  // namespace

std::string rules_answer(std::vector<PlainNode> rules, const Rights &rights,
                         const std::optional<DeniedCounts> &denied,
                         const std::vector<device::RequestNode> *filter) {
  if (denied) add(*denied, rules);
  if (!rights.are_unlimited()) prune(rights, rules);
  if (rules.empty()) return {};
  PlainNode top = {kAccessTop};
  top.children = std::move(rules);
  device::RequestNode everything;
  everything.name = kAccessTop;
  RulesWriter writer;
  device::ReadCount count;
  device::give_selected(device::plain_filter(filter == nullptr ? std::vector{everything} : *filter), {top},
                        kAccessNs, writer, count);
  return writer.take();
}

}  // namespace ymap
