/// \file
/// The OpenConfig module as libyang compiles it, and the table of its nodes.
#pragma once

#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model_folders.hpp"
#include "schema_node.hpp"

struct ly_ctx;
struct lys_module;
struct lysc_node;

namespace ymap {

/// Modules that share the OpenConfig module's libyang context, which then describes itself by the YANG
/// library too: so one context does for requests and for what a server publishes.
struct Companions {
  struct Module {
    const char *name;
    std::vector<const char *> features = {};  ///< those that are supported
  };
  std::filesystem::path folder = {};
  std::vector<Module> modules = {};

  /// Where modules are looked for, `models` being the folder of the OpenConfig module.
  device::ModelFolders folders(const std::filesystem::path &models) const;
};

/// The folder of the IETF's YANG modules, which may not be there; environment YMAP_IETF_MODULES.
std::filesystem::path ietf_models();

/// A libyang context with the module. To make one costs tens of times as much as a request.
class CompiledSchema {
 public:
  /// Loads the companions, if there are any, and then `modules` from the folder `models`, at least one.
  /// Throws UsageError.
  CompiledSchema(const std::filesystem::path &models, const std::vector<std::string> &modules,
                 const Companions &companions = {});
  CompiledSchema(const CompiledSchema &) = delete;
  CompiledSchema &operator=(const CompiledSchema &) = delete;

  ly_ctx *context() const { return context_.get(); }
  /// Without the companions.
  const std::vector<const lys_module *> &modules() const { return modules_; }
  const lys_module *module() const { return modules_.front(); }

 private:
  struct ContextDeleter {
    void operator()(ly_ctx *context) const;
  };
  const lys_module *load(const char *name, const std::filesystem::path &folder, const char **features);

  device::ModelFolders models_;
  std::unique_ptr<ly_ctx, ContextDeleter> context_;
  std::vector<const lys_module *> modules_;
};

/// The table of a module, made from libyang's tree of it.
class OwnedSchemaTable {
 public:
  explicit OwnedSchemaTable(const lys_module *module);
  OwnedSchemaTable(const OwnedSchemaTable &) = delete;
  OwnedSchemaTable &operator=(const OwnedSchemaTable &) = delete;

  const SchemaTable &table() const { return table_; }

 private:
  std::span<const SchemaNode> add_children(const lys_module *module, const lysc_node *from,
                                           const SchemaNode *parent);
  std::string_view kept(std::string_view text) { return texts_.emplace_back(text); }

  std::deque<std::string> texts_;
  std::deque<std::vector<std::string_view>> words_;
  std::deque<std::vector<SchemaNode>> nodes_;
  SchemaTable table_;
};

/// A checked value, or the reason why it is none.
struct CheckedValue {
  /// As the plug-in writes values: bare identity names, all fraction digits.
  std::optional<std::string> text;
  std::string reason;    ///< what is wrong, as libyang says it
  std::string expected;  ///< what would be right: "one of A, B"
};

/// Checks `value` against the type of `leaf`. `prefix_ns` is the namespace that the prefix of a value stands
/// for in XML; without one prefixes are names of modules, as in JSON.
CheckedValue check_value(const lysc_node *leaf, std::string_view value,
                         std::optional<std::string_view> prefix_ns = std::nullopt);

/// The text of a canonical value of `leaf` as the plug-in writes it, see CheckedValue.
std::string plain_value(const lysc_node *leaf, std::string_view canonical);

}  // namespace ymap
