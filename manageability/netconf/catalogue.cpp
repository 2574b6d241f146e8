// The published modules, and what the server tells of them.
#include "catalogue.hpp"

#include <libnetconf2/session_server.h>
#include <libyang/libyang.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "protocol_modules.hpp"
#include "rpc_error.hpp"

namespace ymap::netconf {
namespace {

/// libnetconf2 itself announces the mode "explicit" only where others are supported too.
constexpr const char *kWithDefaults =
    "urn:ietf:params:netconf:capability:with-defaults:1.0?basic-mode=explicit";

/// As a module of YANG 1.1 it would be left to the capability yang-library (RFC 7950, section 5.6.4), but
/// clients that know YANG 1.0 only, yangcli for one, then stumble over its data in a <get>.
constexpr const char *kLibraryModule = "ietf-yang-library";

std::string revision(const lys_module *module) {
  return module->revision == nullptr ? "" : module->revision;
}

/// FNV-1a: the same modules have the same identifier, in every process.
std::string hash_of(const std::string &text) {
  uint64_t hash = 0xcbf29ce484222325;
  for (const char character : text) hash = (hash ^ static_cast<uint8_t>(character)) * 0x100000001b3;
  std::string digits(17, '\0');
  digits.resize(
      static_cast<std::size_t>(std::snprintf(digits.data(), digits.size(), "%016jx", uintmax_t{hash})));
  return digits;
}

/// Where a module's file lies on this machine is nothing to a client; it has <get-schema>.
void remove_locations(lyd_node *tree) {
  lyd_node *node = nullptr;
  lyd_node *next = nullptr;
  LY_LIST_FOR_SAFE(tree, next, node) {
    const char *name = node->schema->name;
    const bool local = std::strcmp(name, "location") == 0 ||
                       (std::strcmp(name, "schema") == 0 && node->schema->nodetype == LYS_LEAF &&
                        std::strcmp(node->schema->parent->name, "module") == 0);
    if (local)
      lyd_free_tree(node);
    else
      remove_locations(lyd_child(node));
  }
}

}  // namespace

void Catalogue::ContextDeleter::operator()(ly_ctx *context) const {
  ly_ctx_destroy(context);
}

Catalogue::Catalogue(const std::filesystem::path &models, const std::string &model)
    : context_(make_context({protocol_module_folder(), models})) {
  load_protocol_modules(context_.get());
  load_module(context_.get(), model.c_str());
  make_library();
  list_capabilities();
}

std::vector<const lys_module *> Catalogue::modules() const {
  std::vector<const lys_module *> found;
  uint32_t at = 0;
  while (const auto *module = ly_ctx_get_module_iter(context_.get(), &at)) found.push_back(module);
  return found;
}

void Catalogue::make_library() {
  std::string names;
  for (const auto *module : modules()) names += std::string(module->name) + "@" + revision(module) + "\n";
  content_id_ = hash_of(names);
  lyd_node *tree = nullptr;
  if (ly_ctx_get_yanglib_data(context_.get(), &tree, "%s", content_id_.c_str()) != LY_SUCCESS)
    throw UsageError("the list of YANG modules cannot be made");
  library_.reset(tree);
  remove_locations(tree);
  for (const char *datastore : {"ietf-datastores:running", "ietf-datastores:operational"}) {
    lyd_node *entry = nullptr;
    lyd_new_list(tree, nullptr, "datastore", 0, &entry, datastore);
    lyd_new_term(entry, nullptr, "schema", "complete", 0, nullptr);
  }
}

void Catalogue::list_capabilities() {
  nc_server_set_content_id_clb([](void *id) { return strdup(static_cast<const char *>(id)); },
                               content_id_.data(), nullptr);
  const char **listed = nc_server_get_cpblts_version(context_.get(), LYS_VERSION_1_0);
  if (listed == nullptr) throw UsageError("the list of capabilities cannot be made");
  for (const char **capability = listed; *capability != nullptr; ++capability) {
    capabilities_.emplace_back(*capability);
    lydict_remove(context_.get(), *capability);
  }
  std::free(listed);
  capabilities_.emplace_back(kWithDefaults);
  const auto *library = ly_ctx_get_module_implemented(context_.get(), kLibraryModule);
  capabilities_.push_back(std::string(library->ns) + "?module=" + library->name +
                          "&revision=" + revision(library));
}

std::string Catalogue::schema(const std::string &identifier, const std::string &version,
                              const std::string &format) const {
  const auto invalid = [](const std::string &message) {
    return RpcError({.tag = "invalid-value", .message = message});
  };
  if (format != "yang") throw invalid("schemas are there in format yang only, not in \"" + format + "\"");
  std::vector<const lys_module *> found;
  for (const auto *module : modules()) {
    if (identifier == module->name && (version.empty() || version == revision(module)))
      found.push_back(module);
  }
  if (found.empty()) {
    throw invalid("there is no module \"" + identifier + "\"" +
                  (version.empty() ? "" : " of revision \"" + version + "\"") +
                  "; /netconf-state/schemas lists all");
  }
  if (found.size() > 1) {
    throw RpcError({.tag = "operation-failed",
                    .message = "there are several revisions of module \"" + identifier + "\"; name one",
                    .app_tag = "data-not-unique"});
  }
  char *text = nullptr;
  lys_print_mem(&text, found.front(), LYS_OUT_YANG, 0);
  const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
  if (text == nullptr) throw std::bad_alloc();
  return text;
}

}  // namespace ymap::netconf
