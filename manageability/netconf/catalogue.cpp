// The published modules, and what the server tells of them.
#include "catalogue.hpp"

#include <libyang/libyang.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "hello.hpp"
#include "rpc_error.hpp"

namespace ymap::netconf {
namespace {

/// Data is reported as it was set, as openconfig_request.hpp has it.
constexpr std::array<const char *, 4> kProtocolCapabilities = {
    "urn:ietf:params:netconf:capability:writable-running:1.0",
    "urn:ietf:params:netconf:capability:rollback-on-error:1.0",
    "urn:ietf:params:netconf:capability:validate:1.1",
    "urn:ietf:params:netconf:capability:with-defaults:1.0?basic-mode=explicit",
};

/// As a module of YANG 1.1 it would be left to the capability yang-library (RFC 7950, section 5.6.4), but
/// clients that know YANG 1.0 only, yangcli for one, then stumble over its data in a <get>.
constexpr std::string_view kLibraryModule = "ietf-yang-library";

std::string revision(const lys_module *module) {
  return module->revision == nullptr ? "" : module->revision;
}

/// RFC 6020, section 5.6.4.
std::string module_capability(const lys_module *module) {
  auto capability = std::string(module->ns) + "?module=" + module->name;
  if (module->revision != nullptr) capability.append("&revision=").append(module->revision);
  std::string features;
  uint32_t at = 0;
  const lysp_feature *feature = nullptr;
  while ((feature = lysp_feature_next(feature, module->parsed, &at)) != nullptr)
    if ((feature->flags & LYS_FENABLED) != 0)
      features.append(features.empty() ? "" : ",").append(feature->name);
  return features.empty() ? capability : capability + "&features=" + features;
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

Catalogue::Catalogue(const Schema &schema) : schema_(schema) {
  make_library();
  list_capabilities();
}

std::vector<const lys_module *> Catalogue::modules() const {
  std::vector<const lys_module *> found;
  uint32_t at = 0;
  while (const auto *module = ly_ctx_get_module_iter(context(), &at)) found.push_back(module);
  return found;
}

void Catalogue::make_library() {
  std::string names;
  for (const auto *module : modules()) names += std::string(module->name) + "@" + revision(module) + "\n";
  content_id_ = hash_of(names);
  lyd_node *tree = nullptr;
  if (ly_ctx_get_yanglib_data(context(), &tree, "%s", content_id_.c_str()) != LY_SUCCESS)
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
  capabilities_ = base_capabilities();
  capabilities_.insert(capabilities_.end(), kProtocolCapabilities.begin(), kProtocolCapabilities.end());
  const auto *library = ly_ctx_get_module_implemented(context(), kLibraryModule.data());
  capabilities_.push_back("urn:ietf:params:netconf:capability:yang-library:1.1?revision=" +
                          revision(library) + "&content-id=" + content_id_);
  for (const auto *module : modules())
    if (module->parsed->version != LYS_VERSION_1_1 || module == library)
      capabilities_.push_back(module_capability(module));
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
