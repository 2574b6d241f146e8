// The native YANG modules, and what libyang says of them.
#include "yang.hpp"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "device.hpp"
#include "hash.hpp"
#include "libyang_versions.hpp"

namespace device {

namespace {

constexpr std::string_view kInterfacesNs = kNativeModules[1].ns;

const NativeModule *live_module(std::string_view ns) {
  for (const NativeModule &module : kNativeModules) {
    if (module.is_live && module.ns == ns) return &module;
  }
  return nullptr;
}

/// Whether an entry's keys make this predicate.
bool has_keys(const lyd_node *entry, std::string_view keys) {
  const auto take = [&keys](std::string_view text) {
    const bool begins = keys.starts_with(text);
    if (begins) keys.remove_prefix(text.size());
    return begins;
  };
  for (const lyd_node *key = lyd_child(entry); key != nullptr && lysc_is_key(key->schema); key = key->next) {
    const std::string_view value = lyd_get_value(key);
    const std::string_view quote = value.find('\'') == std::string_view::npos ? "'" : "\"";
    if (!take("[") || !take(key->schema->name) || !take("=") || !take(quote) || !take(value) ||
        !take(quote) || !take("]"))
      return false;
  }
  return keys.empty();
}

/// Below the node; true if nothing remains that says it exists.
bool remove_implicit_below(lyd_node *parent) {
  lyd_node *next = nullptr;
  for (lyd_node *node = lyd_child(parent); node != nullptr; node = next) {
    next = node->next;
    if (remove_implicit_below(node)) lyd_free_tree(node);
  }
  if (parent->schema->nodetype == LYS_CONTAINER) return lyd_child(parent) == nullptr;
  return (parent->schema->nodetype & LYD_NODE_TERM) != 0 && (parent->flags & LYD_DEFAULT) != 0;
}

/// What can be read of a guest's folders: where it is not used they need not be there.
std::vector<std::filesystem::path> folders_with(const std::filesystem::path &models, const Guest &guest) {
  std::vector<std::filesystem::path> folders = {models};
  std::error_code error;
  for (const auto &folder : guest.folders)
    if (std::filesystem::is_directory(folder, error)) folders.push_back(folder);
  return folders;
}

}  // namespace

LogScope::LogScope() : options_(LY_LOSTORE_LAST) {
  ly_temp_log_options(&options_);
}

LogScope::~LogScope() {
  ly_temp_log_options(nullptr);
}

Schema::Schema(const std::filesystem::path &models, const Guest &guest)
    : folder_(models),
      guest_module_(guest.module),
      guest_ns_(guest.ns),
      guest_top_(guest.top),
      guest_others_(guest.others),
      models_(folders_with(models, guest), ModelFolders::Prose::dropped) {
  const LogScope log;
  context_ = models_.make_context();
  if (context_ == nullptr) {
    throw FolderError("cannot use the folder of YANG modules " + models.string() +
                      ": it must exist and be readable");
  }
  try {
    for (const NativeModule &module : kNativeModules) {
      if (!module.is_live) load(module.name);
    }
    hash_ = models_.hash_of_given();
    const auto *top = find(nullptr, kInterfacesNs, "interface-configurations");
    interfaces_ = top == nullptr ? nullptr : find(top, kInterfacesNs, "interface-configuration");
    if (interfaces_ == nullptr)
      throw FolderError("the YANG module of interfaces in " + models.string() + " has no interfaces");
  } catch (const FolderError &) {
    ly_ctx_destroy(context_);
    throw;
  }
}

Schema::~Schema() {
  ly_ctx_destroy(context_);
}

void Schema::load(const char *module) const {
  if (ly_ctx_load_module(context_, module, nullptr, nullptr) == nullptr) {
    const bool is_own = std::ranges::any_of(
        kNativeModules, [&](const NativeModule &own) { return std::string_view(own.name) == module; });
    throw FolderError("cannot load YANG module " + std::string(module) +
                      (is_own ? " from " + folder_.string() : std::string()) + ": " + error_message());
  }
  libyang::keep_order(context_);
}

bool Schema::is_live(std::string_view ns) {
  return live_module(ns) != nullptr;
}

const lysc_node *Schema::find(const lysc_node *parent, std::string_view ns, std::string_view name) const {
  const auto hash = text_hash(name, text_hash(ns, reinterpret_cast<uintptr_t>(parent)));
  const auto [first, last] = known_.equal_range(hash);
  for (auto row = first; row != last; ++row) {
    const Known &known = row->second;
    if (known.parent == parent && known.name == name && known.ns == ns) return known.node;
  }
  const lysc_node *node = look_up(parent, ns, name);
  if (node != nullptr) known_.emplace(hash, Known{parent, std::string(ns), std::string(name), node});
  return node;
}

const lysc_node *Schema::look_up(const lysc_node *parent, std::string_view ns, std::string_view name) const {
  if (ns.empty()) {
    for (const NativeModule &any : kNativeModules) {
      if (const lysc_node *node = find(parent, any.ns, name)) return node;
    }
    return nullptr;
  }
  const std::string uri(ns);
  const lys_module *module = ly_ctx_get_module_implemented_ns(context_, uri.c_str());
  const NativeModule *live = live_module(ns);
  if (module == nullptr && live != nullptr) load(live->name);
  if (module == nullptr && ns == guest_ns_) load_guest();
  if (module == nullptr) module = ly_ctx_get_module_implemented_ns(context_, uri.c_str());
  if (module == nullptr) return nullptr;
  return libyang::find_child(parent, module, name);
}

void Schema::load_guest() const {
  if (guest_module_.empty() || ly_ctx_get_module_implemented(context_, guest_module_.c_str()) != nullptr)
    return;
  // A value of a union that fits no member ends what LogScope has set.
  ly_log_options(LY_LOSTORE_LAST);
  for (const auto &other : guest_others_) load(other.c_str());
  load(guest_module_.c_str());
}

lyd_node *Schema::find_guest(const lyd_node *running) const {
  for (; running != nullptr; running = running->next)
    if (running->schema->name == guest_top_ && running->schema->module->ns == guest_ns_)
      return const_cast<lyd_node *>(running);
  return nullptr;
}

lyd_node *Schema::find_interface(const lyd_node *running, const char *name) const {
  while (running != nullptr && running->schema != interfaces_->parent) running = running->next;
  if (running == nullptr) return nullptr;
  return find_entry(lyd_child(running), interfaces_,
                    "[active='act'][interface-name='" + std::string(name) + "']");
}

bool Schema::knows_namespace(std::string_view ns) const {
  return is_live(ns) || (!ns.empty() && ns == guest_ns_) ||
         ly_ctx_get_module_implemented_ns(context_, std::string(ns).c_str()) != nullptr;
}

void Schema::clear_errors() const {
  ly_err_clean(context_, nullptr);
}

std::string Schema::error_message() const {
  const char *message = ly_errmsg(context_);
  std::string text = message != nullptr ? message : "no reason given";
  for (char &c : text) {
    if (c == '\n') c = ' ';
  }
  return text;
}

std::string Schema::error_location() const {
  const auto [path, line] = libyang::error_place(context_);
  if (line == 0) return path;
  return (path.empty() ? "line " : path + ", line ") + std::to_string(line);
}

std::string Schema::error_path() const {
  return libyang::error_place(context_).path;
}

bool canonical_value(const Schema &schema, const lysc_node *leaf, const std::string &value,
                     std::string &canonical) {
  const char *text = nullptr;
  schema.clear_errors();
  // libyang takes a text with its length, but a NUL inside would end the canonical form early.
  if (value.find('\0') != std::string::npos) return false;
  if (libyang::check_value(leaf, value, &text) != LY_SUCCESS) return false;
  canonical = text;
  lydict_remove(schema.context(), text);
  return true;
}

lyd_node *find_entry(lyd_node *first, const lysc_node *list, const std::string &keys) {
  // To make something of the predicate takes libyang longer than to compare some entries.
  constexpr int kFew = 16;
  int compared = 0;
  for (lyd_node *entry = first; entry != nullptr; entry = entry->next) {
    if (entry->schema != list) continue;
    if (has_keys(entry, keys)) return entry;
    if (++compared == kFew) break;
  }
  lyd_node *found = nullptr;
  if (compared == kFew) libyang::find_sibling(first, list, keys, &found);
  return found;
}

void remove_implicit(lyd_node *&tree) {
  lyd_node *next = nullptr;
  for (lyd_node *node = tree; node != nullptr; node = next) {
    next = node->next;
    if (remove_implicit_below(node)) remove_node(tree, node);
  }
}

void remove_node(lyd_node *&tree, lyd_node *node) {
  if (node == tree) tree = node->next;
  lyd_free_tree(node);
}

std::string data_path(const lyd_node *node) {
  char *text = lyd_path(node, LYD_PATH_STD, nullptr, 0);
  std::string path = text != nullptr ? text : "";
  std::free(text);
  return path;
}

}  // namespace device
