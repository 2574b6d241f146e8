/// \file
/// The OpenConfig module: which elements there are and which values they take.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model_folders.hpp"

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
};

/// The compiled module. Schema nodes that it gives out live as long as it does.
class Schema {
 public:
  /// Loads the companions, if there are any, and then `module` from the folder `models`. Throws UsageError.
  Schema(const std::filesystem::path &models, const std::string &module, const Companions &companions = {});
  Schema(const Schema &) = delete;
  Schema &operator=(const Schema &) = delete;

  ly_ctx *context() const { return context_.get(); }
  const lys_module *module() const { return module_; }
  std::string module_name() const;
  std::string ns() const;

  /// The data node `name` below `parent`, at the top of the module if that is nullptr; nullptr if there is
  /// none.
  const lysc_node *child(const lysc_node *parent, std::string_view name) const;
  /// All data nodes below `parent` (or the module's tops), in the order of the module.
  std::vector<const lysc_node *> children(const lysc_node *parent) const;

 private:
  struct ContextDeleter {
    void operator()(ly_ctx *context) const;
  };
  const lys_module *load(const char *name, const std::filesystem::path &folder, const char **features);

  device::ModelFolders models_;
  std::unique_ptr<ly_ctx, ContextDeleter> context_;
  const lys_module *module_ = nullptr;
};

/// Where the prefixes of a value are declared: LY_VALUE_XML prefix data, or nullptr for module names.
struct ValueScope {
  const void *xml_prefixes = nullptr;
};

/// A checked value, or the reason why it is none.
struct CheckedValue {
  std::optional<std::string>
      text;            ///< as the plug-in writes values: bare identity names, all fraction digits
  std::string reason;  ///< what is wrong and what would be right
};

/// Checks `value` against the type of `leaf`.
CheckedValue check_value(const lysc_node *leaf, std::string_view value, ValueScope scope = {});

/// The text of a canonical value of `leaf` as the plug-in writes it, see CheckedValue.
std::string plain_value(const lysc_node *leaf, std::string_view canonical);

/// The words that `leaf` takes: identities, enumerations or booleans; empty for free values.
std::vector<std::string> value_words(const lysc_node *leaf);

std::string_view node_name(const lysc_node *node);
bool is_config(const lysc_node *node);
bool is_leaf(const lysc_node *node);
bool is_list(const lysc_node *node);
bool is_key(const lysc_node *node);
/// Unit of a leaf, or the empty text.
std::string_view units(const lysc_node *leaf);

/// One more step on an instance path; a list entry's keys are added by with_key().
std::string step(const std::string &path, std::string_view module, std::string_view name);
std::string with_key(const std::string &path, std::string_view key, std::string_view value);

}  // namespace ymap
