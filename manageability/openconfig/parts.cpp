// Finds the plug-in, the models and the user's device folder.
#include "parts.hpp"

#include <cstdlib>
#include <string>
#include <system_error>

#include "plugin.hpp"
#include "rpc_error.hpp"

namespace ymap {
namespace {

namespace fs = std::filesystem;

/// The variable's text; an empty one counts as none.
const char *environment(const char *name) {
  const char *value = std::getenv(name);
  return value == nullptr || *value == '\0' ? nullptr : value;
}

fs::path existing(const char *variable, const fs::path &otherwise, const char *what) {
  const char *named = environment(variable);
  fs::path path = named == nullptr ? otherwise : fs::path(named);
  std::error_code error;
  if (fs::exists(path, error)) return path;
  throw UsageError(std::string(what) + " " + path.string() + " does not exist; " +
                   (named == nullptr ? "install it there or name it in " : "it is named in ") + variable);
}

// XDG Base Directory rules: a relative path in XDG_STATE_HOME is ignored.
fs::path state_home() {
  if (const char *named = environment("XDG_STATE_HOME"); named != nullptr && fs::path(named).is_absolute())
    return named;
  if (const char *home = environment("HOME")) return fs::path(home) / ".local" / "state";
  throw UsageError("no folder for the device: name one with --device DIR, or set HOME");
}

const fs::path kPrograms = fs::path(YMAP_LIBEXECDIR) / "ymap";

/// What the installation is below.
fs::path prefix_of_installation() {
  std::error_code error;
  const auto executable = fs::read_symlink("/proc/self/exe", error);
  if (error) throw UsageError("the tool cannot find its own place: " + error.message());
  auto prefix = executable.parent_path();
  // Up from its folder as many steps as that is down, be it the users' programs' or ours.
  const auto *folder = prefix.native().ends_with(kPrograms.native()) ? kPrograms.c_str() : YMAP_BINDIR;
  for ([[maybe_unused]] const auto &step : fs::path(folder)) prefix = prefix.parent_path();
  return prefix;
}

}  // namespace

fs::path find_program(const char *name) {
  auto path = prefix_of_installation() / kPrograms / name;
  std::error_code error;
  if (fs::exists(path, error)) return path;
  throw UsageError("this installation is without " + std::string(name) + ", which would be " + path.string());
}

Parts find_parts() {
  const auto prefix = prefix_of_installation();
  return {existing("YMAP_PLUGIN", prefix / YMAP_LIBDIR / yfw::optical_amplifier().library, "mapping plug-in"),
          existing("YMAP_MODELS", prefix / YMAP_DATADIR / "ymap" / "models", "folder of YANG modules")};
}

fs::path device_folder(const fs::path &named) {
  std::error_code error;
  if (!named.empty()) {
    if (fs::is_directory(named, error)) return named;
    throw UsageError("device folder " + named.string() + " " +
                     (error ? "cannot be used: " + error.message() : "is no folder") +
                     "; make it with mkdir to get a new device");
  }
  auto folder = state_home() / "ymap" / "device";
  if (fs::create_directories(folder, error)) fs::permissions(folder, fs::perms::owner_all, error);
  if (error) throw UsageError("device folder " + folder.string() + " cannot be made: " + error.message());
  return folder;
}

}  // namespace ymap
