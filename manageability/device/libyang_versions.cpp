// What differs between the versions of libyang, as far as it is more than a name.
#include "libyang_versions.hpp"

#include <cstdlib>

namespace libyang {

LY_ERR new_context(ly_ctx **context, YangLibrary library) {
  constexpr uint16_t without = LY_CTX_NO_YANGLIBRARY;
  const uint16_t options = library == YangLibrary::present ? 0 : without;
#if LY_VERSION_MAJOR >= 5
  // Not all modules that a context begins with are inside the library; some are in a folder of its
  // installation.
  const LY_ERR result = ly_ctx_new(LY_YANG_MODULE_DIR, options | LY_CTX_DISABLE_SEARCHDIR_CWD, context);
  if (result != LY_SUCCESS) return result;
  ly_ctx_unset_searchdir(*context, nullptr);
#else
  const LY_ERR result = ly_ctx_new(nullptr, options, context);
  if (result != LY_SUCCESS) return result;
#endif
  return ly_ctx_set_options(*context, LY_CTX_DISABLE_SEARCHDIRS);
}

void keep_order(const ly_ctx *context) {
  const auto leave_to_user = [](lysc_node *node, void *, ly_bool *) {
    if ((node->nodetype & (LYS_LIST | LYS_LEAFLIST)) == 0) return LY_SUCCESS;
    node->flags = static_cast<uint16_t>((node->flags & ~LYS_ORDBY_SYSTEM) | LYS_ORDBY_USER);
    return LY_SUCCESS;
  };
  uint32_t index = 0;
  while (const lys_module *module = ly_ctx_get_module_iter(context, &index))
    if (module->compiled != nullptr) lysc_module_dfs_full(module, leave_to_user, nullptr);
}

ErrorPlace error_place(const ly_ctx *context) {
  ErrorPlace place;
  const ly_err_item *error = ly_err_last(context);
  if (error == nullptr) return place;
#if LY_VERSION_MAJOR >= 3
  const char *path = error->data_path != nullptr ? error->data_path : error->schema_path;
  if (path != nullptr) place.path = path;
  place.line = error->line;
#else
  // Schema location "PATH", data location "PATH", line number NUMBER. Each of them may be absent.
  const std::string_view text = error->path != nullptr ? error->path : "";
  const size_t end_of_path = text.rfind('"');
  if (!text.ends_with("\".")) place.line = std::strtoull(&text[text.find_last_of(' ') + 1], nullptr, 10);
  for (const std::string_view word : {"ata location \"", "chema location \""}) {
    const size_t found = text.find(word);
    if (found == std::string_view::npos) continue;
    const size_t begin = found + word.size();
    place.path = text.substr(begin, end_of_path - begin);
    break;
  }
#endif
  return place;
}

}  // namespace libyang
