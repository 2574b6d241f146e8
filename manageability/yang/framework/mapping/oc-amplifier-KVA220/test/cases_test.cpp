// Every scenario file of cases/, written by hand, and of golden/, whole walks. YMAP_UPDATE_GOLDEN=1 in the
// environment writes the latter anew; read the difference before keeping it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "case_file.hpp"
#include "scenario.hpp"

namespace ymap_test {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> files_of(const std::string &folder) {
  std::vector<std::string> files;
  for (const auto &entry : fs::directory_iterator(fs::path(YMAP_TEST_DIR) / folder)) {
    if (entry.path().extension() == ".txt") files.push_back(entry.path().stem().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

class CasesOf : public testing::TestWithParam<std::string> {};
class WholeWalk : public testing::TestWithParam<std::string> {};

TEST_P(CasesOf, AsExpected) {
  const auto cases = read_cases(fs::path(YMAP_TEST_DIR) / "cases" / (GetParam() + ".txt"));
  ASSERT_FALSE(cases.empty());
  for (const Case &one : cases) EXPECT_EQ(run_case(one), one.expected) << one.place;
}

TEST_P(WholeWalk, AsGolden) {
  const fs::path file = fs::path(YMAP_TEST_DIR) / "golden" / (GetParam() + ".txt");
  const auto cases = read_cases(file);
  ASSERT_FALSE(cases.empty());
  std::vector<std::string> outcomes;
  for (const Case &one : cases) outcomes.push_back(run_case(one));
  if (std::getenv("YMAP_UPDATE_GOLDEN") != nullptr) return write_cases(file, cases, outcomes);
  for (size_t i = 0; i < cases.size(); ++i) EXPECT_EQ(outcomes[i], cases[i].expected) << cases[i].place;
}

const auto kName = [](const auto &info) { return info.param; };
INSTANTIATE_TEST_SUITE_P(Plugin, CasesOf, testing::ValuesIn(files_of("cases")), kName);
INSTANTIATE_TEST_SUITE_P(Plugin, WholeWalk, testing::ValuesIn(files_of("golden")), kName);

}  // namespace
}  // namespace ymap_test
