// A framework that fails: each service at each of its calls, in every kind of request. What the walk had
// opened is closed again, whatever it was told; memory is watched by the scenario.

#include <gtest/gtest.h>

#include "case_file.hpp"
#include "scenario.hpp"

namespace ymap_test {
namespace {

namespace fs = std::filesystem;

const std::string kClean = "left pass=0 final=0 key_mode=0 output=0 path=0 stack=0 forgotten=";

std::vector<Case> all_requests() {
  std::vector<Case> all = read_cases(YMAP_TEST_DIR "/failing/requests.txt");
  for (const auto &file : fs::directory_iterator(YMAP_TEST_DIR "/golden"))
    all.push_back(read_cases(file.path()).front());
  return all;
}

std::string with_failure(Case request, const std::string &failure) {
  const std::initializer_list<std::string> more{"untraced", "view calls", "show left", failure};
  request.directives.insert(std::prev(request.directives.end()), more);
  return run_case(request);
}

TEST(Failure, OfAnyServiceAtAnyCallClosesWhatWasOpened) {
  using Row = std::pair<const char *, std::vector<const char *>>;
  const Row rows[] = {{"current", {"77", "SKIP_NODE"}},
                      {"leafref", {"77", "SKIP_NODE"}},
                      {"add", {"77", "SKIP_NODE"}},
                      {"search", {"77", "SKIP_NODE"}},
                      {"info", {"77"}},
                      {"output", {"77"}},
                      {"own", {"77"}},
                      {"copy", {"77"}},
                      {"append", {"77"}}};
  const std::vector<Case> requests = all_requests();
  for (const auto &[service, statuses] : rows) {
    // Only the entry whose leafref check fails stays on the walk path, until its container leaves.
    const std::string after = kClean + (std::string(service) == "leafref" ? "1" : "0") + " failed=1\n";
    int failures = 0;
    for (const Case &request : requests) {
      for (const char *status : statuses) {
        for (int nth = 1;; ++nth) {
          const std::string failure =
              std::string("fail ") + service + " " + std::to_string(nth) + " " + status;
          const std::string outcome = with_failure(request, failure);
          if (outcome.ends_with("failed=0\n")) break;
          ++failures;
          const bool clean = outcome.ends_with(after) && outcome.find("!!") == std::string::npos;
          ASSERT_TRUE(clean) << request.place << ", " << failure << "\n" << outcome;
        }
      }
    }
    EXPECT_GT(failures, 0) << service;
  }
}

}  // namespace
}  // namespace ymap_test
