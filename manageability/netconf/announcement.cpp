// Names, revisions and features of the published modules.
#include "announcement.hpp"

#include <libyang/libyang.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "hash.hpp"

namespace ymap::netconf {
namespace {

constexpr std::string_view kLibraryModule = "ietf-yang-library";

/// Modules of YANG 1.1 may be left to the capability yang-library (RFC 7950, section 5.6.4), but clients that
/// know YANG 1.0 only, yangcli for one, then stumble over their data in a <get>.
bool is_announced(const CompiledSchema &schema, const lys_module *module) {
  return module->parsed->version != LYS_VERSION_1_1 || module->name == kLibraryModule ||
         std::ranges::find(schema.modules(), module) != schema.modules().end();
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

/// In hexadecimal.
std::string hash_of(const std::string &text) {
  std::array<char, 18> digits{};
  std::snprintf(digits.data(), digits.size(), "%016jx", uintmax_t{device::fnv1a(text)});
  return digits.data();
}

/// The build of the libyang that this process is linked to; empty if it carries no mark of it.
std::string_view library_build() {
  std::string_view build;
  const auto visit = [](dl_phdr_info *object, std::size_t, void *found) {
    constexpr std::string_view owner("GNU\0", 4);
    if (std::strstr(object->dlpi_name, "libyang.so") == nullptr) return 0;
    for (const auto &header : std::span(object->dlpi_phdr, object->dlpi_phnum)) {
      if (header.p_type != PT_NOTE) continue;
      const std::string_view notes(reinterpret_cast<const char *>(object->dlpi_addr + header.p_vaddr),
                                   header.p_memsz);
      for (std::size_t at = 0; at + sizeof(ElfW(Nhdr)) <= notes.size();) {
        ElfW(Nhdr) note;
        std::memcpy(&note, notes.data() + at, sizeof note);
        const auto aligned = [](std::size_t size) { return (size + 3) & ~std::size_t{3}; };
        const auto name = notes.substr(at + sizeof note, note.n_namesz);
        at += sizeof note + aligned(note.n_namesz);
        if (note.n_type == NT_GNU_BUILD_ID && name == owner)
          *static_cast<std::string_view *>(found) = notes.substr(at, note.n_descsz);
        at += aligned(note.n_descsz);
      }
    }
    return 1;
  };
  dl_iterate_phdr(visit, &build);
  return build;
}

}  // namespace

std::string revision(const lys_module *module) {
  return module->revision == nullptr ? "" : module->revision;
}

Announcement announcement_of(const CompiledSchema &schema) {
  Announcement made;
  std::string names;
  std::vector<std::string> of_modules;
  uint32_t at = 0;
  while (const auto *module = ly_ctx_get_module_iter(schema.context(), &at)) {
    made.modules.emplace_back(module->name);
    names += std::string(module->name) + "@" + revision(module) + "\n";
    if (is_announced(schema, module)) of_modules.push_back(module_capability(module));
  }
  made.content_id = hash_of(names);
  const auto *library = ly_ctx_get_module_implemented(schema.context(), kLibraryModule.data());
  made.capabilities = {"urn:ietf:params:netconf:capability:yang-library:1.1?revision=" + revision(library) +
                       "&content-id=" + made.content_id};
  made.capabilities.insert(made.capabilities.end(), of_modules.begin(), of_modules.end());
  return made;
}

std::optional<uint64_t> fingerprint(const device::ModelFolders &folders,
                                    std::span<const std::string_view> modules) {
  const auto build = library_build();
  if (build.empty()) return std::nullopt;
  auto hash = device::text_hash(build);
  for (const auto module : modules) {
    const auto text = folders.text(std::string(module));
    hash = device::text_hash(text.value_or("none"), device::text_hash(module, hash));
  }
  return hash;
}

}  // namespace ymap::netconf
