/// \file
/// What differs between the versions of libyang that this project is built with: 2.1 (Debian 12), 3.12
/// (Debian 13) and 6.4 (testing). Nothing else asks for a version. LY_VERSION_MAJOR is the number of the
/// binary interface, the one number that all of them tell: 2, 3 and 5.
#pragma once

#include <libyang/libyang.h>
#include <libyang/plugins_types.h>
#include <libyang/version.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace libyang {

#if LY_VERSION_MAJOR >= 5

/// For lyd_print_mem(): the node and the siblings behind it. 5 has another name for it.
inline constexpr uint32_t kPrintSiblings = LYD_PRINT_SIBLINGS;
/// The length of a text as an argument: 32 bits from 5 on.
using Length = uint32_t;
/// What a copy is linked below: any node from 5 on.
using Parent = lyd_node;

#else

inline constexpr uint32_t kPrintSiblings = LYD_PRINT_WITHSIBLINGS;
using Length = size_t;
using Parent = lyd_node_inner;

#endif

/// The items of one of libyang's sized arrays, which may be null. 5 has other names for them.
template <typename Item>
std::span<Item> items(Item *array) {
#if LY_VERSION_MAJOR >= 5
  return {array, LYA_COUNT(array)};
#else
  return {array, LY_ARRAY_COUNT(array)};
#endif
}

/// Whether a context describes itself by ietf-yang-library and the modules which that imports.
enum class YangLibrary { absent, present };

/// ly_ctx_new() with no folder to find modules in: its import callback gives them.
LY_ERR new_context(ly_ctx **context, YangLibrary library = YangLibrary::absent);

/// Has the lists of all modules keep the order in which their entries were made, and take entries at a place
/// that is named. From 3 on libyang would sort them by their keys where YANG leaves the order to the system.
/// For when the last module is loaded.
void keep_order(const ly_ctx *context);

/// lyd_dup_single() below `parent`, which may be null.
inline LY_ERR duplicate(const lyd_node *node, lyd_node *parent, uint32_t options, lyd_node **copy) {
  return lyd_dup_single(node, reinterpret_cast<Parent *>(parent), options, copy);
}

/// lyd_find_sibling_val() by a list's keys, as a predicate, or by nothing.
inline LY_ERR find_sibling(const lyd_node *siblings, const lysc_node *node, const std::string &keys,
                           lyd_node **match) {
  return lyd_find_sibling_val(siblings, node, keys.empty() ? nullptr : keys.c_str(),
                              static_cast<Length>(keys.size()), match);
}

/// The data node of `module` below `parent`, at the top if that is null; null if there is none. 5 wants the
/// context as well.
inline const lysc_node *find_child(const lysc_node *parent, const lys_module *module, std::string_view name) {
  const auto length = static_cast<Length>(name.size());
#if LY_VERSION_MAJOR >= 5
  return lys_find_child(module->ctx, parent, module, nullptr, 0, name.data(), length, 0);
#else
  return lys_find_child(parent, module, name.data(), length, 0, 0);
#endif
}

/// lyd_value_validate() of a value as JSON has it, beside no data: LY_EINCOMPLETE for a leafref that might
/// hold. From 5 on the schema node tells the context. `canonical` is for lydict_remove().
inline LY_ERR check_value(const lysc_node *leaf, std::string_view value, const char **canonical) {
  const auto length = static_cast<Length>(value.size());
#if LY_VERSION_MAJOR >= 5
  return lyd_value_validate(leaf, value.data(), length, nullptr, nullptr, canonical);
#else
  return lyd_value_validate(leaf->module->ctx, leaf, value.data(), length, nullptr, nullptr, canonical);
#endif
}

/// The module that a prefix stands for in XML (lyd_node_opaq::val_prefix_data); null if for none. 5 gives the
/// function for it another name.
inline const lys_module *module_of_prefix(const lysc_node *leaf, std::string_view prefix,
                                          const void *xml_prefixes) {
  const auto length = static_cast<Length>(prefix.size());
#if LY_VERSION_MAJOR >= 5
  return lys_find_module(leaf->module->ctx, leaf, prefix.data(), length, LY_VALUE_XML, xml_prefixes);
#else
  return lyplg_type_identity_module(leaf->module->ctx, leaf, prefix.data(), length, LY_VALUE_XML,
                                    xml_prefixes);
#endif
}

/// Where the last error of a context is. How much of it is known for one and the same error differs.
struct ErrorPlace {
  std::string path;   ///< of the data, or of the schema where there are no data; empty if unknown
  uint64_t line = 0;  ///< of the input; 0 if unknown
};
/// 2 tells it in a sentence, later ones in fields.
ErrorPlace error_place(const ly_ctx *context);

}  // namespace libyang
