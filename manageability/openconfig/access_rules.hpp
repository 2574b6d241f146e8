/// \file
/// Access control by rules (RFC 8341): what a user may read, change and run.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "data_path.hpp"
#include "device.hpp"
#include "requester.hpp"

namespace ymap {

inline constexpr std::string_view kAccessModule = "ietf-netconf-acm";
inline constexpr char kAccessNs[] = "urn:ietf:params:xml:ns:yang:ietf-netconf-acm";
inline constexpr char kAccessTop[] = "nacm";

/// What a rule is about, one bit each.
enum class Access : uint8_t { create = 1, read = 2, update = 4, remove = 8, exec = 16 };
/// In the order of the bits, as rules name them.
inline constexpr std::string_view kAccessWords[] = {"create", "read", "update", "delete", "exec"};
std::string_view word_for(Access access);

struct AccessRule {
  enum class Kind : uint8_t { any, operation, notification, data };
  std::string_view name, comment;
  std::string_view module = "*";
  Kind kind = Kind::any;
  std::string_view target;  ///< name of an operation or a notification; "*" is any
  std::string_view path_text;
  DataPath path;         ///< of a data node; lists without keys mean all their entries
  uint8_t accesses = 0;  ///< Access bits
  bool permits = false;

  bool concerns(Access access) const { return (accesses & static_cast<uint8_t>(access)) != 0; }
};

struct AccessRuleList {
  std::string_view name;
  std::vector<std::string_view> groups;  ///< "*" is any
  std::vector<AccessRule> rules;         ///< the first that matches decides
};

/// The container nacm; as constructed, its defaults.
struct AccessRules {
  /// Takes the children of the container. Those of other shape than the module has are left out.
  explicit AccessRules(std::vector<device::PlainNode> nacm);
  AccessRules(const AccessRules &) = delete;
  AccessRules &operator=(const AccessRules &) = delete;

  std::vector<device::PlainNode> data;  ///< what the rest holds views of
  bool is_enabled = true;
  bool permits_reads = true;
  bool permits_writes = false;
  bool permits_operations = true;
  bool takes_external_groups = true;
  struct Group {
    std::string_view name;
    std::vector<std::string_view> users;
  };
  std::vector<Group> groups;
  std::vector<AccessRuleList> lists;
};

/// The rules as what the device keeps for others. Throws nothing where the modules are not installed: they
/// are needed where rules are stored.
device::Guest access_guest();

/// The rules that hold while none are configured: members of the Unix group ymap-admin may do all, those of
/// ymap-operator read and edit the amplifiers, all others read.
std::vector<device::PlainNode> factory_access();

/// What the rules say, and why.
struct Verdict {
  enum class Reason : uint8_t { recovery, disabled, rule, sensitive, by_default };
  bool permits = true;
  Reason reason = Reason::recovery;
  const AccessRuleList *list = nullptr;  ///< of a rule, as the rule itself
  const AccessRule *rule = nullptr;
};

/// The rights of one user, by rules that it keeps alive.
class Rights {
 public:
  /// Of the recovery session, which may do all.
  Rights() = default;
  Rights(std::shared_ptr<const AccessRules> rules, const Requester &requester);

  /// No request can be refused or answered in part.
  bool are_unlimited() const { return rules_ == nullptr || !rules_->is_enabled; }
  /// Nothing of the module's data can be kept from the user.
  bool can_read_all_of(std::string_view module) const;
  bool can_read(const DataPath &path) const { return access(Access::read, path).permits; }

  /// Of a protocol operation (RFC 8341, section 3.4.4).
  Verdict run(std::string_view module, std::string_view operation) const;
  /// Of a data node (section 3.4.5), for anything but `exec`. Whoever may not read a node may not read what
  /// is below it either, whatever the rules say of that.
  Verdict access(Access access, const DataPath &path) const;
  /// Of a notification type (section 3.4.6).
  Verdict receive(std::string_view module, std::string_view notification) const;

  /// The groups that the user is in, for the rules.
  const std::vector<std::string> &groups() const { return groups_; }

 private:
  struct Candidate {
    const AccessRuleList *list;
    const AccessRule *rule;
  };
  template <typename Matches>
  Verdict judge(bool is_sensitive, bool by_default, const Matches &matches) const;

  std::shared_ptr<const AccessRules> rules_;
  std::vector<std::string> groups_;
  std::vector<Candidate> candidates_;  ///< of the user's groups, in order
};

}  // namespace ymap
