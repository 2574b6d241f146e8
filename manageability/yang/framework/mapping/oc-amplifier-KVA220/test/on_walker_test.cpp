// What the walkers of the OpenConfig direction decide by numbers: keys of an entry, depth of the expansion
// stack.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "scenario.hpp"

namespace ymap_test {
namespace {

TEST(OnWalker, KeyRuleByRequestType) {
  struct Row {
    const char *keys;
    bool keyed_1;  ///< accepted in types 1 and 15
    bool keyed_8;
    bool other;
  };
  const Row rows[] = {
      {"name=0/0-AMP-BST2", true, true, true},
      {"config{enabled=true}", false, false, true},
      {"name config{enabled=true}", false, false, true},
      {"name=0/0-AMP-BST2 name", false, false, false},
      {"name=0/0-AMP-BST2 name=0/0-AMP-PRE0", false, false, false},
      {"name name", false, false, false},
  };
  for (const Row &row : rows) {
    for (const uint32_t type :
         {YMAP_REQ_EDIT, YMAP_REQ_KEYED_15, YMAP_REQ_KEYED_8, 2U, YMAP_REQ_GET_CONFIG, YMAP_REQ_GET}) {
      const bool accepted = type == 1 || type == 15 ? row.keyed_1 : type == 8 ? row.keyed_8 : row.other;
      Scenario scenario(type);
      scenario.recorder.view = View::walk;
      const std::string outcome =
          scenario.call(kOn + "lvla_opticalamplifier",
                        std::string("optical-amplifier{amplifiers{amplifier{") + row.keys + "}}}");
      EXPECT_EQ(outcome.find("ERR List key node error.") == std::string::npos, accepted)
          << row.keys << " in type " << type << "\n"
          << outcome;
      EXPECT_EQ(outcome.find("leafref") != std::string::npos,
                (type == 1 || type == 8 || type == 15) && std::string(row.keys).starts_with("name"));
    }
  }
}

TEST(OnWalker, OnlyTheDepthNotedBeforeIsCutTo16Bits) {
  for (const size_t depth : {65535U, 65536U}) {
    Scenario scenario(YMAP_REQ_EDIT);
    vidl_yfw_datatree *holder = scenario.recorder.forest().plant("x{amplifier{name=0/0-AMP-BST2}}");
    scenario.recorder.stack().assign(depth, {holder->subtrees, 1, nullptr});
    const std::string outcome = scenario.call(kOn + "lvla_opticalamplifier",
                                              "optical-amplifier{amplifiers{amplifier{name=0/0-AMP-BST2}}}");
    EXPECT_EQ(outcome.find("\npeak\n") != std::string::npos, depth == 65536U) << outcome;
  }
}

// ---- Dispatch by tag ----

struct Container {
  std::string place;  ///< tree around the child, `%` in its place
  std::string name;   ///< of its leaf wrappers, before the leaf's word
  std::string tags;
};

std::vector<Container> all_containers() {
  const std::string amplifier = "optical-amplifier{amplifiers{amplifier{name=0/0-AMP-BST2 ";
  const std::string channel = "optical-amplifier{supervisory-channels{supervisory-channel{";
  const std::string lvla = "lvla_opticalamplifier_";
  const std::string config =
      "name type target-gain min-gain max-gain target-gain-tilt gain-range amp-mode target-output-power "
      "max-output-power enabled fiber-type-profile";
  std::vector<Container> all{
      {amplifier + "config{%}}}}", lvla + "config_", config},
      {amplifier + "state{%}}}}", lvla + "state_", config + " component ingress-port egress-port"},
      {channel + "config{%}}}}", lvla + "config_", "interface"},
      {channel + "state{%}}}}", lvla + "state_", "interface output-frequency"},
  };
  const std::string statistics = "instant avg min max interval min-time max-time";
  for (const char *word : {"actual-gain", "actual-gain-tilt", "input-power-total", "input-power-c-band",
                           "input-power-l-band", "output-power-total", "output-power-c-band",
                           "output-power-l-band", "laser-bias-current", "optical-return-loss"})
    all.push_back({amplifier + "state{" + word + "{%}}}}}", lvla + word + "_", statistics});
  for (const char *word : {"input-power", "output-power"})
    all.push_back({channel + "state{" + word + "{%}}}}}", lvla + word + "_", statistics});
  all.push_back(
      {channel + "state{laser-bias-current{%}}}}}", "lvlb_opticalamplifier_laser-bias-current_", statistics});
  return all;
}

// Which handler a wrapper calls is in the golden read of all.
TEST(OnWalker, EveryTagReachesItsWrapper) {
  for (const Container &container : all_containers()) {
    std::istringstream tags(container.tags);
    for (std::string tag; tags >> tag;) {
      Scenario scenario(YMAP_REQ_GET);
      scenario.recorder.view = View::walk;
      std::string tree = container.place;
      tree.replace(tree.find('%'), 1, tag);
      const std::string outcome = scenario.call(kOn + "lvla_opticalamplifier", tree);
      std::string wrapper = container.name + tag;
      std::erase(wrapper, '-');
      EXPECT_NE(outcome.find("> on:" + wrapper + "\n"), std::string::npos) << tree << "\n" << outcome;
    }
  }
}

}  // namespace
}  // namespace ymap_test
