// Sessions that share a folder: ids, the list of them, the lock on running, edits beside it, their end.

#include "sessions.hpp"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <ctime>
#include <future>
#include <optional>
#include <set>
#include <utility>

#include "folder.hpp"
#include "support.hpp"

namespace device::test {
namespace {

namespace fs = std::filesystem;
using Kill = Sessions::Kill;

/// A session in a process of its own, which takes the lock, or does nothing, when it is asked to.
class Peer {
 public:
  enum class Manners { ends, ignores_sigterm };

  explicit Peer(const fs::path &folder, Manners manners = Manners::ends) {
    if (::pipe(to_.data()) != 0 || ::pipe(from_.data()) != 0) std::abort();
    process_ = in_process([&] {
      if (manners == Manners::ignores_sigterm) std::signal(SIGTERM, SIG_IGN);
      Sessions sessions(folder, "peer", "192.0.2.1");
      tell(sessions.id());
      for (char order = 0; ::read(to_[0], &order, 1) == 1 && order == 'l';) {
        const auto other = sessions.lock();
        tell(other ? other->session : 0);
      }
    });
    ::close(from_[1]);
    ::close(to_[0]);
    id_ = hear();
  }
  ~Peer() {
    end(SIGKILL);
    ::close(from_[0]);
    ::close(to_[1]);
  }
  Peer(const Peer &) = delete;
  Peer &operator=(const Peer &) = delete;

  uint32_t id() const { return id_; }
  pid_t process() const { return process_; }
  /// Who has the lock instead; 0 if it was granted.
  uint32_t lock() {
    EXPECT_EQ(::write(to_[1], "l", 1), 1);
    return hear();
  }
  int end(int signal) {
    if (process_ == 0) return 0;
    ::kill(process_, signal);
    return exit_status(std::exchange(process_, 0));
  }
  /// Lets the session leave by itself.
  int leave() {
    EXPECT_EQ(::write(to_[1], "q", 1), 1);
    return exit_status(std::exchange(process_, 0));
  }

 private:
  void tell(uint32_t number) const {
    if (::write(from_[1], &number, sizeof number) != sizeof number) std::abort();
  }
  uint32_t hear() const {
    uint32_t number = 0;
    EXPECT_EQ(::read(from_[0], &number, sizeof number), static_cast<ssize_t>(sizeof number));
    return number;
  }

  std::array<int, 2> to_{};
  std::array<int, 2> from_{};
  pid_t process_ = 0;
  uint32_t id_ = 0;
};

std::vector<uint32_t> ids(const Sessions &sessions) {
  std::vector<uint32_t> found;
  for (const SessionRecord &record : sessions.live()) found.push_back(record.id);
  return found;
}

std::string gain(const char *side, int value) {
  return std::string(
             "if:interface-configurations{interface-configuration{active=act interface-name=Ots0/0/0/0 ") +
         "cfg:ots{ots-" + side + "-amplifier-gain=" + std::to_string(value) + "}}}";
}

std::string tag_of_edit(Device &device, int value) {
  const std::string edit = gain("egress", value);
  try {
    device.edit(request(edit.c_str()));
  } catch (const EditError &error) {
    return error.error_tag + ": " + error.what();
  }
  return "stored";
}

TEST(Sessions, IdsAreNeverGivenAgain) {
  const Workplace workplace;
  std::set<uint32_t> given;
  for (int round = 0; round < 3; ++round) {
    std::vector<std::unique_ptr<Peer>> peers;
    for (int i = 0; i < 3; ++i) {
      peers.push_back(std::make_unique<Peer>(workplace.path()));
      EXPECT_TRUE(given.insert(peers.back()->id()).second) << peers.back()->id();
    }
    EXPECT_EQ(peers[0]->leave(), 0);
  }
  EXPECT_EQ(*given.begin(), 1U);
  EXPECT_EQ(*given.rbegin(), 9U);
}

TEST(Sessions, NoIdIsGivenTwiceAtOnceHoweverTheCounterLooks) {
  const Workplace workplace;
  const Sessions first(workplace.path(), "root", "");
  const Peer second(workplace.path());
  for (const std::string text : {"", "abc", "0000000000\n", "0000000001\n", "9999999999\n"}) {
    workplace.write("sessions/counter", text);
    const Peer peer(workplace.path());
    EXPECT_EQ(peer.id(), 3U) << text;
  }
  workplace.write("sessions/counter", "0000000041\n");
  EXPECT_EQ(Peer(workplace.path()).id(), 42U);
}

TEST(Sessions, ACounterAtItsEndGivesNoIdAgain) {
  const Workplace workplace;
  fs::create_directory(workplace.path() / "sessions");
  workplace.write("sessions/counter", "2147483646\n");
  EXPECT_EQ(Sessions(workplace.path(), "root", "").id(), 2147483647U);
  for (const std::string text : {"2147483647\n", "4294967295\n"}) {
    workplace.write("sessions/counter", text);
    EXPECT_NE(folder_error([&] {
                const Sessions sessions(workplace.path(), "root", "");
              }).find("sessions/counter is at its end"),
              std::string::npos);
  }
}

TEST(Sessions, WhoMayOnlyReadGetsIn) {
  for (const bool with_folder : {true, false}) {
    const Workplace workplace;
    { const Device fill(workplace.path(), YMAP_TEST_MODELS, kNow); }
    std::optional<Sessions> writer;
    if (with_folder) writer.emplace(workplace.path(), "root", "");
    if (with_folder) fs::permissions(workplace.path() / "sessions", fs::perms(0555));
    fs::permissions(workplace.path(), fs::perms(0555));
    const Unprivileged unprivileged;
    if (!unprivileged.held()) GTEST_SKIP() << "cannot give up the rights of root";
    Sessions reader(workplace.path(), "guest", "");
    EXPECT_GT(reader.id(), 0x7fffffffU);
    EXPECT_EQ(reader.live().back().user, "guest");
    EXPECT_FALSE(reader.lock_state());
    try {
      reader.lock();
      ADD_FAILURE() << "locked";
    } catch (const FolderError &failure) {
      EXPECT_TRUE(failure.no_rights) << failure.what();
    }
    EXPECT_EQ(reader.kill(reader.id()), Kill::denied);
    EXPECT_NE(read(Device(workplace.path(), YMAP_TEST_MODELS, kNow), "if:global-interface-configuration"),
              "");
  }
}

TEST(Sessions, AnIdThatComesAgainIsOfWhoHasItNow) {
  const Workplace workplace;
  const Sessions own(workplace.path(), "root", "");
  for (int round = 0; round < 2; ++round) {
    workplace.write("sessions/counter", "0000000001\n");
    const Peer peer(workplace.path());
    ASSERT_EQ(peer.id(), 2U);
    ASSERT_EQ(own.live().size(), 2U);
    EXPECT_EQ(own.live().back().process, peer.process());
  }
}

TEST(Sessions, TheLivingAreListedAndTheDeadSweptAway) {
  const Workplace workplace;
  const Sessions own(workplace.path(), "ro\not", "\x1b[2J");
  Peer killed(workplace.path());
  Peer left(workplace.path());
  Peer damaged(workplace.path());
  // What is no session's file, or not as a session wrote it.
  const fs::path folder = workplace.path() / "sessions";
  workplace.write("sessions/77", "login 1\nuser ghost\nhost \n");
  workplace.write("sessions/007", "");
  workplace.write("sessions/x", "");
  fs::create_symlink("/etc/passwd", folder / "78");
  fs::create_directory(folder / "79");
  ASSERT_EQ(::mkfifo((folder / "80").c_str(), 0600), 0);
  const std::string record = std::to_string(damaged.id());
  workplace.write(("sessions/" + record).c_str(), "login 99999999999999999999\nuser \x01\xff\n\n user\nhost");
  fs::resize_file(folder / record, uint64_t{1} << 40);
  EXPECT_EQ(killed.end(SIGKILL), SIGKILL);
  EXPECT_EQ(left.leave(), 0);

  const std::vector<SessionRecord> live = own.live();
  ASSERT_EQ(live.size(), 2U);
  EXPECT_EQ(live[0].id, own.id());
  EXPECT_EQ(live[0].process, ::getpid());
  EXPECT_EQ(live[0].user + live[0].source_host, "ro?ot?[2J");
  EXPECT_NEAR(static_cast<double>(live[0].login_time), static_cast<double>(std::time(nullptr)), 60);
  EXPECT_EQ(live[1].id, damaged.id());
  EXPECT_EQ(live[1].process, damaged.process());
  EXPECT_EQ(live[1].user, "??");
  EXPECT_FALSE(fs::exists(folder / std::to_string(killed.id())));
  EXPECT_FALSE(fs::exists(folder / std::to_string(left.id())));
  EXPECT_FALSE(fs::exists(folder / "77"));
  const Peer later(workplace.path());
  EXPECT_EQ(own.live().back().user, "peer");
  EXPECT_EQ(own.live().back().source_host, "192.0.2.1");
}

TEST(Sessions, TheLockIsOneSessionsUntilItIsGone) {
  const Workplace workplace;
  Sessions own(workplace.path(), "root", "");
  EXPECT_FALSE(own.lock_state());
  EXPECT_FALSE(own.unlock());
  Peer peer(workplace.path());
  Peer other(workplace.path());
  EXPECT_EQ(peer.lock(), 0U);
  EXPECT_EQ(peer.lock(), peer.id());
  EXPECT_EQ(other.lock(), peer.id());
  const auto holder = own.lock();
  ASSERT_TRUE(holder);
  EXPECT_EQ(holder->session, peer.id());
  EXPECT_NEAR(static_cast<double>(own.lock_state()->since), static_cast<double>(std::time(nullptr)), 60);
  EXPECT_FALSE(own.unlock());
  EXPECT_EQ(Sessions::lock_state(workplace.path(), Datastore::running)->holder, peer.id());

  EXPECT_EQ(peer.end(SIGKILL), SIGKILL);
  EXPECT_FALSE(own.lock_state());
  EXPECT_FALSE(own.lock());
  // Asked by the holder's own process too, which must not lose it by that.
  EXPECT_EQ(Sessions::lock_state(workplace.path(), Datastore::running)->holder, own.id());
  EXPECT_EQ(own.lock_state()->holder, own.id());
  EXPECT_EQ(own.lock()->session, own.id());
  EXPECT_EQ(ids(own), (std::vector<uint32_t>{own.id(), other.id()}));
  EXPECT_EQ(other.lock(), own.id());
  EXPECT_TRUE(own.unlock());
  EXPECT_EQ(other.lock(), 0U);
}

TEST(Sessions, TheLockWaitsForAnEditInCourse) {
  const Workplace workplace;
  Sessions own(workplace.path(), "root", "");
  std::future<bool> granted;
  {
    const Descriptor edit = Folder(workplace.path()).lock();
    granted = std::async(std::launch::async, [&own] { return !own.lock(); });
    EXPECT_EQ(granted.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
  }
  EXPECT_TRUE(granted.get());
}

TEST(Sessions, OnlyTheHolderEdits) {
  const Workplace workplace;
  Device device(workplace.path(), YMAP_TEST_MODELS, kNow);
  EXPECT_EQ(tag_of_edit(device, 101), "stored");  // nobody has ever been here
  Sessions own(workplace.path(), "root", "");
  Peer peer(workplace.path());
  EXPECT_EQ(tag_of_edit(device, 102), "stored");
  EXPECT_EQ(peer.lock(), 0U);
  const std::string refused =
      "in-use: the running datastore is locked by session " + std::to_string(peer.id()) + " of user peer";
  for (const uint32_t session : {0U, own.id()}) {
    device.act_for(session);
    EXPECT_EQ(tag_of_edit(device, 103), refused);
  }
  device.act_for(peer.id());
  EXPECT_EQ(tag_of_edit(device, 104), "stored");
  device.act_for(own.id());
  EXPECT_EQ(peer.leave(), 0);
  EXPECT_FALSE(own.lock());
  EXPECT_EQ(tag_of_edit(device, 105), "stored");
  EXPECT_EQ(own.lock_state()->holder, own.id());
}

TEST(Sessions, ATestStoresNothingAndMindsNoLock) {
  const Workplace workplace;
  Device device(workplace.path(), YMAP_TEST_MODELS, kNow);
  Peer peer(workplace.path());
  EXPECT_EQ(peer.lock(), 0U);
  const std::string before = workplace.running_text();
  EXPECT_NO_THROW(device.test(request(gain("egress", 101).c_str())));
  EXPECT_NO_THROW(device.test({}));
  EXPECT_THROW(device.test(request(gain("egress", 381).c_str())), EditError);
  EXPECT_EQ(workplace.running_text(), before);
  EXPECT_NE(read(device, gain("egress", 205).c_str()), "");
  workplace.write("running.json", "{");
  EXPECT_THROW(device.test({}), FolderError);
}

TEST(Sessions, TwoOfThemNeverLoseEachOthersChange) {
  constexpr int edits = 60;
  const Workplace workplace;
  { const Device fill(workplace.path(), YMAP_TEST_MODELS, kNow); }
  std::vector<pid_t> children;
  for (const char *side : {"ingress", "egress"}) {
    children.push_back(in_process([&workplace, side] {
      const Sessions own(workplace.path(), "root", "");
      Device device(workplace.path(), YMAP_TEST_MODELS, kNow);
      device.act_for(own.id());
      for (int value = 100; value < 100 + edits; ++value) {
        const std::string edit = gain(side, value);
        device.edit(request(edit.c_str()));
        // Matches its own value only.
        if (read(device, edit.c_str()).empty()) throw std::runtime_error("a change is lost");
      }
    }));
  }
  for (const pid_t child : children) EXPECT_EQ(exit_status(child), 0);
}

TEST(Sessions, KilledOnesLeaveNothing) {
  const Workplace workplace;
  Sessions own(workplace.path(), "root", "");
  EXPECT_EQ(own.kill(own.id()), Kill::denied);
  EXPECT_EQ(own.kill(99), Kill::no_such_session);
  for (const auto manners : {Peer::Manners::ends, Peer::Manners::ignores_sigterm}) {
    Peer peer(workplace.path(), manners);
    EXPECT_EQ(peer.lock(), 0U);
    EXPECT_EQ(own.kill(peer.id()), Kill::done);
    EXPECT_FALSE(own.lock_state());
    EXPECT_EQ(ids(own), std::vector<uint32_t>{own.id()});
    EXPECT_EQ(own.kill(peer.id()), Kill::no_such_session);
    EXPECT_EQ(peer.end(SIGKILL), manners == Peer::Manners::ends ? SIGTERM : SIGKILL);
  }
}

TEST(Sessions, OtherUsersAreNotKilled) {
  if (::getuid() != 0) GTEST_SKIP() << "needs two users";
  const Workplace workplace;
  fs::permissions(workplace.path(), fs::perms::all);
  const Sessions own(workplace.path(), "root", "");
  const pid_t stranger = in_process([&] {
    if (::setresuid(65534, 65534, 65534) != 0) throw std::runtime_error("cannot become another user");
    Sessions sessions(workplace.path(), "nobody", "");
    if (sessions.kill(own.id()) != Kill::denied) throw std::runtime_error("not denied");
    if (ids(sessions).size() != 2 || sessions.lock()) throw std::runtime_error("no full session");
  });
  EXPECT_EQ(exit_status(stranger), 0);
  EXPECT_EQ(ids(own), std::vector<uint32_t>{own.id()});
}

TEST(Sessions, TheFolderSaysWhoMayShareThem) {
  const Workplace workplace;
  fs::permissions(workplace.path(), fs::perms(0770));
  const mode_t mask = ::umask(077);
  Sessions own(workplace.path(), "root", "");
  EXPECT_FALSE(own.lock());
  { const Device fill(workplace.path(), YMAP_TEST_MODELS, kNow); }
  ::umask(mask);
  for (const auto &[name, mode] :
       std::vector<std::pair<std::string, unsigned>>{{"sessions", 0770},
                                                     {"sessions/counter", 0660},
                                                     {"sessions/running.lock", 0660},
                                                     {"sessions/1", 0660},
                                                     {"running.lock", 0660},
                                                     {"running.json", 0660}}) {
    EXPECT_EQ(static_cast<unsigned>(fs::status(workplace.path() / name).permissions()), mode) << name;
  }
}

TEST(Sessions, AFolderThatCannotTakeThemIsTold) {
  const Workplace workplace;
  const auto error = [&](const fs::path &folder) {
    return folder_error([&] { const Sessions sessions(folder, "root", ""); });
  };
  EXPECT_NE(error(workplace.path() / "none").find("none does not exist"), std::string::npos);
  workplace.write("letter.txt", "");
  EXPECT_NE(error(workplace.path()).find("other things (letter.txt)"), std::string::npos);
  EXPECT_EQ(workplace.files(), std::vector<std::string>{"letter.txt"});
  fs::remove(workplace.path() / "letter.txt");

  fs::create_directory_symlink("/tmp", workplace.path() / "sessions");
  EXPECT_NE(error(workplace.path()).find("cannot use the folder of sessions"), std::string::npos);
  fs::remove(workplace.path() / "sessions");
  fs::create_directories(workplace.path() / "sessions" / "counter");
  EXPECT_NE(error(workplace.path()).find("counter"), std::string::npos);
  fs::remove(workplace.path() / "sessions" / "counter");

  rlimit old{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  // Without room for the counter nobody enters; without room for the record alone one does.
  for (const rlim_t room : {rlim_t{0}, rlim_t{11}}) {
    const rlimit limit{room, old.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    bool no_room = false;
    try {
      const Sessions sessions(workplace.path(), "root", "");
    } catch (const FolderError &failure) {
      no_room = failure.no_room;
    }
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &old), 0);
    EXPECT_EQ(no_room, room == 0) << room;
  }
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(std::distance(fs::directory_iterator(workplace.path() / "sessions"), {}), 1);
  EXPECT_EQ(ids(Sessions(workplace.path(), "root", "")).size(), 1U);
}

}  // namespace
}  // namespace device::test
