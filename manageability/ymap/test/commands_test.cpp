/// What the emulated device never does, and the small formats.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "datatree.hpp"
#include "openconfig_answer.hpp"
#include "printable.hpp"
#include "rpc_reply.hpp"
#include "table.hpp"
#include "xml_writer.hpp"
#include "ymap_types.h"

namespace ymap {
namespace {

constexpr const char *kName = "0/0-AMP-BST2";

/// An answer with one leaf of one amplifier's config, besides its names.
struct Leaf {
  const char *tag;
  const char *value;
  const char *line;     ///< of the text output; nullptr: left out
  const char *warning;  ///< its last words; nullptr: none
};

std::string text_of(const Answer &answer) {
  return print_table(answer.data, Terminal{});
}

class AnswerTest : public testing::Test {
 protected:
  vidl_yfw_datatree *add_amplifier(const char *key) {
    auto *top = tree_.add(tree_.root(), "optical-amplifier", YMAP_NS_OPENCONFIG);
    auto *entry =
        tree_.add(tree_.add(top, "amplifiers", YMAP_NS_OPENCONFIG), "amplifier", YMAP_NS_OPENCONFIG);
    if (key != nullptr) tree_.add(entry, "name", YMAP_NS_OPENCONFIG, key);
    return tree_.add(entry, "config", YMAP_NS_OPENCONFIG);
  }

  Schema schema_{YMAP_TEST_MODELS, "openconfig-optical-amplifier"};
  yfw::Datatree tree_;
};

TEST_F(AnswerTest, BadValuesAreLeftOutAndTheRestIsAnswered) {
  const std::vector<Leaf> leaves = {
      {"target-gain", "15.50", "15.50 dB", nullptr},
      {"target-gain", "loud", nullptr,
       "config/target-gain: Invalid 1. character of decimal64 value \"loud\"."},
      {"target-gain", "", nullptr, nullptr},
      {"enabled", "maybe", nullptr, "config/enabled: Invalid boolean value \"maybe\"."},
      {"gain-range", "EDFA", nullptr,
       "not derived from the base \"openconfig-optical-amplifier:GAIN_RANGE\"."},
      {"colour", "red", nullptr, "config/colour: the model has no such element"},
  };
  for (const auto &leaf : leaves) {
    SCOPED_TRACE(std::string(leaf.tag) + "=" + leaf.value);
    tree_ = yfw::Datatree();
    auto *config = add_amplifier(kName);
    tree_.add(config, "name", YMAP_NS_OPENCONFIG, kName);
    tree_.add(config, leaf.tag, YMAP_NS_OPENCONFIG, leaf.value);
    tree_.add(config, "target-gain-tilt", YMAP_NS_OPENCONFIG, "-1.50");
    const auto answer = openconfig_answer(schema_, tree_.root());
    const std::string prefix = std::string(kName) + " config/";
    EXPECT_EQ(text_of(answer),
              prefix + "name " + kName + "\n" +
                  (leaf.line == nullptr ? std::string() : prefix + leaf.tag + " " + leaf.line + "\n") +
                  prefix + "target-gain-tilt -1.50 dB\n");
    ASSERT_EQ(answer.warnings.size(), leaf.warning == nullptr ? 0U : 1U);
    if (leaf.warning != nullptr) {
      EXPECT_TRUE(answer.warnings[0].ends_with(leaf.warning)) << answer.warnings[0];
    }
  }
}

TEST_F(AnswerTest, EntriesWithoutKeyAndInvalidDataAreReported) {
  add_amplifier(nullptr);
  EXPECT_EQ(openconfig_answer(schema_, tree_.root()).warnings,
            std::vector<std::string>{"left out /openconfig-optical-amplifier:optical-amplifier/amplifiers/"
                                     "amplifier: the entry has no key"});
  tree_ = yfw::Datatree();
  tree_.add(add_amplifier(kName), "name", YMAP_NS_OPENCONFIG, "0/0-AMP-PRE0");
  auto answer = openconfig_answer(schema_, tree_.root());
  validate(schema_, answer);
  ASSERT_EQ(answer.warnings.size(), 1U);
  EXPECT_TRUE(answer.warnings[0].starts_with("the answer is not valid data: ")) << answer.warnings[0];
}

TEST(Formats, UtcTime) {
  EXPECT_EQ(utc_time(0), "1970-01-01T00:00:00Z");
  EXPECT_EQ(utc_time(1'795'384'800'123'999'999), "2026-11-22T22:00:00.123Z");
  EXPECT_EQ(utc_time(951'782'400'000'999'999), "2000-02-29T00:00:00Z");
}

TEST(Formats, Printable) {
  for (const auto &[text, shown] : std::vector<std::pair<std::string, std::string>>{
           {"plain\t\n", "plain\t\n"},
           {"\x1b[2J\x7f", "\\x1b[2J\\x7f"},
           {"\u00e4\u20ac\U0001f50c", "\u00e4\u20ac\U0001f50c"},
           {"\xff \xc3", "\\xff \\xc3"},
           {"\xc0\xaf", "\\xc0\\xaf"},                    // longer than need be
           {"\xed\xa0\x80", "\\xed\\xa0\\x80"},           // a surrogate
           {"\xc2\x9b", "\\xc2\\x9b"},                    // a control character of the upper half
           {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},  // above the last character
       })
    EXPECT_EQ(printable(text), shown);
}

TEST(Formats, XmlKeepsWhatItQuotes) {
  for (const auto &[layout, expected] : std::vector<std::pair<Layout, std::string>>{
           {Layout::indented,
            "<a b=\"&lt;&quot;&amp;&gt;&#10;&#9;\">\n  <c>1 &lt; 2 &amp; \"3\" &gt; 2&#13;\n\t</c>\n  "
            "<d/>\n</a>\n"},
           {Layout::compact,
            "<a b=\"&lt;&quot;&amp;&gt;&#10;&#9;\"><c>1 &lt; 2 &amp; \"3\" &gt; 2&#13;\n\t</c><d/></a>"},
       }) {
    XmlWriter xml(layout);
    xml.open("a", {{"b", "<\"&>\n\t"}});
    xml.leaf("c", "1 < 2 & \"3\" > 2\r\n\t");
    xml.raw(layout == Layout::compact ? "<d/>" : "<d/>\n");
    xml.close();
    EXPECT_EQ(xml.text(), expected);
  }
}

TEST(Formats, ErrorPathKeepsKeysWhole) {
  for (const auto &[key, shown] : std::vector<std::pair<std::string, std::string>>{
           {"'a/b[1]\"'", "'a/b[1]\"'"},
           {"\"a/b']\"", "\"a/b']\""},
           {"\"a'\"]/b\"", "concat(\"a'\", '\"', \"]/b\")"},
       }) {
    const auto path =
        "/openconfig-optical-amplifier:optical-amplifier/amplifiers/amplifier[name=" + key + "]/config";
    const auto text = error_reply({}, {.path = path}, Layout::indented);
    EXPECT_NE(text.find("/oc-opt-amp:amplifiers/oc-opt-amp:amplifier[oc-opt-amp:name=" + shown +
                        "]/oc-opt-amp:config</error-path>"),
              std::string::npos)
        << text;
  }
}

}  // namespace
}  // namespace ymap
