// The table of the module that is part of the program, and what it judges without libyang.
#include "schema.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "announcement.hpp"
#include "built_in_schema.hpp"
#include "libyang_versions.hpp"
#include "protocol_modules.hpp"

namespace ymap {
namespace {

constexpr const char *kModule = "openconfig-optical-amplifier";

std::string shown(std::span<const SchemaNode> siblings, const SchemaNode *parent, int level = 0) {
  std::string text;
  for (const auto &node : siblings) {
    EXPECT_EQ(node.parent, parent) << node.name;
    text.append(static_cast<std::size_t>(level), ' ').append(node.name).append(" ").append(node.units);
    for (const auto number :
         {static_cast<int64_t>(node.kind), int64_t{node.is_config}, int64_t{node.is_key},
          static_cast<int64_t>(node.type), int64_t{node.fraction_digits}, node.least, node.most})
      text += " " + std::to_string(number);
    for (const auto word : node.words) text.append(" ").append(word);
    text += "\n" + shown(node.children, &node, level + 1);
  }
  return text;
}

class SchemaTest : public testing::Test {
 protected:
  const SchemaNode *leaf(const std::string &name) const {
    const SchemaNode *node = nullptr;
    for (const char *step : {"optical-amplifier", "amplifiers", "amplifier", "config"})
      node = schema_.child(node, step);
    return schema_.child(node, name);
  }

  const CompiledSchema compiled_{YMAP_TEST_MODELS, {kModule}};
  const Schema schema_{YMAP_TEST_MODELS, kModule};
};

TEST_F(SchemaTest, WhatIsBuiltInIsWhatLibyangMakesOfTheModule) {
  const OwnedSchemaTable own(compiled_.module());
  EXPECT_EQ(shown(kBuiltInSchema.table.tops, nullptr), shown(own.table().tops, nullptr));
  EXPECT_EQ(kBuiltInSchema.table.module, own.table().module);
  EXPECT_EQ(kBuiltInSchema.table.ns, own.table().ns);
  EXPECT_EQ(kBuiltInSchema.table.prefix, own.table().prefix);
}

TEST_F(SchemaTest, NodesAreWhatTheModuleSays) {
  const auto *gain = leaf("target-gain");
  EXPECT_TRUE(gain->is_leaf() && gain->is_config && !gain->is_key);
  EXPECT_EQ(gain->units, "dB");
  EXPECT_EQ(gain->fraction_digits, 2);
  EXPECT_EQ(gain->least, 0);
  const auto *entry = gain->parent->parent;
  EXPECT_TRUE(entry->is_list() && entry->children.front().is_key);
  EXPECT_EQ(entry->children.front().type, SchemaNode::Type::text);
  const auto *state = schema_.child(schema_.child(entry, "state"), "target-gain");
  EXPECT_TRUE(state->is_leaf() && !state->is_config);
  EXPECT_EQ(leaf("gain-range")->words.size(), 4U);
  EXPECT_EQ(leaf("enabled")->words.front(), "true");
  EXPECT_EQ(schema_.child(entry, "target-gain"), nullptr);
}

/// Whatever the table says of a value, libyang says the same: by a table of words, and by all that is like
/// them.
TEST_F(SchemaTest, ValuesAreJudgedAsLibyangDoes) {
  const std::string_view ns = schema_.ns();
  for (const char *name : {"name", "target-gain", "target-gain-tilt", "enabled", "gain-range", "type"}) {
    const auto *node = leaf(name);
    const lysc_node *same = nullptr;
    for (const char *step : {"optical-amplifier", "amplifiers", "amplifier", "config", name})
      same = libyang::find_child(same, compiled_.module(), step);
    ASSERT_NE(same, nullptr);
    for (const char *value : {"",
                              "0",
                              "0.0",
                              "-0",
                              "-0.01",
                              "15",
                              "15.5",
                              "15.50",
                              "15.505",
                              "015",
                              "+15",
                              "15.",
                              ".5",
                              "1e3",
                              " 15",
                              "15 ",
                              "--15",
                              "1-5",
                              "92233720368547758.07",
                              "92233720368547758.08",
                              "999999999999.99",
                              "-999999999999.99",
                              "1000000000000",
                              "true",
                              "false",
                              "True",
                              "1",
                              "LOW_GAIN_RANGE",
                              "EDFA",
                              "oc:LOW_GAIN_RANGE",
                              " oc:LOW_GAIN_RANGE",
                              "oc:",
                              ":EDFA",
                              "oc:oc:EDFA",
                              "openconfig-optical-amplifier:EDFA",
                              "a name",
                              "a\tb",
                              "\u00e4",
                              "\x7f"}) {
      for (const auto &prefix_ns :
           std::vector<std::optional<std::string_view>>{std::nullopt, ns, "", "urn:x"}) {
        const auto by_table = schema_.check_value(node, value, prefix_ns);
        const auto by_libyang = check_value(same, value, prefix_ns);
        EXPECT_EQ(by_table.text, by_libyang.text)
            << name << "=" << value << " " << prefix_ns.value_or("none");
        EXPECT_EQ(by_table.reason, by_libyang.reason) << name << "=" << value;
        EXPECT_EQ(by_table.expected, by_libyang.expected) << name << "=" << value;
      }
    }
  }
}

/// A module that is not the one which the program was built with.
TEST_F(SchemaTest, AnotherModuleIsCompiled) {
  const std::filesystem::path folder = testing::TempDir() + "schema_test." + std::to_string(::getpid());
  std::filesystem::copy(YMAP_TEST_MODELS, folder);
  const auto file = folder / (std::string(kModule) + "@2019-12-06.yang");
  std::string text = device::ModelFolders({folder}).text(kModule).value();
  const std::string known = "range \"0..max\"";
  text.replace(text.find(known), known.size(), "range \"0..3\"  ");
  std::ofstream(file, std::ios::trunc) << text;
  const Schema other(folder, kModule);
  EXPECT_TRUE(schema_.check_value(leaf("target-gain"), "4").text);
  const SchemaNode *node = nullptr;
  for (const char *step : {"optical-amplifier", "amplifiers", "amplifier", "config", "target-gain"})
    node = other.child(node, step);
  EXPECT_FALSE(other.check_value(node, "4").text);
  EXPECT_TRUE(other.check_value(node, "3").text);
  std::filesystem::remove_all(folder);
}

TEST(Announcement, WhatIsBuiltInIsWhatTheModulesSay) {
  const auto companions = netconf::managed_modules(netconf::managed_features(true));
  const auto made = netconf::announcement_of(CompiledSchema(YMAP_TEST_MODELS, {kModule}, companions));
  const auto &known = netconf::kBuiltInAnnouncement;
  EXPECT_EQ(std::vector<std::string>(known.capabilities.begin(), known.capabilities.end()),
            made.capabilities);
  EXPECT_EQ(known.content_id, made.content_id);
  const auto now = netconf::fingerprint(companions.folders(YMAP_TEST_MODELS), known.modules);
  EXPECT_EQ(now, std::optional(known.fingerprint));
  // Of other texts it is another one.
  EXPECT_NE(netconf::fingerprint(device::ModelFolders({"/nowhere"}), known.modules), now);
}

}  // namespace
}  // namespace ymap
