// Runs the suite over the recording framework.
#include <gtest/gtest.h>

#include "scenario.hpp"

int main(int argc, char **argv) {
  testing::InitGoogleTest(&argc, argv);
  const int failed = RUN_ALL_TESTS();
  if (!ymap_test::unload_plugin()) return 1;
  return failed;
}
