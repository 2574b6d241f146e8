/// \file
/// The native YANG modules, and libyang's errors as texts.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "device.hpp"
#include "model_folders.hpp"

struct ly_ctx;
struct lyd_node;
struct lysc_node;

namespace device {

/// Namespaces of live data.
inline constexpr char kOtsOperNs[] = "http://velm.example/ns/yang/Velm-NALTO-controller-ots-oper";
inline constexpr char kPmengineNs[] = "http://velm.example/ns/yang/Velm-NALTO-pmengine-oper";

/// A module of the device's own.
struct NativeModule {
  const char *name;
  const char *prefix;
  const char *ns;
  bool is_live;  ///< of live data, else of configuration
};
/// The first brings the second, which it augments: the other way round the second would be compiled twice.
inline constexpr NativeModule kNativeModules[] = {
    {"Velm-NALTO-controller-ots-cfg", "controller-ots-cfg",
     "http://velm.example/ns/yang/Velm-NALTO-controller-ots-cfg", false},
    {"Velm-NALTO-ifmgr-cfg", "a1", "http://velm.example/ns/yang/Velm-NALTO-ifmgr-cfg", false},
    {"Velm-NALTO-controller-ots-oper", "controller-ots-oper", kOtsOperNs, true},
    {"Velm-NALTO-pmengine-oper", "pmengine-oper", kPmengineNs, true},
};

/// A node at the top of the device's data.
struct TopNode {
  const char *name;
  const char *ns;
  bool is_live;
};
inline constexpr TopNode kTopNodes[] = {
    {"global-interface-configuration", kNativeModules[1].ns, false},
    {"interface-configurations", kNativeModules[1].ns, false},
    {"ots-oper", kOtsOperNs, true},
    {"performance-management-history", kPmengineNs, true},
};

/// Keeps libyang's messages in its context, away from standard error, on this thread while it lives.
class LogScope {
 public:
  LogScope();
  ~LogScope();
  LogScope(const LogScope &) = delete;
  LogScope &operator=(const LogScope &) = delete;

 private:
  uint32_t options_;
};

/// A libyang context with the native modules: those of the configuration, and when they are asked for those
/// of live data too.
class Schema {
 public:
  /// Throws FolderError if a module of the configuration is missing from the folder or broken. The modules of
  /// a guest are loaded when they are needed.
  explicit Schema(const std::filesystem::path &models, const Guest &guest = {});
  ~Schema();
  Schema(const Schema &) = delete;
  Schema &operator=(const Schema &) = delete;

  ly_ctx *context() const { return context_; }
  /// Of the texts of the modules.
  uint64_t hash() const { return hash_; }

  /// A child of `parent` (of the top level if null); null if there is none. The empty namespace is any.
  /// Throws FolderError as the constructor, for a module of live data or a guest's.
  const lysc_node *find(const lysc_node *parent, std::string_view ns, std::string_view name) const;

  bool knows_namespace(std::string_view ns) const;
  /// Whether it is the namespace of a module of live data.
  static bool is_live(std::string_view ns);

  /// The entry of an active interface in `running`, the configuration's first sibling; null if there is none.
  lyd_node *find_interface(const lyd_node *running, const char *name) const;
  /// The guest's container in `running`; null if there is none.
  lyd_node *find_guest(const lyd_node *running) const;
  /// To be called before a text is parsed that may hold the guest's container. Throws as find().
  void load_guest() const;
  /// The list that it is an entry of.
  const lysc_node *interfaces() const { return interfaces_; }

  /// Forgets earlier errors, so that the texts below tell of the next call only.
  void clear_errors() const;
  /// The last message of libyang, on one line, or a substitute.
  std::string error_message() const;
  /// Where it happened: the path as below, the line of the input, as far as they are known; empty if not at
  /// all.
  std::string error_location() const;
  /// The data path that the last message is about (the schema path where there is no such data), or empty.
  std::string error_path() const;

 private:
  /// A node that was found before: requests name the same ones again and again.
  struct Known {
    const lysc_node *parent;
    std::string ns, name;
    const lysc_node *node;
  };

  void load(const char *module) const;
  const lysc_node *look_up(const lysc_node *parent, std::string_view ns, std::string_view name) const;

  std::filesystem::path folder_;
  std::string guest_module_, guest_ns_, guest_top_;
  std::vector<std::string> guest_others_;
  ModelFolders models_;
  ly_ctx *context_ = nullptr;
  const lysc_node *interfaces_ = nullptr;
  uint64_t hash_ = 0;
  mutable std::unordered_multimap<uint64_t, Known> known_;  ///< by the hash of parent, ns and name
};

/// The canonical form of a value of a leaf's type. False, with libyang's message, if the type refuses it.
bool canonical_value(const Schema &schema, const lysc_node *leaf, const std::string &value,
                     std::string &canonical);

/// The entry of `list` with these keys (a predicate with all of them, in the order of the schema and in
/// single quotation marks where they hold none) among `first` and its siblings; null if there is none.
lyd_node *find_entry(lyd_node *first, const lysc_node *list, const std::string &keys);

/// Takes out what nobody has set: defaults, and empty containers, which mean nothing here (none has
/// presence). `tree` is a first sibling.
void remove_implicit(lyd_node *&tree);

/// Frees a node with all below it; `tree`, the first top-level sibling, moves on if it is that node.
void remove_node(lyd_node *&tree, lyd_node *node);

/// "/module:a/b[key='value']/c".
std::string data_path(const lyd_node *node);

}  // namespace device
