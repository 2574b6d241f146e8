// libyang's view of the OpenConfig module.
#include "compiled_schema.hpp"

#include <cstdlib>

#include "libyang_versions.hpp"
#include "printable.hpp"
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

void collect_derived(const lysc_ident *identity, std::vector<std::string_view> &names) {
  for (const auto *derived : libyang::items(identity->derived)) {
    names.emplace_back(derived->name);
    collect_derived(derived, names);
  }
}

std::vector<std::string_view> value_words(const lysc_type *type) {
  std::vector<std::string_view> words;
  if (type->basetype == LY_TYPE_BOOL) words = {"true", "false"};
  if (type->basetype == LY_TYPE_IDENT) {
    const auto *identity = reinterpret_cast<const lysc_type_identityref *>(type);
    for (const auto *base : libyang::items(identity->bases)) collect_derived(base, words);
  }
  return words;
}

std::string_view units_of(const lysc_node *leaf) {
  const char *text = reinterpret_cast<const lysc_node_leaf *>(leaf)->units;
  return text == nullptr ? std::string_view() : std::string_view(text);
}

/// What a value of the leaf looks like, for a person who wrote a wrong one.
std::string expectation(const lysc_node *leaf) {
  const auto *type = real_type(leaf);
  const auto words = value_words(type);
  if (!words.empty()) {
    std::string list;
    for (const auto &word : words) list.append(list.empty() ? "" : ", ").append(word);
    return "one of " + list;
  }
  if (type->basetype == LY_TYPE_DEC64) {
    const std::string unit(units_of(leaf));
    return "a decimal number with up to " + std::to_string(fraction_digits(type)) + " fraction digits" +
           (unit.empty() ? "" : " in " + unit);
  }
  if (type->basetype == LY_TYPE_UINT64) return "a non-negative integer";
  return "a text";
}

/// Restrictions that the table has no room for are left to libyang, as is every type that it does not know.
void set_type(const lysc_type *type, SchemaNode &node) {
  switch (type->basetype) {
    case LY_TYPE_STRING: {
      const auto *text = reinterpret_cast<const lysc_type_str *>(type);
      if (text->length == nullptr && text->patterns == nullptr) node.type = SchemaNode::Type::text;
      break;
    }
    case LY_TYPE_BOOL:
      node.type = SchemaNode::Type::boolean;
      break;
    case LY_TYPE_IDENT:
      node.type = SchemaNode::Type::identity;
      break;
    case LY_TYPE_UINT64:
      if (reinterpret_cast<const lysc_type_num *>(type)->range == nullptr)
        node.type = SchemaNode::Type::unsigned_integer;
      break;
    case LY_TYPE_DEC64: {
      const auto *decimal = reinterpret_cast<const lysc_type_dec *>(type);
      node.fraction_digits = decimal->fraction_digits;
      if (decimal->range == nullptr) {
        node.type = SchemaNode::Type::decimal;
      } else if (const auto parts = libyang::items(decimal->range->parts); parts.size() == 1) {
        node.type = SchemaNode::Type::decimal;
        node.least = parts.front().min_64;
        node.most = parts.front().max_64;
      }
      break;
    }
    default:
      break;
  }
}

SchemaNode::Kind kind_of(const lysc_node *node) {
  if (node->nodetype == LYS_LEAF) return SchemaNode::Kind::leaf;
  return node->nodetype == LYS_LIST ? SchemaNode::Kind::list : SchemaNode::Kind::container;
}

/// No value of an identity begins so.
bool begins_with_blank(std::string_view value) {
  return value.find_first_of(" \t\r\n") == 0;
}

/// Refusals are read by people, and replies repeat them: a long value is told by its begin.
std::string with_short_value(std::string reason, const std::string &value) {
  const auto at = value.size() > kLongestQuote ? reason.find(value) : std::string::npos;
  if (at != std::string::npos) reason.replace(at, value.size(), shortened(value));
  return reason;
}

}  // namespace

std::filesystem::path ietf_models() {
  const char *named = std::getenv("YMAP_IETF_MODULES");
  return named == nullptr || *named == '\0' ? YMAP_IETF_MODULES : named;
}

device::ModelFolders Companions::folders(const std::filesystem::path &models) const {
  return device::ModelFolders(modules.empty() ? std::vector{models} : std::vector{folder, models});
}

void CompiledSchema::ContextDeleter::operator()(ly_ctx *context) const {
  ly_ctx_destroy(context);
}

CompiledSchema::CompiledSchema(const std::filesystem::path &models, const std::vector<std::string> &modules,
                               const Companions &companions)
    : models_(companions.folders(models)) {
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
  for (const auto &module : modules) modules_.push_back(load(module.c_str(), models, nullptr));
  libyang::keep_order(context());
}

const lys_module *CompiledSchema::load(const char *name, const std::filesystem::path &folder,
                                       const char **features) {
  if (const auto *module = ly_ctx_load_module(context(), name, nullptr, features)) return module;
  const char *reason = ly_errmsg(context());
  throw UsageError("YANG module " + std::string(name) + " cannot be loaded from " + folder.string() + ": " +
                   (reason == nullptr ? "no reason given" : reason));
}

OwnedSchemaTable::OwnedSchemaTable(const lys_module *module) {
  table_ = {kept(module->name),
            kept(module->ns),
            kept(module->prefix),
            kept(module->revision == nullptr ? "" : module->revision),
            {}};
  table_.tops = add_children(module, nullptr, nullptr);
}

std::span<const SchemaNode> OwnedSchemaTable::add_children(const lys_module *module, const lysc_node *from,
                                                           const SchemaNode *parent) {
  std::vector<const lysc_node *> sources;
  const lysc_node *source = nullptr;
  while ((source = lys_getnext(source, from, module->compiled, 0)) != nullptr) sources.push_back(source);
  auto &nodes = nodes_.emplace_back(sources.size());
  for (std::size_t at = 0; at < sources.size(); ++at) {
    source = sources[at];
    auto &node = nodes[at];
    node.name = kept(source->name);
    node.kind = kind_of(source);
    node.is_config = (source->flags & LYS_CONFIG_W) != 0;
    node.parent = parent;
    if (!node.is_leaf()) {
      node.children = add_children(module, source, &node);
      continue;
    }
    node.is_key = lysc_is_key(source);
    node.units = kept(units_of(source));
    set_type(real_type(source), node);
    auto &words = words_.emplace_back();
    for (const auto word : value_words(real_type(source))) words.push_back(kept(word));
    node.words = words;
  }
  return nodes;
}

CheckedValue check_value(const lysc_node *leaf, std::string_view value,
                         std::optional<std::string_view> prefix_ns) {
  auto *context = leaf->module->ctx;
  const auto refused = [leaf](std::string reason) {
    return CheckedValue{std::nullopt, std::move(reason), expectation(leaf)};
  };
  std::string text(value);
  // An identity without prefix is taken as one of the leaf's own module, whatever the default namespace is:
  // clients that put a prefix on their elements commonly put none on the value.
  const auto colon = value.find(':');
  const bool prefixed = colon != std::string_view::npos && real_type(leaf)->basetype == LY_TYPE_IDENT;
  if (prefixed && prefix_ns) {
    const std::string ns(begins_with_blank(value) ? std::string_view() : *prefix_ns);
    const auto *module = ly_ctx_get_module_implemented_ns(context, ns.c_str());
    if (module == nullptr)
      return refused("The prefix \"" + shortened(value.substr(0, colon)) +
                     "\" stands for no module of the device.");
    text.replace(0, colon, module->name);
  }
  ly_err_clean(context, nullptr);
  const char *canonical = nullptr;
  const auto status = libyang::check_value(leaf, text, &canonical);
  if (status != LY_SUCCESS && status != LY_EINCOMPLETE) {
    const char *reason = ly_errmsg(context);
    return refused(with_short_value(reason != nullptr ? reason : "Invalid value \"" + text + "\".", text));
  }
  CheckedValue checked{plain_value(leaf, canonical), {}, {}};
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

}  // namespace ymap
