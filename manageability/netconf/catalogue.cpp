// The published modules, and what the server tells of them.
#include "catalogue.hpp"

#include <libyang/libyang.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

#include "announcement.hpp"
#include "data_writer.hpp"
#include "hello.hpp"
#include "printable.hpp"
#include "protocol_modules.hpp"
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

PublishedModules openconfig_modules(const Schema &schema, const Features &features) {
  return {schema.companions().folders(schema.models()),
          [&schema]() -> const CompiledSchema & { return schema.yang(); },
          features == Features() ? &kRemoteAnnouncement : &kBuiltInAnnouncement, features};
}

PublishedModules device_modules(const std::filesystem::path &models, const Features &features) {
  const auto companions = protocol_modules(features);
  auto compiled = std::make_shared<std::optional<CompiledSchema>>();
  const auto yang = [=]() -> const CompiledSchema & {
    if (!*compiled) compiled->emplace(models, native_modules(), companions);
    return **compiled;
  };
  const auto *known = features == Features() ? &kNativeAnnouncement : &kNativeCandidateAnnouncement;
  return {companions.folders(models), yang, known, features};
}

Catalogue::Catalogue(PublishedModules modules) : modules_(std::move(modules)) {
  capabilities_ = base_capabilities();
  capabilities_.insert(capabilities_.end(), kProtocolCapabilities.begin(), kProtocolCapabilities.end());
  const auto &features = modules_.features;
  if (features.candidate == Candidate::present)
    capabilities_.emplace_back("urn:ietf:params:netconf:capability:candidate:1.0");
  if (features.confirmed_commit)
    capabilities_.emplace_back("urn:ietf:params:netconf:capability:confirmed-commit:1.1");
  if (features.notifications)
    for (const char *name : {"notification", "interleave"})
      capabilities_.push_back(std::string("urn:ietf:params:netconf:capability:") + name + ":1.0");
  const auto *known = modules_.announcement;
  if (known != nullptr &&
      fingerprint(modules_.folders, known->modules) == std::optional(known->fingerprint)) {
    content_id_ = known->content_id;
    capabilities_.insert(capabilities_.end(), known->capabilities.begin(), known->capabilities.end());
  } else {
    const auto made = announcement_of(modules_.yang());
    content_id_ = made.content_id;
    capabilities_.insert(capabilities_.end(), made.capabilities.begin(), made.capabilities.end());
  }
}

const lys_module *Catalogue::monitoring() const {
  return ly_ctx_get_module_implemented(context(), "ietf-netconf-monitoring");
}

const lys_module *Catalogue::streams() const {
  if (!modules_.features.notifications) return nullptr;
  return ly_ctx_get_module_implemented(context(), kStreamModule.name.data());
}

std::vector<const lys_module *> Catalogue::modules() const {
  std::vector<const lys_module *> found;
  uint32_t at = 0;
  while (const auto *module = ly_ctx_get_module_iter(context(), &at)) found.push_back(module);
  return found;
}

const lyd_node *Catalogue::library() const {
  if (library_) return library_.get();
  lyd_node *tree = nullptr;
  if (ly_ctx_get_yanglib_data(context(), &tree, "%s", content_id_.c_str()) != LY_SUCCESS)
    throw UsageError("the list of YANG modules cannot be made");
  library_.reset(tree);
  remove_locations(tree);
  std::vector<const char *> datastores = {"ietf-datastores:running", "ietf-datastores:operational"};
  if (modules_.features.candidate == Candidate::present) datastores.push_back("ietf-datastores:candidate");
  for (const char *datastore : datastores) {
    lyd_node *entry = nullptr;
    lyd_new_list(tree, nullptr, "datastore", 0, &entry, datastore);
    lyd_new_term(entry, nullptr, "schema", "complete", 0, nullptr);
  }
  return tree;
}

const std::string &Catalogue::library_text() const {
  if (library_text_.empty()) library_text_ = print_data(library());
  return library_text_;
}

std::string Catalogue::schema(const std::string &identifier, const std::string &version,
                              const std::string &format) const {
  const auto invalid = [](const std::string &message) {
    return RpcError({.tag = "invalid-value", .message = message});
  };
  if (format != "yang")
    throw invalid("schemas are there in format yang only, not in \"" + shortened(format) + "\"");
  std::vector<const lys_module *> found;
  for (const auto *module : modules()) {
    if (identifier == module->name && (version.empty() || version == revision(module)))
      found.push_back(module);
  }
  if (found.empty()) {
    throw invalid("there is no module \"" + shortened(identifier) + "\"" +
                  (version.empty() ? "" : " of revision \"" + shortened(version) + "\"") +
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
