// The candidate, commits that wait to be confirmed, and what is left of either when its writer is killed.
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string>

#include "sessions.hpp"
#include "support.hpp"

namespace device::test {
namespace {

using Why = TakenBack::Why;

const Commit kToConfirm = {.to_confirm = Confirmation{std::chrono::seconds(600), "x"}};

class CommitTest : public ::testing::Test {
 protected:
  static std::vector<RequestNode> gain(int value) {
    static std::string text;
    text =
        "if:interface-configurations{interface-configuration{active=act interface-name=Ots0/0/0/0 "
        "cfg:ots{ots-egress-amplifier-gain=" +
        std::to_string(value) + "}}}";
    return request(text.c_str());
  }
  static constexpr const char *kFilter =
      "if:interface-configurations{interface-configuration{interface-name=Ots0/0/0/0 "
      "cfg:ots{ots-egress-amplifier-gain}}}";
  static int number_in(const std::string &answer) {
    const auto at = answer.find("egress-amplifier-gain=");
    return at == std::string::npos ? 0 : std::stoi(answer.substr(at + 22));
  }
  int running() const { return number_in(read(device_, kFilter)); }
  int candidate() const { return number_in(read_candidate(device_, kFilter)); }
  void end_commit() {
    if (device_.commit_is_overdue()) device_.take_back_overdue();
    if (device_.pending_commit()) device_.cancel_commit("x");
  }
  /// Writes another line in the place of that which begins so in the note of the commit.
  void rewrite_note(const std::string &word, const std::string &line) const {
    std::ifstream file(workplace_.path() / "unconfirmed");
    std::string text;
    for (std::string each; std::getline(file, each);) text += (each.starts_with(word) ? line : each) + "\n";
    text.pop_back();
    workplace_.write("unconfirmed", text);
  }

  Workplace workplace_;
  Device device_{workplace_.path(), YMAP_TEST_MODELS, kNow};
};

/// What a process does that is killed before each of its system calls in turn.
struct Killed {
  const char *behaviour;
  std::function<void(Device &)> before, work;
};

TEST_F(CommitTest, KilledAtAnyCallNothingIsHalfDone) {
  const auto wait = [](Device &device) { device.edit(gain(200), kToConfirm); };
  const auto nothing = [](Device & /*device*/) {};
  const Killed cases[] = {
      {"an edit to confirm", nothing, wait},
      {"a commit to confirm", [](Device &device) { device.edit_candidate(gain(200)); },
       [](Device &device) { device.commit_candidate(kToConfirm); }},
      {"a commit", [](Device &device) { device.edit_candidate(gain(200)); },
       [](Device &device) { device.commit_candidate(); }},
      {"a change of the candidate", [](Device &device) { device.edit_candidate(gain(180)); },
       [](Device &device) { device.edit_candidate(gain(200)); }},
      {"a confirmation", wait, [](Device &device) { device.confirm_commit("x"); }},
      {"a way back", wait, [](Device &device) { device.cancel_commit("x"); }},
  };
  for (const auto &row : cases) {
    SCOPED_TRACE(row.behaviour);
    const std::string name = row.behaviour;
    int calls = 0;
    for (bool killed = true; killed; ++calls) {
      SCOPED_TRACE(calls);
      // Of one who died when his commit was confirmed; it means nothing.
      device_.edit(gain(170));
      workplace_.write("running.json.before", workplace_.running_text());
      device_.edit(gain(150));
      row.before(device_);
      const auto ended = killed_before_call(calls, [&] { row.work(device_); });
      if (!ended) GTEST_SKIP() << "no process may follow another here";
      killed = *ended == SIGKILL;
      ASSERT_TRUE(killed || *ended == 0);
      const int runs = running();
      const bool waits = device_.pending_commit() && !device_.commit_is_overdue();
      ASSERT_TRUE(runs == 150 || runs == 200) << runs;
      if (name == "an edit to confirm" || name == "a commit to confirm") {
        // What is new has its way back.
        ASSERT_EQ(runs == 200, waits);
        ASSERT_TRUE(killed || waits);
      }
      ASSERT_TRUE(name != "a confirmation" || runs == 200);
      ASSERT_TRUE(name != "a way back" || killed || runs == 150);
      if (name == "a change of the candidate") {
        ASSERT_TRUE(candidate() == 200 || (killed && candidate() == 180)) << candidate();
      }
      // What is not committed yet is not lost.
      ASSERT_TRUE(!name.starts_with("a commit") || runs == 200 || candidate() == 200);
      const bool confirmed = !device_.pending_commit();
      end_commit();
      ASSERT_EQ(running(), confirmed ? runs : 150);
      ASSERT_FALSE(device_.pending_commit());
      device_.discard_candidate();
    }
    EXPECT_GT(calls, 5);
  }
}

TEST_F(CommitTest, OverdueByTheClockThatNobodySets) {
  struct Case {
    const char *word, *line;
    Why why;
  };
  const Case cases[] = {
      {"none", "", Why::not_yet},
      {"boot ", "boot of another day", Why::restart},
      {"deadline ", "deadline 1", Why::timeout},
      // More is left than there was: the clock is not the one that it was.
      {"deadline ", "deadline 9000000000000000000", Why::restart},
      {"timeout ", "timeout x", Why::restart},
  };
  for (const Case &row : cases) {
    SCOPED_TRACE(row.line);
    device_.edit(gain(150));
    device_.edit(gain(200), kToConfirm);
    rewrite_note(row.word, row.line);
    EXPECT_EQ(device_.commit_is_overdue(), row.why != Why::not_yet);
    EXPECT_EQ(device_.take_back_overdue().why, row.why);
    EXPECT_EQ(running(), row.why == Why::not_yet ? 200 : 150);
    end_commit();
    EXPECT_EQ(running(), 150);
  }
}

TEST_F(CommitTest, ARefusedOneLeavesNoWayBack) {
  device_.edit(gain(150));
  EXPECT_THROW(device_.edit(gain(9999), kToConfirm), EditError);
  EXPECT_FALSE(device_.pending_commit());
  device_.edit(gain(160));
  EXPECT_FALSE(device_.commit_is_overdue());
  EXPECT_EQ(running(), 160);
}

TEST_F(CommitTest, OfNothingItWaitsToo) {
  device_.edit(gain(150));
  EXPECT_EQ(device_.commit_candidate(kToConfirm), CommitEvent::start);
  EXPECT_FALSE(device_.commit_is_overdue());
  device_.edit_candidate(gain(160));
  EXPECT_EQ(device_.commit_candidate({.persist_id = "x"}), CommitEvent::complete);
  EXPECT_EQ(running(), 160);
}

TEST_F(CommitTest, TheWayBackIsNotThereForEver) {
  device_.edit(gain(150));
  device_.edit(gain(200), kToConfirm);
  device_.confirm_commit("x");
  device_.edit(gain(210));
  device_.edit(gain(220), kToConfirm);
  EXPECT_EQ(device_.cancel_commit("x").why, Why::cancelled);
  EXPECT_EQ(running(), 210);
  EXPECT_THROW(device_.cancel_commit("x"), EditError);
}

TEST_F(CommitTest, ATornCandidateIsNotTakenForAnother) {
  device_.edit_candidate(gain(200));
  std::ifstream file(workplace_.path() / "candidate");
  const std::string whole{std::istreambuf_iterator<char>(file), {}};
  const auto seen = [&](const std::string &text) {
    workplace_.write("candidate", text);
    const Device other(workplace_.path(), YMAP_TEST_MODELS, kNow);
    return number_in(read_candidate(other, kFilter));
  };
  for (const size_t size : {size_t{0}, size_t{10}}) EXPECT_EQ(seen(whole.substr(0, size)), running());
  EXPECT_THROW(seen(whole.substr(0, whole.size() - 1)), EditError);
  EXPECT_THROW(Device(workplace_.path(), YMAP_TEST_MODELS, kNow).commit_candidate(), EditError);
  EXPECT_EQ(seen(whole), 200);
  device_.discard_candidate();
  EXPECT_EQ(candidate(), running());
}

}  // namespace
}  // namespace device::test
