/// \file
/// The IETF's modules that server and client speak.
#pragma once

#include <filesystem>
#include <initializer_list>

struct ly_ctx;

namespace ymap::netconf {

/// Where they are installed; environment YMAP_IETF_MODULES. Throws UsageError if there is no such folder.
std::filesystem::path protocol_module_folder();

/// A context that looks for modules in `folders` only; the caller destroys it. Throws UsageError.
ly_ctx *make_context(std::initializer_list<std::filesystem::path> folders);

/// Throw UsageError.
void load_module(ly_ctx *context, const char *name, const char **features = nullptr);
void load_protocol_modules(ly_ctx *context);

}  // namespace ymap::netconf
