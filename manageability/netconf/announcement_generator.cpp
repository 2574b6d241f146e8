// Writes what the <hello> says of YANG modules as C++, so that a session need not compile them to begin.
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "announcement.hpp"
#include "protocol_modules.hpp"
#include "rpc_error.hpp"

namespace ymap::netconf {
namespace {

void write_texts(const std::string &name, const std::vector<std::string> &texts, std::ostream &out) {
  out << "constexpr std::string_view " << name << "[] = {\n";
  for (const auto &text : texts) out << "    \"" << text << "\",\n";
  out << "};\n";
}

/// `name` is that of the record, as announcement.hpp has it.
void write_announcement(const std::filesystem::path &models, const std::vector<std::string> &modules,
                        const Companions &companions, const std::string &name, std::ostream &out) {
  const auto made = announcement_of(CompiledSchema(models, modules, companions));
  const std::vector<std::string_view> names(made.modules.begin(), made.modules.end());
  write_texts(name + "Modules", made.modules, out);
  write_texts(name + "Capabilities", made.capabilities, out);
  out << "constinit const BuiltInAnnouncement " << name << " = {"
      << fingerprint(companions.folders(models), names).value_or(0) << "U, " << name << "Modules, \""
      << made.content_id << "\", " << name << "Capabilities};\n\n";
}

void generate(const std::filesystem::path &models, const std::string &module, const char *file) {
  std::ofstream out(file);
  out << "#include \"announcement.hpp\"\n\nnamespace ymap::netconf {\n\n";
  write_announcement(models, {module}, managed_modules(managed_features(true)), "kBuiltInAnnouncement", out);
  write_announcement(models, {module}, managed_modules({}), "kRemoteAnnouncement", out);
  write_announcement(models, native_modules(), protocol_modules({}), "kNativeAnnouncement", out);
  write_announcement(models, native_modules(), protocol_modules({.candidate = Candidate::present}),
                     "kNativeCandidateAnnouncement", out);
  out << "}  // namespace ymap::netconf\n";
  if (!out.flush()) throw UsageError(std::string(file) + " cannot be written");
}

}  // namespace
}  // namespace ymap::netconf

int main(int argc, char **argv) {
  if (argc != 4) {
    std::cerr << "usage: announcement_generator FOLDER-OF-MODELS MODULE OUTPUT\n";
    return 2;
  }
  try {
    ymap::netconf::generate(argv[1], argv[2], argv[3]);
    return 0;
  } catch (const std::exception &error) {
    std::cerr << "announcement_generator: " << error.what() << "\n";
    return 2;
  }
}
