// The native YANG modules, and what libyang says of them.
#include "yang.hpp"

#include <cstdlib>

#include "device.hpp"
#include "libyang_versions.hpp"

namespace device {

namespace {

constexpr const char *kModules[] = {
    "Velm-NALTO-ifmgr-cfg",
    "Velm-NALTO-controller-ots-cfg",
    "Velm-NALTO-controller-ots-oper",
    "Velm-NALTO-pmengine-oper",
};

void remove_empty_below(lyd_node *parent) {
  lyd_node *next = nullptr;
  for (lyd_node *node = lyd_child(parent); node != nullptr; node = next) {
    next = node->next;
    remove_empty_below(node);
    if (node->schema->nodetype == LYS_CONTAINER && lyd_child(node) == nullptr) lyd_free_tree(node);
  }
}

}  // namespace

LogScope::LogScope() : options_(LY_LOSTORE_LAST) {
  ly_temp_log_options(&options_);
}

LogScope::~LogScope() {
  ly_temp_log_options(nullptr);
}

Schema::Schema(const std::filesystem::path &models) : models_({models}) {
  const LogScope log;
  context_ = models_.make_context();
  if (context_ == nullptr) {
    throw FolderError("cannot use the folder of YANG modules " + models.string() +
                      ": it must exist and be readable");
  }
  for (const char *name : kModules) {
    if (ly_ctx_load_module(context_, name, nullptr, nullptr) != nullptr) continue;
    const std::string reason = error_message();
    ly_ctx_destroy(context_);
    throw FolderError("cannot load YANG module " + std::string(name) + " from " + models.string() + ": " +
                      reason);
  }
  libyang::keep_order(context_);
}

Schema::~Schema() {
  ly_ctx_destroy(context_);
}

const lysc_node *Schema::find(const lysc_node *parent, const std::string &ns, const std::string &name) const {
  const lys_module *module = ly_ctx_get_module_implemented_ns(context_, ns.c_str());
  if (module == nullptr) return nullptr;
  return libyang::find_child(parent, module, name);
}

bool Schema::knows_namespace(const std::string &ns) const {
  return ly_ctx_get_module_implemented_ns(context_, ns.c_str()) != nullptr;
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

void remove_empty_containers(lyd_node *&tree) {
  lyd_node *next = nullptr;
  for (lyd_node *node = tree; node != nullptr; node = next) {
    next = node->next;
    remove_empty_below(node);
    if (node->schema->nodetype == LYS_CONTAINER && lyd_child(node) == nullptr) remove_node(tree, node);
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
