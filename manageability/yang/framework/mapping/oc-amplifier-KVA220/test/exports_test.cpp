// The library's exported names, strong (T) and weak (W), its data objects (B, D) with their sizes, and the
// second names, against a list that is written out in full.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "scenario.hpp"

namespace ymap_test {
namespace {

struct Export {
  std::string name;
  std::string alias_of;
};

std::vector<Export> listed_exports(std::string &plain_list) {
  std::ifstream in(YMAP_TEST_DIR "/exports.txt");
  std::vector<Export> exports;
  for (std::string one; std::getline(in, one);) {
    const size_t equals = one.find(" = ");
    const std::string plain = one.substr(0, equals);
    plain_list += plain + "\n";
    exports.push_back(
        {plain.substr(plain.rfind(' ') + 1), equals == std::string::npos ? "" : one.substr(equals + 3)});
  }
  return exports;
}

// Lines of `nm -D`: "value [size] type name"; functions lose their size, versioned names their version.
std::string exports_of_library() {
  FILE *nm = popen("'" YMAP_NM "' -D -S --defined-only '" YMAP_PLUGIN "'", "r");
  std::set<std::pair<std::string, std::string>> found;
  std::array<char, 1024> buffer{};
  while (nm != nullptr && std::fgets(buffer.data(), buffer.size(), nm) != nullptr) {
    std::istringstream in(buffer.data());
    std::vector<std::string> words;
    for (std::string word; in >> word;) words.push_back(word);
    if (words.size() < 3) continue;
    std::string kind = words[words.size() - 2];
    if (kind != "T" && kind != "W") kind += " " + std::to_string(std::stoul(words[1], nullptr, 16));
    found.emplace(words.back().substr(0, words.back().find('@')), kind);
  }
  if (nm != nullptr) pclose(nm);
  std::string text;
  for (const auto &[name, kind] : found) text += kind + " " + name + "\n";
  return text;
}

TEST(Exports, AreTheListedOnesAndNoOthers) {
  std::string listed;
  ASSERT_EQ(listed_exports(listed).size(), 417U);
  EXPECT_EQ(exports_of_library(), listed);
}

TEST(Exports, SecondNamesShareTheEntryPointAndAllElseHasItsOwn) {
  std::string listed;
  std::map<void *, std::string> own;
  for (const Export &one : listed_exports(listed)) {
    if (!has_symbol(one.name)) {
      ADD_FAILURE() << one.name << " is missing";
    } else if (!one.alias_of.empty()) {
      EXPECT_EQ(symbol(one.name), symbol(one.alias_of)) << one.name;
    } else {
      const auto [other, fresh] = own.emplace(symbol(one.name), one.name);
      EXPECT_TRUE(fresh) << one.name << " is " << other->second;
    }
  }
}

// What a function makes of missing arguments.
enum class Shape { checked, silent, text, other };

Shape shape_of(const std::string &name) {
  for (const char *utility : {"print_data", "ots_ctrl", "check_", "ampli_key", "compare_path",
                              "add_ots_select_field", "controller_amp", "amp_key", "oc_interval_to_high"}) {
    if (name.starts_with(utility)) return Shape::other;
  }
  // No argument check at all: the leaf handler in front of it has made it.
  if (name == "state_actual_gain_tilt_interval_iatl_to_high") return Shape::other;
  const bool native = name.starts_with("ymap_no_");
  if (name.ends_with("duck_map_list") || (native && name.ends_with("duck_map_leaf"))) return Shape::silent;
  if (name.ends_with("_list_lvla_opticalamplifier_supervisorychannels_supervisorychannel"))
    return Shape::silent;
  if (name.starts_with(kPm + "list_lvla_performancemanagementhistory_opticssecond30optics"))
    return Shape::silent;
  for (const char *texts :
       {"_gain_range_to_low", "_enabled_to_low", "_gain_range_to_high", "_enabled_to_high"}) {
    if (name.ends_with(texts)) return Shape::text;
  }
  return Shape::checked;
}

TEST(Exports, EveryFunctionRefusesMissingArguments) {
  std::string listed;
  for (const Export &one : listed_exports(listed)) {
    const std::string target = one.alias_of.empty() ? one.name : one.alias_of;
    const Shape shape = shape_of(target);
    if (shape == Shape::other || !has_symbol(one.name)) continue;
    for (const bool node_missing : {true, false}) {
      Scenario scenario(YMAP_REQ_GET);
      scenario.recorder.view = View::full;
      scenario.recorder.self = target;
      vidl_yfw_datatree *node = node_missing ? nullptr : scenario.recorder.forest().plant("node");
      const std::string result = scenario.invoke(one.name, node, node_missing, shape == Shape::text);
      const std::string refusal = ">\nERR Invalid arguments passed!\nerror-path\n= ";
      EXPECT_EQ(result, shape == Shape::silent
                            ? "<\n= OK\n"
                            : refusal + (shape == Shape::text ? "NULL\n" : "INVALID_ARGS\n"))
          << one.name;
    }
  }
}

TEST(Exports, ControllerListIsInTheOrderOfTheAmplifiers) {
  const auto *list = static_cast<const char *const *>(symbol("controller_amp_ots_list"));
  EXPECT_STREQ(list[0], "Ots0/0/0/0");
  EXPECT_STREQ(list[1], "Ots0/0/0/0");
  EXPECT_STREQ(list[2], "Ots0/0/0/2");
  EXPECT_EQ(list[3], nullptr);
}

TEST(Exports, LibraryIsLetGoAndComesBackFresh) {
  {
    Scenario scenario;
    scenario.slots("pre", "bst");
  }
  ASSERT_EQ(Scenario::slot_texts(), "pre|bst");
  EXPECT_TRUE(unload_plugin());
  load_plugin();
  EXPECT_EQ(Scenario::slot_texts(), "NULL|NULL");
}

}  // namespace
}  // namespace ymap_test
