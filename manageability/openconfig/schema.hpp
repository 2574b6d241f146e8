/// \file
/// The OpenConfig module: which elements there are and which values they take.
#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "compiled_schema.hpp"
#include "schema_node.hpp"

namespace ymap {

/// A table that was made when the program was built, and the hash of the module's text then.
struct BuiltInSchema {
  uint64_t text_hash = 0;
  SchemaTable table = {};
};

/// The module. What it knows of it without libyang is a table, which is part of the program; where the module
/// on this system is another one, libyang makes the table anew.
class Schema {
 public:
  /// Of `module` in the folder `models`; the `companions` are for yang(). Throws UsageError.
  Schema(const std::filesystem::path &models, const std::string &module, Companions companions = {});
  Schema(const Schema &) = delete;
  Schema &operator=(const Schema &) = delete;

  std::string_view module_name() const { return table_.module; }
  std::string_view ns() const { return table_.ns; }
  std::string_view prefix() const { return table_.prefix; }
  std::string_view revision() const { return table_.revision; }

  /// The data nodes below `parent` (or the module's tops), in the order of the module.
  std::span<const SchemaNode> children(const SchemaNode *parent) const {
    return parent == nullptr ? table_.tops : parent->children;
  }
  /// The one of that name; nullptr if there is none.
  const SchemaNode *child(const SchemaNode *parent, std::string_view name) const;

  /// Checks `value` against the type of `leaf`. `prefix_ns` is the namespace that the prefix of a value
  /// stands for in XML; without one prefixes are names of modules, as in JSON.
  CheckedValue check_value(const SchemaNode *leaf, std::string_view value,
                           std::optional<std::string_view> prefix_ns = std::nullopt) const;

  /// The module in libyang, with its companions; made at the first use, which costs more than all that most
  /// processes do. Throws UsageError.
  const CompiledSchema &yang() const;
  const Companions &companions() const { return companions_; }
  const std::filesystem::path &models() const { return models_; }

 private:
  std::filesystem::path models_;
  std::string module_;
  Companions companions_;
  mutable std::optional<CompiledSchema> yang_;
  std::optional<OwnedSchemaTable> own_table_;
  SchemaTable table_;
};

/// One more step on an instance path; a list entry's keys are added by with_key().
std::string step(const std::string &path, std::string_view module, std::string_view name);
std::string with_key(const std::string &path, std::string_view key, std::string_view value);

}  // namespace ymap
