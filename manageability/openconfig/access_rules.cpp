// Rules from configuration, and verdicts by them.
#include "access_rules.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <iterator>
#include <utility>

#include "compiled_schema.hpp"
#include "plugin.hpp"

namespace ymap {
namespace {

using device::PlainNode;

constexpr std::string_view kAny = "*";
constexpr uint8_t kEveryAccess = 0x1f;

bool matches_name(std::string_view pattern, std::string_view name) {
  return pattern == kAny || pattern == name;
}

uint8_t access_bits(std::string_view words) {
  if (words == kAny) return kEveryAccess;
  uint8_t bits = 0;
  while (!words.empty()) {
    const auto word = words.substr(0, words.find(' '));
    words.remove_prefix(std::min(words.size(), word.size() + 1));
    const auto *row = std::ranges::find(kAccessWords, word);
    if (row != std::end(kAccessWords)) bits |= static_cast<uint8_t>(1U << (row - std::begin(kAccessWords)));
  }
  return bits;
}

AccessRule rule_of(const PlainNode &node) {
  AccessRule rule;
  rule.accesses = kEveryAccess;
  for (const auto &leaf : node.children) {
    const std::string_view name = leaf.name;
    const std::string_view value = leaf.value;
    const auto about = [&](AccessRule::Kind kind) {
      rule.kind = kind;
      rule.target = value;
    };
    if (name == "name") rule.name = value;
    if (name == "comment") rule.comment = value;
    if (name == "module-name") rule.module = value;
    if (name == "rpc-name") about(AccessRule::Kind::operation);
    if (name == "notification-name") about(AccessRule::Kind::notification);
    if (name == "access-operations") rule.accesses = access_bits(value);
    if (name == "action") rule.permits = value == "permit";
    if (name == "path") {
      rule.kind = AccessRule::Kind::data;
      rule.path_text = value;
      rule.path = parse_path(value);
    }
  }
  return rule;
}

AccessRuleList list_of(const PlainNode &node) {
  AccessRuleList list;
  for (const auto &child : node.children) {
    const std::string_view name = child.name;
    if (name == "name") list.name = child.value;
    if (name == "group") list.groups.emplace_back(child.value);
    if (name == "rule") list.rules.push_back(rule_of(child));
  }
  return list;
}

AccessRules::Group group_of(const PlainNode &node) {
  AccessRules::Group group;
  for (const auto &child : node.children) {
    const std::string_view name = child.name;
    if (name == "name") group.name = child.value;
    if (name == "user-name") group.users.emplace_back(child.value);
  }
  return group;
}

PlainNode leaf(const char *name, std::string value, bool is_key = false) {
  return {name, std::move(value), true, is_key};
}

PlainNode rule(const char *name, std::vector<PlainNode> leaves) {
  PlainNode made = {"rule"};
  made.children = {leaf("name", name, true)};
  std::ranges::move(leaves, std::back_inserter(made.children));
  made.children.push_back(leaf("action", "permit"));
  return made;
}

/// RFC 6241 leaves them to whom a rule names, whatever the default is.
bool is_sensitive(std::string_view module, std::string_view operation) {
  return module == "ietf-netconf" && (operation == "kill-session" || operation == "delete-config");
}

}  // namespace

std::string_view word_for(Access access) {
  return kAccessWords[std::countr_zero(static_cast<uint8_t>(access))];
}

AccessRules::AccessRules(std::vector<PlainNode> nacm) : data(std::move(nacm)) {
  struct Switch {
    std::string_view name, on;
    bool AccessRules::*value;
  };
  static constexpr std::array<Switch, 5> switches = {{
      {"enable-nacm", "true", &AccessRules::is_enabled},
      {"read-default", "permit", &AccessRules::permits_reads},
      {"write-default", "permit", &AccessRules::permits_writes},
      {"exec-default", "permit", &AccessRules::permits_operations},
      {"enable-external-groups", "true", &AccessRules::takes_external_groups},
  }};
  for (const auto &node : data) {
    const std::string_view name = node.name;
    const auto *row = std::ranges::find(switches, name, &Switch::name);
    if (row != switches.end()) this->*row->value = node.value == row->on;
    if (name == "rule-list") lists.push_back(list_of(node));
    if (name != "groups") continue;
    for (const auto &group : node.children) groups.push_back(group_of(group));
  }
}

std::vector<PlainNode> factory_access() {
  const auto list = [](const char *name, const char *group, PlainNode only) {
    PlainNode made = {"rule-list"};
    made.children = {leaf("name", name, true), leaf("group", group), std::move(only)};
    return made;
  };
  return {list("administrators", "ymap-admin", rule("everything", {leaf("access-operations", "*")})),
          list("operators", "ymap-operator",
               rule("amplifiers",
                    {leaf("module-name", "openconfig-optical-amplifier"), leaf("access-operations", "*")}))};
}

device::Guest access_guest() {
  return {std::string(kAccessModule),
          kAccessNs,
          kAccessTop,
          {yfw::optical_amplifier().openconfig_module, "ietf-netconf", "ietf-netconf-monitoring"},
          {ietf_models()},
          factory_access()};
}

Rights::Rights(std::shared_ptr<const AccessRules> rules, const Requester &requester)
    : rules_(std::move(rules)) {
  if (are_unlimited()) return;
  for (const auto &group : rules_->groups)
    if (std::ranges::find(group.users, requester.user()) != group.users.end())
      groups_.emplace_back(group.name);
  if (rules_->takes_external_groups)
    for (const auto &group : requester.groups())
      if (std::ranges::find(groups_, group) == groups_.end()) groups_.push_back(group);
  // Whoever is in no group has the defaults, also where a list is for any group.
  if (groups_.empty()) return;
  for (const auto &list : rules_->lists) {
    const bool applies = std::ranges::any_of(list.groups, [&](std::string_view group) {
      return group == kAny || std::ranges::find(groups_, group) != groups_.end();
    });
    if (!applies) continue;
    for (const auto &one : list.rules) candidates_.push_back({&list, &one});
  }
}

template <typename Matches>
Verdict Rights::judge(bool is_sensitive, bool by_default, const Matches &matches) const {
  if (rules_ == nullptr) return {};
  if (!rules_->is_enabled) return {true, Verdict::Reason::disabled};
  for (const auto &[list, rule] : candidates_)
    if (matches(*rule)) return {rule->permits, Verdict::Reason::rule, list, rule};
  if (is_sensitive) return {false, Verdict::Reason::sensitive};
  return {by_default, Verdict::Reason::by_default};
}

Verdict Rights::run(std::string_view module, std::string_view operation) const {
  return judge(is_sensitive(module, operation), rules_ == nullptr || rules_->permits_operations,
               [&](const AccessRule &rule) {
                 return rule.concerns(Access::exec) && matches_name(rule.module, module) &&
                        (rule.kind == AccessRule::Kind::any ||
                         (rule.kind == AccessRule::Kind::operation && matches_name(rule.target, operation)));
               });
}

Verdict Rights::access(Access access, const DataPath &path) const {
  const auto &node = path.back();
  const bool reads = access == Access::read;
  return judge(path.front().module == kAccessModule,
               rules_ == nullptr || (reads ? rules_->permits_reads : rules_->permits_writes),
               [&](const AccessRule &rule) {
                 return rule.concerns(access) && matches_name(rule.module, node.module) &&
                        (rule.kind == AccessRule::Kind::any ||
                         (rule.kind == AccessRule::Kind::data && covers(rule.path, path)));
               });
}

bool Rights::can_read_all_of(std::string_view module) const {
  if (are_unlimited()) return true;
  return rules_->permits_reads && module != kAccessModule &&
         std::ranges::none_of(candidates_, [&](const Candidate &one) {
           return !one.rule->permits && one.rule->concerns(Access::read) &&
                  (one.rule->kind == AccessRule::Kind::any || one.rule->kind == AccessRule::Kind::data) &&
                  matches_name(one.rule->module, module);
         });
}

Verdict Rights::receive(std::string_view module, std::string_view notification) const {
  return judge(false, rules_ == nullptr || rules_->permits_reads, [&](const AccessRule &rule) {
    return rule.concerns(Access::read) && matches_name(rule.module, module) &&
           (rule.kind == AccessRule::Kind::any ||
            (rule.kind == AccessRule::Kind::notification && matches_name(rule.target, notification)));
  });
}

}  // namespace ymap
