// What is stored after edits that touch some entries: the same as if everything had been printed anew.

#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include <cstdlib>
#include <memory>
#include <random>

#include "folder.hpp"
#include "libyang_versions.hpp"
#include "running_text.hpp"
#include "support.hpp"

namespace device::test {
namespace {

/// A configuration as libyang's own printer has it.
std::string printed_by_libyang(const Schema &schema, const std::string &text) {
  lyd_node *tree = nullptr;
  EXPECT_EQ(lyd_parse_data_mem(schema.context(), text.c_str(), LYD_JSON, LYD_PARSE_STRICT | LYD_PARSE_ONLY, 0,
                               &tree),
            LY_SUCCESS)
      << schema.error_message();
  const Tree owner(tree);
  if (tree == nullptr) return "{}\n";
  char *printed = nullptr;
  lyd_print_mem(&printed, tree, LYD_JSON, libyang::kPrintSiblings);
  const std::unique_ptr<char, decltype(&std::free)> text_owner(printed, &std::free);
  return printed;
}

class RunningTextTest : public testing::Test {
 protected:
  void edit(const std::string &request_text) { device_.edit(request(request_text.c_str())); }
  /// What is stored is laid out as libyang has it, and the device reads it as it holds it.
  void expect_sound(const std::string &what) {
    const auto text = workplace_.running_text();
    ASSERT_EQ(text, printed_by_libyang(schema_, text)) << what;
    const char *all = "if:interface-configurations if:global-interface-configuration";
    ASSERT_EQ(read(device_, all), read(Device(workplace_.path(), YMAP_TEST_MODELS, kNow), all)) << what;
  }

  const LogScope log_;
  const Workplace workplace_;
  const Schema schema_{YMAP_TEST_MODELS};
  Device device_{workplace_.path(), YMAP_TEST_MODELS, kNow};
};

std::string interface(int number, const std::string &rest, const std::string &operation = "") {
  return "interface-configuration" + operation + "{active=act interface-name=T" + std::to_string(number) +
         " " + rest + "}";
}

TEST_F(RunningTextTest, EditsAtRandomLeaveWhatAWholePrintWould) {
  std::mt19937 random(12);
  const auto any = [&random](int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); };
  for (int round = 0; round < 300; ++round) {
    std::string entries;
    for (int i = 0; i <= any(4); ++i) {
      const auto number = any(150);
      switch (any(5)) {
        case 0:
          entries += interface(number, "", "!remove");
          break;
        case 1:
          entries += interface(number, "description='new \"" + std::to_string(round) + "\\' shutdown=''",
                               "!replace");
          break;
        case 2:
          entries += interface(number, "mtus{mtu{owner=a mtu=1500} mtu{owner=b mtu=9000}}");
          break;
        default:
          entries += interface(number, "cfg:ots{ots-egress-amplifier-gain=" + std::to_string(100 + any(50)) +
                                           " ots-egress-osri=true} if:description='x'");
      }
      entries += ' ';
    }
    edit("if:interface-configurations{" + entries + "}");
    if (round % 25 == 0) expect_sound("round " + std::to_string(round));
  }
  expect_sound("at the end");
}

TEST_F(RunningTextTest, EntriesKeepTheirPlacesAndNewOnesComeLast) {
  const auto order = [this] {
    const auto text = workplace_.running_text();
    std::string names;
    for (size_t at = 0; (at = text.find("\"interface-name\": \"", at)) != std::string::npos;) {
      at += 19;
      names += text.substr(at, text.find('"', at) - at) + " ";
    }
    return names;
  };
  const auto entry = [](const char *name, const char *rest) {
    return "if:interface-configurations{interface-configuration" + std::string(name) + rest + "}";
  };
  EXPECT_EQ(order(), "MgmtEth0/RP0/CPU0/0 Loopback0 Ots0/0/0/0 Ots0/0/0/1 Ots0/0/0/2 Optics0/0/0/1 ");
  edit(entry("{active=act interface-name=Loopback0 ", "description=same}"));
  edit(entry("{active=act interface-name=New1}", " interface-configuration{active=act interface-name=New2}"));
  EXPECT_EQ(order(),
            "MgmtEth0/RP0/CPU0/0 Loopback0 Ots0/0/0/0 Ots0/0/0/1 Ots0/0/0/2 Optics0/0/0/1 New1 New2 ");
  edit(entry("!replace{active=act interface-name=Ots0/0/0/1}", ""));
  edit(entry("!delete{active=act interface-name=Loopback0}", ""));
  EXPECT_EQ(order(), "MgmtEth0/RP0/CPU0/0 Ots0/0/0/0 Ots0/0/0/2 Optics0/0/0/1 New1 New2 Ots0/0/0/1 ");
  expect_sound("after moves");
}

TEST_F(RunningTextTest, WhatIsNoEntryAndTheLastEntryAreStoredToo) {
  edit("if:global-interface-configuration{link-status=disable}");
  expect_sound("a leaf beside the list");
  edit("if:global-interface-configuration!remove if:interface-configurations{" + interface(1, "") + "}");
  expect_sound("both at once");
  edit("if:interface-configurations!replace{" + interface(2, "") + "}");
  expect_sound("a single entry");
  edit("if:interface-configurations{" + interface(2, "", "!delete") + "}");
  EXPECT_EQ(workplace_.running_text(), "{}\n");
  edit("if:interface-configurations{" + interface(3, "") + "}");
  expect_sound("the first entry again");
}

TEST_F(RunningTextTest, RefusedEditsLeaveNoTrace) {
  edit("if:interface-configurations{" + interface(1, "description=kept") + "}");
  const auto before = workplace_.running_text();
  for (const char *wrong :
       {"if:interface-configurations{interface-configuration{active=act interface-name=T1 description=lost "
        "dampening{suppress-threshold=10 reuse-threshold=20}}}",
        "if:interface-configurations{interface-configuration!delete{active=act interface-name=T1} "
        "interface-configuration!delete{active=act interface-name=T9}}"})
    EXPECT_THROW(edit(wrong), EditError) << wrong;
  edit("if:interface-configurations{" + interface(1, "description=kept") + "}");
  EXPECT_EQ(workplace_.running_text(), before);
}

/// Edits by entry are validated entry by entry: nothing in the modules may reach from one to another.
TEST_F(RunningTextTest, NoConstraintReachesOutOfAnEntry) {
  const auto *list = reinterpret_cast<const lysc_node_list *>(schema_.interfaces());
  EXPECT_EQ(list->uniques, nullptr);
  EXPECT_EQ(list->min, 0U);
  EXPECT_EQ(list->max, UINT32_MAX);
  const auto check = [](lysc_node *node, void *, ly_bool *) {
    const std::string where = node->name;
    EXPECT_EQ(lysc_node_when(node), nullptr) << where;
    for (const auto &must : libyang::items(lysc_node_musts(node))) {
      const std::string expression = lyxp_get_expr(must.cond);
      EXPECT_EQ(expression.find("../../"), std::string::npos) << where;
      EXPECT_TRUE(expression.starts_with('.')) << where;
      EXPECT_EQ(expression.find(" /"), std::string::npos) << where;
    }
    if ((node->nodetype & LYD_NODE_TERM) != 0) {
      EXPECT_NE(reinterpret_cast<lysc_node_leaf *>(node)->type->basetype, LY_TYPE_LEAFREF) << where;
    }
    return LY_SUCCESS;
  };
  lysc_tree_dfs_full(schema_.interfaces()->parent, check, nullptr);
}

TEST_F(RunningTextTest, VersionsAreToldApartWithoutTheClock) {
  const auto gain = [](int value) {
    return "if:interface-configurations{interface-configuration{active=act interface-name=Ots0/0/0/0 "
           "cfg:ots{ots-ingress-amplifier-gain=" +
           std::to_string(value) + "}}}";
  };
  const Folder folder(workplace_.path());
  edit(gain(101));
  auto first = folder.version();
  ASSERT_TRUE(first.generation);
  // Written by another process, and by chance with the same inode, size and times.
  Device(workplace_.path(), YMAP_TEST_MODELS, kNow).edit(request(gain(102).c_str()));
  const auto second = folder.version();
  EXPECT_NE(first.generation, second.generation);
  first.stamp = second.stamp;
  EXPECT_NE(first, second);
  EXPECT_EQ(folder.version(), second);

  // A writer that died in the middle leaves an odd mark: then nobody relies on what he has read before.
  const auto mark = [this](const std::string &text) { workplace_.write("running.lock", text); };
  mark("generation 00000000000000000077\nlabel 00000000000000000000\n");
  EXPECT_FALSE(folder.version().generation);
  edit(gain(103));
  EXPECT_EQ(folder.version().generation, 80U);
  // Of before there were marks, or damaged.
  for (const char *text :
       {"in use\n", "generation 1\n", "generation 0000000000000000000x\nlabel 00000000000000000000\n"}) {
    mark(text);
    EXPECT_FALSE(folder.version().generation) << text;
    edit(gain(104));
    EXPECT_EQ(folder.version().generation, 2U) << text;
  }
}

/// A label vouches for the text that it was made of, and for no other.
TEST_F(RunningTextTest, WhatPeopleWroteIsValidatedWhateverTheMarkSays) {
  edit("if:interface-configurations{" + interface(1, "dampening{reuse-threshold=20 suppress-threshold=30}") +
       "}");
  auto text = workplace_.running_text();
  text.replace(text.find("\"suppress-threshold\": 30"), 24, "\"suppress-threshold\": 10");
  workplace_.write("running.json", text);
  EXPECT_NE(folder_error([&] {
              Device(workplace_.path(), YMAP_TEST_MODELS, kNow);
            }).find("suppress-threshold must be above reuse-threshold"),
            std::string::npos);
}

}  // namespace
}  // namespace device::test
