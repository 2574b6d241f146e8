// Rules and verdicts as tables.
#include "access_text.hpp"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <utility>
#include <vector>

#include "printable.hpp"
#include "rpc_error.hpp"
#include "rpc_parameters.hpp"
#include "xpath.hpp"

namespace ymap {
namespace {

template <typename Texts>
std::string joined(const Texts &texts) {
  std::string all;
  for (const auto &text : texts) all.append(all.empty() ? "" : ", ").append(text);
  return all.empty() ? "-" : all;
}

const char *word_for(bool permits) {
  return permits ? "permit" : "deny";
}

/// Who may do all.
std::string recovery_text(const std::filesystem::path &folder) {
  struct stat status {};
  if (::stat(folder.c_str(), &status) != 0 || status.st_uid == 0) return "root";
  const passwd *entry = getpwuid(status.st_uid);
  return "root, and " + (entry == nullptr ? std::to_string(status.st_uid) : entry->pw_name) + " who owns " +
         folder.string() + ",";
}

/// Of a Unix group; those whose primary group it is are not listed there.
std::vector<std::string> members_of(const std::string &name) {
  std::vector<std::string> members;
  const group *entry = getgrnam(name.c_str());
  if (entry == nullptr) return members;
  for (char **member = entry->gr_mem; *member != nullptr; ++member) members.emplace_back(*member);
  return members;
}

std::string accesses_text(const AccessRule &rule) {
  std::vector<std::string_view> words;
  for (unsigned at = 0; at < std::size(kAccessWords); ++at)
    if ((rule.accesses >> at & 1U) != 0) words.push_back(kAccessWords[at]);
  return words.size() == std::size(kAccessWords) ? "*" : joined(words);
}

std::string subject_of(const AccessRule &rule) {
  std::string text = rule.module == "*" ? std::string() : "module " + std::string(rule.module);
  const auto add = [&](std::string_view kind, std::string_view what) {
    text.append(text.empty() ? "" : ", ").append(kind).append(what);
  };
  switch (rule.kind) {
    case AccessRule::Kind::any:
      break;
    case AccessRule::Kind::operation:
      add("operation ", rule.target);
      break;
    case AccessRule::Kind::notification:
      add("notification ", rule.target);
      break;
    case AccessRule::Kind::data:
      add("", rule.path_text);
      break;
  }
  return text.empty() ? "everything" : text;
}

std::shared_ptr<const NativeDevice::Rules> rules_of(NativeDevice &device) {
  if (device.near() == nullptr)
    throw RpcError({.tag = "operation-not-supported",
                    .message = "a device elsewhere judges by its own rules; none are kept here"});
  return device.access_rules();
}

/// What `who` may read of them.
AccessRules readable_rules(Session &session, const Requester &who) {
  auto readable = *rules_of(session.device());
  const auto &rights = session.guard().rights(who);
  if (!rights.are_unlimited()) {
    if (!rights.can_read({{kAccessModule, kAccessTop}}))
      throw RpcError(
          {.tag = "access-denied", .message = "user " + who.user() + " may not read the access rules"});
    prune(rights, readable);
  }
  return AccessRules(std::move(readable));
}

std::string reason_of(const Verdict &verdict, const std::string &by_default) {
  switch (verdict.reason) {
    case Verdict::Reason::recovery:
      return "root and the owner of the device may do all";
    case Verdict::Reason::disabled:
      return "the rules are switched off (enable-nacm false)";
    case Verdict::Reason::rule:
      return "rule " + std::string(verdict.rule->name) + " of list " + std::string(verdict.list->name);
    case Verdict::Reason::sensitive:
      return "no rule, and only one can permit this";
    case Verdict::Reason::by_default:
      return "no rule: " + by_default;
  }
  return {};
}

std::string groups_text(const AccessRules &rules, const Terminal &terminal) {
  std::vector<Terminal::Row> rows = {{"Group", "Users by the rules", "Users by the system"}};
  const auto add = [&](std::string_view name, const std::vector<std::string_view> &users) {
    const auto is_name = [&](const Terminal::Row &row) { return row.front() == name; };
    if (name == "*" || std::ranges::any_of(rows, is_name)) return;
    rows.push_back({std::string(name), joined(users),
                    rules.takes_external_groups ? joined(members_of(std::string(name))) : "(not asked)"});
  };
  for (const auto &group : rules.groups) add(group.name, group.users);
  for (const auto &list : rules.lists)
    for (const auto &group : list.groups) add(group, {});
  return rows.size() == 1 ? std::string() : "\n" + terminal.columns(rows);
}

}  // namespace

std::string rules_text(Session &session, const Requester &who, const Terminal &terminal) {
  const auto rules = readable_rules(session, who);
  std::string text = rules.is_enabled
                         ? "Access rules are in force.\n"
                         : "Access rules are switched off: everybody may do all (enable-nacm false).\n";
  text +=
      recovery_text(session.device().folder()) + " may do all whatever the rules say (recovery session).\n";
  std::vector<Terminal::Row> rows = {{"List", "Groups", "Rule", "About", "Operations", "Action"}};
  for (const auto &list : rules.lists)
    for (const auto &rule : list.rules)
      rows.push_back({std::string(list.name), joined(list.groups), std::string(rule.name), subject_of(rule),
                      accesses_text(rule), word_for(rule.permits)});
  const auto add_default = [&](const char *operations, bool permits) {
    rows.push_back({"-", "*", "(no rule)", "everything else", operations, word_for(permits)});
  };
  add_default("read", rules.permits_reads);
  add_default("create, update, delete", rules.permits_writes);
  add_default("exec", rules.permits_operations);
  text += "The first rule that matches decides:\n\n" + terminal.columns(rows) + groups_text(rules, terminal);
  const auto denied = session.guard().denied();
  text += "\nDenied so far: " + std::to_string(denied.operations) + " operations, " +
          std::to_string(denied.data_writes) + " edits, " + std::to_string(denied.notifications) +
          " notifications\n";
  return printable(text);
}

namespace {

/// Those that are not of the base protocol.
std::string_view module_of_operation(std::string_view name) {
  const auto ns = name == "get-schema"            ? kMonitoringNs
                  : name == "create-subscription" ? kNotificationNs
                                                  : kNetconfNs;
  return module_of_namespace(ns);
}

}  // namespace

std::string verdicts_text(Session &session, const Requester &who, const std::string &user,
                          const std::string &path, const Terminal &terminal) {
  // Whoever asks of himself learns what he could try.
  const AccessRules rules(user == who.user() ? *rules_of(session.device())
                                             : readable_rules(session, who).data);
  const auto subject = Requester::of_user(user, "command line");
  if (!subject.uid()) std::cerr << "ymap: warning: the system knows no user " << printable(user) << "\n";
  const auto rights = session.guard().rights(subject);
  std::vector<Terminal::Row> rows = {{"Operation", "Action", "By"}};
  const auto add = [&](std::string_view operation, const Verdict &verdict, const std::string &by_default) {
    rows.push_back({std::string(operation), word_for(verdict.permits), reason_of(verdict, by_default)});
  };
  if (path.starts_with("netconf-")) {
    add("receive", rights.receive(kEventModule.name, path),
        std::string("read-default is ") + word_for(rules.permits_reads));
  } else if (!path.starts_with('/')) {
    add("exec", rights.run(module_of_operation(path), path),
        std::string("exec-default is ") + word_for(rules.permits_operations));
  } else {
    // As people write it: without the model's name.
    auto steps = parse_path(path);
    for (auto &step : steps)
      if (step.module.empty()) step.module = session.schema().module_name();
    if (steps.empty() || steps.back().name.empty())
      throw UsageError("\"" + path + "\" is no path; write /optical-amplifier/amplifiers/...");
    DataPath above;
    for (const auto &step : steps) {
      above.push_back(step);
      const auto verdict = rights.access(Access::read, above);
      if (verdict.permits && above.size() < steps.size()) continue;
      const auto where = above.size() < steps.size() ? ", for " + std::string(step.name) : std::string();
      rows.push_back(
          {"read", word_for(verdict.permits),
           reason_of(verdict, std::string("read-default is ") + word_for(rules.permits_reads)) + where});
      break;
    }
    for (const auto access : {Access::create, Access::update, Access::remove})
      add(ymap::word_for(access), rights.access(access, steps),
          std::string("write-default is ") + word_for(rules.permits_writes));
  }
  const auto &groups = rights.are_unlimited() ? subject.groups() : rights.groups();
  return printable("User " + user + " is in the groups " + joined(groups) + ".\n\n" + terminal.columns(rows));
}

}  // namespace ymap
