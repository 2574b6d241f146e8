// The plug-in linked with strong_handlers.cpp: its walkers call the handlers written by hand.

#include <gtest/gtest.h>

#include "case_file.hpp"
#include "scenario.hpp"

namespace ymap_test {
namespace {

class Overridden : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(unload_plugin());
    load_plugin(YMAP_OVERRIDDEN_PLUGIN);
  }
  void TearDown() override { EXPECT_TRUE(unload_plugin()); }
};

TEST_F(Overridden, HandlersAreCalled) {
  const std::filesystem::path file = YMAP_TEST_DIR "/overridden/walks.txt";
  for (const Case &one : read_cases(file)) EXPECT_EQ(run_case(one), one.expected) << one.place;
}

}  // namespace
}  // namespace ymap_test
