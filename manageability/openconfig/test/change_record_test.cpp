// Lines of the record: whatever they tell of, they read back as it was.
#include "change_record.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "printable.hpp"

namespace ymap {
namespace {

namespace fs = std::filesystem;

RecordEntry entry(const std::string &text) {
  RecordEntry made;
  made.time = 1'795'476'600'123'456'000;
  made.user = text;
  made.groups = {"staff", text};
  made.front = "netconf";
  made.session = 7;
  made.operation = "edit-config";
  made.result = "done";
  made.message = text;
  made.changes = {{"/m:a[k='" + text + "']", Access::update, "", text}, {"/m:b", Access::create, {}, text}};
  return made;
}

TEST(Lines, ReadBackWhatTheyTell) {
  const std::vector<std::string> texts = {
      "plain",      "two\nlines",    "\"]\\",        "a\" user=\"root", std::string("\0\x7f\xff", 3),
      "\u202eabc",  "\u2028\u0085x", "ends with \\", "\\x41 \\n [x]",   "gr\u00fc\u00df",
      "\t\r\x1b[2J"};
  for (const auto &text : texts) {
    const auto line = line_of(entry(text));
    EXPECT_EQ(line.find_first_of("\n\r\t\x1b"), std::string::npos) << line;
    EXPECT_EQ(line.find("\u202e"), std::string::npos);
    EXPECT_EQ(line.find("\u2028"), std::string::npos);
    const auto read = read_line(line);
    ASSERT_TRUE(read) << line;
    EXPECT_EQ(read->time, entry(text).time);
    EXPECT_EQ(read->user, text);
    EXPECT_EQ(read->groups, entry(text).groups);
    EXPECT_EQ(read->session, 7U);
    ASSERT_EQ(read->changes.size(), 2U);
    EXPECT_EQ(read->changes[0].before, "");
    EXPECT_EQ(read->changes[0].after, text);
    EXPECT_EQ(read->changes[0].path, "/m:a[k='" + text + "']");
    EXPECT_EQ(read->changes[1].access, Access::create);
    EXPECT_EQ(unescaped(escaped(text)), text);
  }
}

TEST(Lines, AreWholeOrNone) {
  const auto line = line_of(entry("x"));
  for (std::size_t length = 0; length < line.size(); ++length) {
    const auto cut = read_line(line.substr(0, length));
    // Without the changes that came behind it an element is whole.
    EXPECT_TRUE(!cut || cut->changes.size() < 2) << length;
  }
  for (const char *other :
       {"", " ", "x", "2026-11-23T23:30:00.123456Z", "2026-11-23T23:30:00.123456Z [other x=\"\"]"})
    EXPECT_FALSE(read_line(other)) << other;
}

class RecordTest : public testing::Test {
 protected:
  void SetUp() override {
    setenv("YMAP_JOURNAL", "none", 1);
    std::string name = fs::temp_directory_path() / "change_record_test.XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::vector<std::string> users(RecordReader &reader) const {
    std::vector<std::string> found;
    reader.read([&](const RecordEntry &one) { found.push_back(one.user); });
    return found;
  }

  fs::path folder_;
};

TEST_F(RecordTest, IsReadWhileItIsWritten) {
  const Record record(folder_, {});
  RecordReader reader(folder_);
  EXPECT_TRUE(users(reader).empty());
  ASSERT_TRUE(record.write(entry("one")));
  ASSERT_TRUE(record.write(entry("two")));
  EXPECT_EQ(users(reader), (std::vector<std::string>{"one", "two"}));
  // One who died in the middle of a line spoils his own only.
  std::ofstream(folder_ / Record::kFile, std::ios::app) << line_of(entry("torn")).substr(0, 60);
  ASSERT_TRUE(record.write(entry("three")));
  EXPECT_EQ(users(reader), (std::vector<std::string>{"three"}));
}

TEST_F(RecordTest, OldFilesMakeRoom) {
  const Record record(folder_, {});
  RecordReader reader(folder_);
  std::vector<std::string> expected;
  for (int round = 0; round < Record::kOldFiles + 3; ++round) {
    const auto user = std::to_string(round);
    expected.push_back(user);
    ASSERT_TRUE(record.write(entry(user)));
    fs::resize_file(folder_ / Record::kFile, Record::kLargestFile + 1);
    ASSERT_EQ(users(reader), std::vector<std::string>{user});
  }
  RecordReader late(folder_);
  expected.erase(expected.begin(), expected.begin() + 2);
  EXPECT_EQ(users(late), expected);
  EXPECT_FALSE(fs::exists(folder_ / "record.5"));
}

TEST_F(RecordTest, WhatIsNoFileIsNotWritten) {
  fs::create_directory(folder_ / Record::kFile);
  EXPECT_FALSE(Record(folder_, {}).write(entry("x")));
  fs::remove(folder_ / Record::kFile);
  fs::create_symlink(folder_ / "elsewhere", folder_ / Record::kFile);
  EXPECT_FALSE(Record(folder_, {}).write(entry("x")));
  EXPECT_FALSE(fs::exists(folder_ / "elsewhere"));
}

}  // namespace
}  // namespace ymap
