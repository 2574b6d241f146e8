// The OpenConfig module as libyang has compiled it.
#include "schema.hpp"

#include "libyang_versions.hpp"
#include "rpc_error.hpp"

namespace ymap {
namespace {

const lysc_type *real_type(const lysc_node *leaf) {
  const lysc_type *type = reinterpret_cast<const lysc_node_leaf *>(leaf)->type;
  while (type->basetype == LY_TYPE_LEAFREF)
    type = reinterpret_cast<const lysc_type_leafref *>(type)->realtype;
  return type;
}

uint8_t fraction_digits(const lysc_type *type) {
  return reinterpret_cast<const lysc_type_dec *>(type)->fraction_digits;
}

void collect_derived(const lysc_ident *identity, std::vector<std::string> &names) {
  for (const auto *derived : libyang::items(identity->derived)) {
    names.emplace_back(derived->name);
    collect_derived(derived, names);
  }
}

/// What a value of the leaf looks like, for a person who wrote a wrong one.
std::string expectation(const lysc_node *leaf) {
  const auto words = value_words(leaf);
  if (!words.empty()) {
    std::string list;
    for (const auto &word : words) list += (list.empty() ? "" : ", ") + word;
    return "one of " + list;
  }
  const auto *type = real_type(leaf);
  if (type->basetype == LY_TYPE_DEC64) {
    const std::string unit(units(leaf));
    return "a decimal number with up to " + std::to_string(fraction_digits(type)) + " fraction digits" +
           (unit.empty() ? "" : " in " + unit);
  }
  if (type->basetype == LY_TYPE_UINT64) return "a non-negative integer";
  return "a text";
}

}  // namespace

void Schema::ContextDeleter::operator()(ly_ctx *context) const {
  ly_ctx_destroy(context);
}

Schema::Schema(const std::filesystem::path &models, const std::string &module, const Companions &companions)
    : models_(companions.modules.empty() ? std::vector{models} : std::vector{companions.folder, models}) {
  using libyang::YangLibrary;
  ly_log_options(LY_LOSTORE_LAST);
  context_.reset(
      models_.make_context(companions.modules.empty() ? YangLibrary::absent : YangLibrary::present));
  if (!context_) throw UsageError("the folder of the YANG modules " + models.string() + " cannot be read");
  for (const auto &companion : companions.modules) {
    auto features = companion.features;
    features.push_back(nullptr);
    load(companion.name, companions.folder, features.data());
  }
  module_ = load(module.c_str(), models, nullptr);
  libyang::keep_order(context());
}

const lys_module *Schema::load(const char *name, const std::filesystem::path &folder, const char **features) {
  if (const auto *module = ly_ctx_load_module(context(), name, nullptr, features)) return module;
  const char *reason = ly_errmsg(context());
  throw UsageError("YANG module " + std::string(name) + " cannot be loaded from " + folder.string() + ": " +
                   (reason == nullptr ? "no reason given" : reason));
}

std::string Schema::module_name() const {
  return module_->name;
}
std::string Schema::ns() const {
  return module_->ns;
}

const lysc_node *Schema::child(const lysc_node *parent, std::string_view name) const {
  return libyang::find_child(parent, module_, name);
}

std::vector<const lysc_node *> Schema::children(const lysc_node *parent) const {
  std::vector<const lysc_node *> nodes;
  const lysc_node *node = nullptr;
  while ((node = lys_getnext(node, parent, module_->compiled, 0)) != nullptr) nodes.push_back(node);
  return nodes;
}

CheckedValue check_value(const lysc_node *leaf, std::string_view value, ValueScope scope) {
  auto *context = leaf->module->ctx;
  const auto refused = [leaf](const std::string &reason) {
    return CheckedValue{std::nullopt, reason + " Expected " + expectation(leaf) + "."};
  };
  std::string text(value);
  // An identity without prefix is taken as one of the leaf's own module, whatever the default namespace is:
  // clients that put a prefix on their elements commonly put none on the value.
  const auto colon = value.find(':');
  const bool prefixed = colon != std::string_view::npos && real_type(leaf)->basetype == LY_TYPE_IDENT;
  if (prefixed && scope.xml_prefixes != nullptr) {
    const std::string prefix(value.substr(0, colon));
    const auto *module = libyang::module_of_prefix(leaf, prefix, scope.xml_prefixes);
    if (module == nullptr)
      return refused("The prefix \"" + prefix + "\" stands for no module of the device.");
    text.replace(0, colon, module->name);
  }
  ly_err_clean(context, nullptr);
  const char *canonical = nullptr;
  const auto status = libyang::check_value(leaf, text, &canonical);
  if (status != LY_SUCCESS && status != LY_EINCOMPLETE) {
    const char *reason = ly_errmsg(context);
    return refused(reason != nullptr ? reason : "Invalid value \"" + text + "\".");
  }
  CheckedValue checked{plain_value(leaf, canonical), {}};
  lydict_remove(context, canonical);
  return checked;
}

std::string plain_value(const lysc_node *leaf, std::string_view canonical) {
  std::string text(canonical);
  const auto *type = real_type(leaf);
  if (type->basetype == LY_TYPE_IDENT) {
    if (const auto colon = text.find(':'); colon != std::string::npos) text.erase(0, colon + 1);
  } else if (type->basetype == LY_TYPE_DEC64) {
    const auto point = text.find('.');
    const auto digits = point == std::string::npos ? 0 : text.size() - point - 1;
    if (point == std::string::npos) text += '.';
    if (digits < fraction_digits(type)) text.append(fraction_digits(type) - digits, '0');
  }
  return text;
}

std::vector<std::string> value_words(const lysc_node *leaf) {
  const auto *type = real_type(leaf);
  std::vector<std::string> words;
  if (type->basetype == LY_TYPE_BOOL) words = {"true", "false"};
  if (type->basetype == LY_TYPE_IDENT) {
    const auto *identity = reinterpret_cast<const lysc_type_identityref *>(type);
    for (const auto *base : libyang::items(identity->bases)) collect_derived(base, words);
  }
  return words;
}

std::string_view node_name(const lysc_node *node) {
  return node->name;
}
bool is_config(const lysc_node *node) {
  return (node->flags & LYS_CONFIG_W) != 0;
}
bool is_leaf(const lysc_node *node) {
  return node->nodetype == LYS_LEAF;
}
bool is_list(const lysc_node *node) {
  return node->nodetype == LYS_LIST;
}
bool is_key(const lysc_node *node) {
  return lysc_is_key(node);
}

std::string_view units(const lysc_node *leaf) {
  const char *text = reinterpret_cast<const lysc_node_leaf *>(leaf)->units;
  return text == nullptr ? std::string_view() : std::string_view(text);
}

std::string step(const std::string &path, std::string_view module, std::string_view name) {
  std::string longer = path + "/";
  if (path.empty()) longer.append(module).append(":");
  return longer.append(name);
}

std::string with_key(const std::string &path, std::string_view key, std::string_view value) {
  const char quote = value.find('\'') == std::string_view::npos ? '\'' : '"';
  std::string longer = path + "[";
  longer.append(key).append("=") += quote;
  longer.append(value) += quote;
  return longer + "]";
}

}  // namespace ymap
