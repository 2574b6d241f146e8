/// \file
/// What the server's <hello> tells of the YANG modules that it publishes.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "compiled_schema.hpp"

namespace ymap::netconf {

struct Announcement {
  std::vector<std::string> modules;  ///< names, in the order in which they were loaded
  std::string content_id;            ///< of all modules together (RFC 8525)
  /// yang-library, each module of YANG 1.0 (RFC 6020), and those of the data whatever their version.
  std::vector<std::string> capabilities;
};

/// Of the newest revision; empty for none.
std::string revision(const lys_module *module);

/// Of the modules in the context of `schema`.
Announcement announcement_of(const CompiledSchema &schema);

/// Tells whether an announcement still holds: of the library that brings modules of its own, and of the
/// texts of those of `modules` that have a file in `folders`. Nothing if the library cannot be told from
/// others.
std::optional<uint64_t> fingerprint(const device::ModelFolders &folders,
                                    std::span<const std::string_view> modules);

/// An announcement that was made when the program was built.
struct BuiltInAnnouncement {
  uint64_t fingerprint = 0;
  std::span<const std::string_view> modules = {};
  std::string_view content_id = {};
  std::span<const std::string_view> capabilities = {};
};
// By announcement_generator.cpp.
// The protocol's own module is announced with its features.
/// Of the OpenConfig model, its device being here or elsewhere.
extern const BuiltInAnnouncement kBuiltInAnnouncement;
extern const BuiltInAnnouncement kRemoteAnnouncement;
/// Of the device's own modules, without a candidate datastore and with one.
extern const BuiltInAnnouncement kNativeAnnouncement;
extern const BuiltInAnnouncement kNativeCandidateAnnouncement;

}  // namespace ymap::netconf
