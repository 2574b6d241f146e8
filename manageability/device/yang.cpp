// The native YANG modules, and what libyang says of them.
#include "yang.hpp"

#include <libyang/libyang.h>

#include <cstdlib>

#include "device.hpp"

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
}

Schema::~Schema() {
  ly_ctx_destroy(context_);
}

const lysc_node *Schema::find(const lysc_node *parent, const std::string &ns, const std::string &name) const {
  const lys_module *module = ly_ctx_get_module_implemented_ns(context_, ns.c_str());
  if (module == nullptr) return nullptr;
  return lys_find_child(parent, module, name.c_str(), name.size(), 0, 0);
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
  const char *location = ly_errpath(context_);
  return location != nullptr ? location : "";
}

std::string Schema::error_path() const {
  const std::string text = error_location();
  for (const std::string marker : {"ata location \"", "chema location \""}) {
    const size_t found = text.find(marker);
    if (found == std::string::npos) continue;
    const size_t begin = found + marker.size();
    const size_t line = text.find("\", line number", begin);
    return text.substr(begin, (line != std::string::npos ? line : text.rfind('"')) - begin);
  }
  return {};
}

bool canonical_value(const Schema &schema, const lysc_node *leaf, const std::string &value,
                     std::string &canonical) {
  const char *text = nullptr;
  schema.clear_errors();
  // libyang takes a text with its length, but a NUL inside would end the canonical form early.
  if (value.find('\0') != std::string::npos) return false;
  if (lyd_value_validate(schema.context(), leaf, value.c_str(), value.size(), nullptr, nullptr, &text) !=
      LY_SUCCESS) {
    return false;
  }
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
