// Verdicts by rules, those of RFC 8341, appendix A, among them.
#include "access_rules.hpp"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace ymap {
namespace {

using device::PlainNode;
using Nodes = std::vector<PlainNode>;

PlainNode leaf(const char *name, std::string value) {
  return {name, std::move(value), true};
}

PlainNode inner(const char *name, Nodes children) {
  PlainNode node = {name};
  node.children = std::move(children);
  return node;
}

PlainNode group(const char *name, const std::vector<std::string> &users) {
  auto node = inner("group", {leaf("name", name)});
  for (const auto &user : users) node.children.push_back(leaf("user-name", user));
  return node;
}

PlainNode list(const char *name, const std::vector<std::string> &groups, Nodes rules) {
  auto node = inner("rule-list", {leaf("name", name)});
  for (const auto &one : groups) node.children.push_back(leaf("group", one));
  node.children.insert(node.children.end(), rules.begin(), rules.end());
  return node;
}

PlainNode rule(const char *name, const char *action, Nodes leaves) {
  leaves.insert(leaves.begin(), leaf("name", name));
  leaves.push_back(leaf("action", action));
  return inner("rule", std::move(leaves));
}

PlainNode groups() {
  return inner("groups", {group("admin", {"admin", "andy"}), group("limited", {"wilma", "bam-bam"}),
                          group("guest", {"guest", "guest@example.com"})});
}

Nodes modules() {
  const auto monitoring = leaf("module-name", "ietf-netconf-monitoring");
  return {
      groups(),
      list("guest-acl", {"guest"}, {rule("deny-ncm", "deny", {monitoring, leaf("access-operations", "*")})}),
      list("limited-acl", {"limited"},
           {rule("permit-ncm", "permit", {monitoring, leaf("access-operations", "read")}),
            rule("permit-exec", "permit", {leaf("module-name", "*"), leaf("access-operations", "exec")})}),
      list("admin-acl", {"admin"},
           {rule("permit-all", "permit", {leaf("module-name", "*"), leaf("access-operations", "*")})})};
}

Nodes operations() {
  const auto of = [](const char *name) {
    return Nodes{leaf("module-name", "ietf-netconf"), leaf("rpc-name", name),
                 leaf("access-operations", "exec")};
  };
  return {groups(),
          list("guest-limited-acl", {"limited", "guest"},
               {rule("deny-kill-session", "deny", of("kill-session")),
                rule("deny-delete-config", "deny", of("delete-config"))}),
          list("limited-acl", {"limited"}, {rule("permit-edit-config", "permit", of("edit-config"))})};
}

Nodes data() {
  const auto of = [](const char *path, const char *accesses) {
    return Nodes{leaf("path", path), leaf("access-operations", accesses)};
  };
  return {groups(),
          list("guest-acl", {"guest"}, {rule("deny-nacm", "deny", of("/ietf-netconf-acm:nacm", "*"))}),
          list("limited-acl", {"limited"},
               {rule("permit-acme-config", "permit", of("/acme:acme-netconf", "read create update delete"))}),
          list("guest-limited-acl", {"guest", "limited"},
               {rule("permit-dummy-interface", "permit",
                     of("/acme:interfaces/interface[name='dummy']", "read update"))}),
          list("admin-acl", {"admin"},
               {rule("permit-interface", "permit", of("/acme:interfaces/interface", "*"))})};
}

Nodes notifications() {
  return {groups(),
          list("sys-acl", {"*"},
               {rule("deny-config-change", "deny",
                     {leaf("module-name", "acme-system"), leaf("notification-name", "sys-config-change"),
                      leaf("access-operations", "read")})})};
}

class AccessTest : public testing::Test {
 protected:
  Rights rights(Nodes rules, const std::string &user) {
    return {std::make_shared<const AccessRules>(std::move(rules)), Requester::of_user(user, "test")};
  }

  /// "permit", and the rule that says so.
  static std::string shown(const Verdict &verdict) {
    return std::string(verdict.permits ? "permit" : "deny") +
           (verdict.rule == nullptr ? "" : " " + std::string(verdict.rule->name));
  }
};

struct Case {
  const char *user;
  Access access;
  std::string subject;  ///< a path, or "module:operation"
  const char *verdict;
};

TEST_F(AccessTest, RulesOfModules) {
  const std::string state = "/ietf-netconf-monitoring:netconf-state";
  const std::vector<Case> cases = {
      {"guest", Access::read, state, "deny deny-ncm"},
      {"guest", Access::read, state + "/sessions", "deny deny-ncm"},
      {"guest", Access::read, "/acme:interfaces", "permit"},
      {"guest", Access::exec, "ietf-netconf-monitoring:get-schema", "deny deny-ncm"},
      {"guest", Access::exec, "ietf-netconf:get", "permit"},
      {"wilma", Access::read, state, "permit permit-ncm"},
      {"wilma", Access::update, state, "deny"},
      {"wilma", Access::exec, "ietf-netconf:kill-session", "permit permit-exec"},
      {"andy", Access::remove, "/ietf-netconf-acm:nacm/groups", "permit permit-all"},
      {"andy", Access::exec, "ietf-netconf:delete-config", "permit permit-all"},
      {"nobody-there", Access::exec, "ietf-netconf:kill-session", "deny"},
      {"nobody-there", Access::read, "/ietf-netconf-acm:nacm", "deny"},
      {"nobody-there", Access::create, "/acme:interfaces", "deny"},
  };
  for (const auto &[user, access, subject, verdict] : cases) {
    const auto its = rights(modules(), user);
    const auto colon = subject.find(':');
    EXPECT_EQ(shown(access == Access::exec ? its.run(subject.substr(0, colon), subject.substr(colon + 1))
                                           : its.access(access, parse_path(subject))),
              verdict)
        << user << " " << word_for(access) << " " << subject;
  }
}

TEST_F(AccessTest, RulesOfOperations) {
  for (const auto &[user, operation, verdict] :
       std::vector<std::array<const char *, 3>>{{"bam-bam", "kill-session", "deny deny-kill-session"},
                                                {"guest", "delete-config", "deny deny-delete-config"},
                                                {"wilma", "edit-config", "permit permit-edit-config"},
                                                {"guest", "edit-config", "permit"},
                                                {"andy", "kill-session", "deny"}})
    EXPECT_EQ(shown(rights(operations(), user).run("ietf-netconf", operation)), verdict) << user << operation;
}

TEST_F(AccessTest, RulesOfData) {
  const std::string dummy = "/acme:interfaces/interface[name='dummy']";
  const std::string other = "/acme:interfaces/interface[name='eth0']/mtu";
  const std::vector<Case> cases = {
      {"guest", Access::read, "/ietf-netconf-acm:nacm/rule-list[name='x']", "deny deny-nacm"},
      {"wilma", Access::create, "/acme:acme-netconf/limit", "permit permit-acme-config"},
      {"wilma", Access::create, "/acme:acme-netconf-too", "deny"},
      {"wilma", Access::create, "/other:acme-netconf", "deny"},
      {"guest", Access::update, dummy + "/mtu", "permit permit-dummy-interface"},
      {"guest", Access::create, dummy + "/mtu", "deny"},
      {"guest", Access::update, other, "deny"},
      {"guest", Access::update, "/acme:interfaces", "deny"},
      {"admin", Access::remove, other, "permit permit-interface"},
      {"admin", Access::remove, "/acme:interfaces", "deny"},
  };
  for (const auto &[user, access, subject, verdict] : cases)
    EXPECT_EQ(shown(rights(data(), user).access(access, parse_path(subject))), verdict)
        << user << " " << word_for(access) << " " << subject;
}

TEST_F(AccessTest, RulesOfNotifications) {
  const auto its = rights(notifications(), "guest");
  EXPECT_EQ(shown(its.receive("acme-system", "sys-config-change")), "deny deny-config-change");
  EXPECT_EQ(shown(its.receive("acme-system", "sys-startup")), "permit");
  // A list for all groups is for nobody who is in none.
  EXPECT_EQ(shown(rights(notifications(), "nobody-there").receive("acme-system", "sys-config-change")),
            "permit");
}

TEST_F(AccessTest, Switches) {
  const auto off = rights({leaf("enable-nacm", "false"), leaf("read-default", "deny")}, "guest");
  EXPECT_TRUE(off.are_unlimited());
  EXPECT_EQ(shown(off.access(Access::remove, parse_path("/ietf-netconf-acm:nacm"))), "permit");
  const auto turned = rights(
      {leaf("read-default", "deny"), leaf("write-default", "permit"), leaf("exec-default", "deny")}, "guest");
  EXPECT_EQ(shown(turned.access(Access::read, parse_path("/acme:interfaces"))), "deny");
  EXPECT_EQ(shown(turned.access(Access::create, parse_path("/acme:interfaces"))), "permit");
  EXPECT_EQ(shown(turned.run("ietf-netconf", "get")), "deny");
  EXPECT_FALSE(turned.can_read_all_of("acme"));
  // Groups of the system count unless the rules say otherwise: root's is there on every one.
  const auto all = list("all", {"root"}, {rule("everything", "permit", {})});
  EXPECT_EQ(shown(rights({all}, "root").access(Access::create, parse_path("/a:b"))), "permit everything");
  EXPECT_EQ(shown(rights({leaf("enable-external-groups", "false"), all}, "root")
                      .access(Access::create, parse_path("/a:b"))),
            "deny");
}

TEST_F(AccessTest, WhatCannotBeKeptFromAUserNeedsNoLook) {
  EXPECT_TRUE(rights(factory_access(), "guest").can_read_all_of("openconfig-optical-amplifier"));
  EXPECT_FALSE(rights(factory_access(), "guest").can_read_all_of(kAccessModule));
  EXPECT_FALSE(rights(modules(), "guest").can_read_all_of("ietf-netconf-monitoring"));
  EXPECT_TRUE(rights(modules(), "guest").can_read_all_of("acme"));
}

TEST(DataPaths, AreReadAsTheyStand) {
  EXPECT_EQ(parse_path("/a:b/c[k='x]/y'][l=\"'\"]/d:e"),
            (DataPath{{"a", "b"}, {"a", "c", {{"k", "x]/y"}, {"l", "'"}}}, {"d", "e"}}));
  for (const char *broken :
       {"", "a", "/", "//", "/a[", "/a[k", "/a[k=", "/a[k='", "/a[k='x'", "/:", "/a]", "/a[]]"})
    parse_path(broken);
  EXPECT_TRUE(covers(parse_path("/a:b/c"), parse_path("/a:b/c[k='1']/d")));
  EXPECT_FALSE(covers(parse_path("/a:b/c[k='1']"), parse_path("/a:b/c")));
  EXPECT_FALSE(covers(parse_path("/a:b/c[k='1']"), parse_path("/a:b/c[k='2']/d")));
}

}  // namespace
}  // namespace ymap
