// The folder: factory data, damage, lack of room or rights, several writers, sudden death.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "support.hpp"

namespace device::test {
namespace {

constexpr const char *kGains =
    "if:interface-configurations{interface-configuration{active=act interface-name=Ots0/0/0/0 "
    "cfg:ots{ots-ingress-amplifier-gain ots-egress-amplifier-gain}}}";

/// Sets both gains of a controller at once.
std::string gains(int value) {
  const std::string text = std::to_string(value);
  return "if:interface-configurations{interface-configuration{active=act interface-name=Ots0/0/0/0 "
         "cfg:ots{ots-ingress-amplifier-gain=" +
         text + " ots-egress-amplifier-gain=" + text + "}}}";
}

void set_gains(Device &device, int value) {
  const std::string edit = gains(value);
  device.edit(request(edit.c_str()));
}

TEST(Folder, EmptyOneGetsFactoryData) {
  const Workplace workplace;
  workplace.write("running.lock", "");
  workplace.write("running.json.new", "{ \"half");  // of a first start that was killed
  const Device device(workplace.path(), YMAP_TEST_MODELS, kNow);
  EXPECT_EQ(read(device, kGains),
            "if:interface-configurations{interface-configuration{active=act interface-name=Ots0/0/0/0 "
            "cfg:ots{ots-ingress-amplifier-gain=172 ots-egress-amplifier-gain=205}}}");
  EXPECT_EQ(workplace.files(), (std::vector<std::string>{"running.json", "running.lock"}));
}

TEST(Folder, LossOfTheConfigurationShows) {
  const Workplace workplace;
  Device(workplace.path(), YMAP_TEST_MODELS, kNow);
  std::filesystem::remove(workplace.path() / "running.json");
  EXPECT_NE(folder_error([&] {
              Device(workplace.path(), YMAP_TEST_MODELS, kNow);
            }).find("restore it from a backup"),
            std::string::npos);
  EXPECT_EQ(workplace.files(), std::vector<std::string>{"running.lock"});
}

TEST(Folder, IsRefusedIfMissingOrForeign) {
  const Workplace workplace;
  const auto error = [](const std::filesystem::path &folder, const std::string &models = YMAP_TEST_MODELS) {
    return folder_error([&] { Device(folder, models, kNow); });
  };
  EXPECT_NE(error(workplace.path() / "none").find("none does not exist; create it"), std::string::npos);
  EXPECT_NE(error(workplace.path(), "/nowhere").find("/nowhere"), std::string::npos);
  std::filesystem::create_directory_symlink(".", workplace.path() / "loop");
  std::filesystem::create_directory_symlink(".", workplace.path() / "circle");
  EXPECT_NE(error(workplace.path(), workplace.path().string()).find("cannot load YANG module"),
            std::string::npos);
  std::filesystem::remove(workplace.path() / "loop");
  std::filesystem::remove(workplace.path() / "circle");
  workplace.write("letter.txt", "");
  EXPECT_NE(error(workplace.path()).find("other things (letter.txt)"), std::string::npos);
  EXPECT_NE(error(workplace.path() / "letter.txt").find("is not a folder"), std::string::npos);
  EXPECT_EQ(workplace.files(), std::vector<std::string>{"letter.txt"});
  std::filesystem::create_directory(workplace.running());
  EXPECT_NE(error(workplace.path()).find("is not a plain file"), std::string::npos);
}

TEST(Folder, DamageIsTold) {
  const std::string entry = R"({"Velm-NALTO-ifmgr-cfg:interface-configurations":{"interface-configuration":[)"
                            R"({"active":"act","interface-name":"a","description":"} \" ]"}]}})";
  const std::string damaged[] = {
      "",
      "\n",
      "{",
      "null",
      "[]",
      entry + "x",
      entry + entry,
      entry.substr(0, entry.size() - 2) + ",}}",
      entry.substr(0, entry.size() - 3) + " ,\n ]}}",
      entry + std::string(1, '\0'),
      R"({"a":1})",
      R"({"Velm-NALTO-ifmgr-cfg:nonsense":{}})",
      R"({"Velm-NALTO-ifmgr-cfg:interface-configurations":{"interface-configuration":[{"active":"act"}]}})",
      R"({"Velm-NALTO-ifmgr-cfg:interface-configurations":{"interface-configuration":[)"
      R"({"active":"act","interface-name":"a"},{"active":"act","interface-name":"a"}]}})",
      R"({"Velm-NALTO-controller-ots-oper:ots-oper":{"ots-ports":{"ots-port":[{"name":"a"}]}}})",
      "[" + std::string(100'000, '[')};
  const Workplace workplace;
  for (const std::string &text : damaged) {
    workplace.write("running.json", text);
    const std::string error = folder_error([&] { Device(workplace.path(), YMAP_TEST_MODELS, kNow); });
    EXPECT_NE(error.find("running.json is damaged: "), std::string::npos) << text.substr(0, 80);
    EXPECT_NE(error.find("; restore it"), std::string::npos) << text.substr(0, 80);
    EXPECT_EQ(workplace.running_text(), text);
  }
  workplace.write("running.json", entry + " \n");
  EXPECT_NO_THROW(Device(workplace.path(), YMAP_TEST_MODELS, kNow));
  // However much of it is missing.
  for (size_t length = 0; length < entry.size(); ++length) {
    workplace.write("running.json", entry.substr(0, length));
    EXPECT_THROW(Device(workplace.path(), YMAP_TEST_MODELS, kNow), FolderError) << length;
  }
}

TEST(Folder, ChangesOfOthersAreSeen) {
  const Workplace workplace;
  Device first(workplace.path(), YMAP_TEST_MODELS, kNow);
  Device second(workplace.path(), YMAP_TEST_MODELS, kNow);
  // As fast as can be, of the same size, and two at a time: file numbers and times may come again.
  for (int value = 100; value < 200; value += 2) {
    set_gains(second, value);
    set_gains(second, value + 1);
    EXPECT_EQ(read(first, kGains), gains(value + 1));
  }
  ::usleep(60'000);  // the file is old enough to be told by its times
  EXPECT_EQ(read(first, kGains), gains(199));
  set_gains(second, 200);
  EXPECT_EQ(read(first, kGains), gains(200));
  EXPECT_EQ(read(second, kGains), gains(200));
  std::filesystem::remove(workplace.running());
  EXPECT_THROW(read(first, kGains), FolderError);
}

TEST(Folder, RightsAreRespected) {
  const Workplace workplace;
  const std::filesystem::path models = workplace.path() / "models";  // where anybody can read them
  const std::filesystem::path folder = workplace.path() / "device";
  std::filesystem::copy(YMAP_TEST_MODELS, models, std::filesystem::copy_options::recursive);
  std::filesystem::create_directory(folder);
  { const Device fill(folder, models, kNow); }
  const std::filesystem::path running = folder / "running.json";
  ASSERT_EQ(::chmod(running.c_str(), 0644), 0);
  ASSERT_EQ(::chmod(folder.c_str(), 0555), 0);
  {
    const Unprivileged unprivileged;
    if (!unprivileged.held()) GTEST_SKIP() << "cannot give up the rights of root";
    Device device(folder, models, kNow);
    EXPECT_NE(read(device, kGains), "");
    EXPECT_NE(folder_error([&] { set_gains(device, 100); }).find("make the folder writable"),
              std::string::npos);
  }
  ASSERT_EQ(::chmod(running.c_str(), 0600), 0);
  if (::getuid() == 0) {
    const Unprivileged unprivileged;
    EXPECT_NE(folder_error([&] { Device(folder, models, kNow); }).find("cannot read " + running.string()),
              std::string::npos);
  }
  // A store keeps the rights of the file.
  ASSERT_EQ(::chmod(folder.c_str(), 0755), 0);
  ASSERT_EQ(::chmod(running.c_str(), 0640), 0);
  Device device(folder, models, kNow);
  set_gains(device, 100);
  struct stat status {};
  ASSERT_EQ(::stat(running.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST(Folder, WithoutRoomTheOldConfigurationStays) {
  const Workplace workplace;
  Device device(workplace.path(), YMAP_TEST_MODELS, kNow);
  const std::string before = workplace.running_text();  // as long as what an edit of two gains makes of it
  rlimit old{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  // Room for nothing at all, for a part (a short write), for all but the last byte.
  for (const rlim_t room : {rlim_t{0}, rlim_t{100}, static_cast<rlim_t>(before.size() - 1)}) {
    const rlimit limit{room, old.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    const std::string error = folder_error([&] { set_gains(device, 100); });
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &old), 0);
    EXPECT_NE(error.find("make room"), std::string::npos) << error;
    EXPECT_EQ(workplace.running_text(), before);
    EXPECT_EQ(workplace.files(), (std::vector<std::string>{"running.json", "running.lock"}));
  }
  std::signal(SIGXFSZ, handler);
  set_gains(device, 100);
  EXPECT_EQ(read(device, kGains), gains(100));
}

TEST(Folder, WritersAndFirstStartsWaitForEachOther) {
  constexpr int writers = 4;
  constexpr int edits = 15;
  const Workplace workplace;
  std::vector<pid_t> children;
  for (int writer = 0; writer < writers; ++writer) {
    children.push_back(in_process([&workplace, writer] {
      Device device(workplace.path(), YMAP_TEST_MODELS, kNow);
      for (int i = 0; i < edits; ++i) {
        const std::string owner = std::to_string(writer) + "-" + std::to_string(i);
        const std::string edit =
            "if:interface-configurations{interface-configuration{active=act interface-name=Loopback0 mtus{"
            "mtu!create{mtu=100 owner=" +
            owner + "}}}}";
        device.edit(request(edit.c_str()));
      }
    }));
  }
  for (const pid_t child : children) EXPECT_EQ(exit_status(child), 0);
  ReadCount count;
  read(Device(workplace.path(), YMAP_TEST_MODELS, kNow),
       "if:interface-configurations{interface-configuration{interface-name=Loopback0 mtus{mtu{owner}}}}",
       &count);
  EXPECT_EQ(count.leaves, static_cast<size_t>(writers * edits + 2));
}

TEST(Folder, KilledWriterLeavesOldOrNew) {
  constexpr int kills = 120;
  const Workplace workplace;
  int last = 0;
  int moved = 0;
  for (int round = 0; round < kills; ++round) {
    // The first rounds also kill the filling of the folder.
    const pid_t child = in_process([&workplace] {
      Device device(workplace.path(), YMAP_TEST_MODELS, kNow);
      for (int value = 100;; value = value < 300 ? value + 1 : 100) set_gains(device, value);
    });
    ::usleep(static_cast<useconds_t>(500 + (round * 7919) % 12'000));
    ::kill(child, SIGKILL);
    EXPECT_EQ(exit_status(child), SIGKILL);

    const Device device(workplace.path(), YMAP_TEST_MODELS, kNow);
    const std::string answer = read(device, kGains);
    const size_t digits = answer.find("egress-amplifier-gain=") + 22;
    const int value = std::stoi(answer.substr(digits));
    // Both sides stem from one edit, or from the factory.
    EXPECT_TRUE(answer == gains(value) ||
                answer.find("gain=172 ots-egress-amplifier-gain=205") != std::string::npos)
        << answer;
    moved += value != last ? 1 : 0;
    last = value;
  }
  EXPECT_GT(moved, 0) << "no writer lived long enough to store anything";
}

}  // namespace
}  // namespace device::test
