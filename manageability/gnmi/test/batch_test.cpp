// What waits for a slow reader.
#include "batch.hpp"

#include <google/protobuf/text_format.h>

#include "support.hpp"

namespace ymap::telemetry::test {
namespace {

std::shared_ptr<const Batch> batch(const std::string &notification, bool is_synced = false) {
  std::vector<::gnmi::Notification> made(notification.empty() ? 0 : 1);
  for (auto &one : made) EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(notification, &one));
  return std::make_shared<const Batch>(std::move(made), is_synced);
}

std::string update(int time, const char *leaf, int value) {
  return "timestamp: " + std::to_string(time) + " update { path { elem { name: '" + leaf +
         "' } } val { int_val: " + std::to_string(value) + " } }";
}

std::string shown(const Batch &batch) {
  std::string text;
  for (const auto &notification : batch.notifications) {
    text += std::to_string(notification.timestamp()) + ":";
    for (const auto &one : notification.update())
      text += " " + one.path().elem(0).name() + "=" + std::to_string(one.val().int_val()) +
              (one.duplicates() == 0 ? "" : "*" + std::to_string(one.duplicates()));
    for (const auto &path : notification.delete_()) text += " -" + path.elem(0).name();
    text += "; ";
  }
  return text + (batch.is_synced ? "synced" : "");
}

TEST(Backlog, KeepsTheNewestOfEachValueAndCountsTheOthers) {
  Backlog backlog;
  EXPECT_TRUE(backlog.empty());
  const auto first = batch(update(1, "a", 1));
  backlog.add(first);
  EXPECT_EQ(backlog.take(), first);  // nothing was put together
  EXPECT_TRUE(backlog.empty());

  for (const auto &one : {update(1, "a", 1), update(1, "b", 5), update(2, "a", 2), update(3, "a", 3)})
    backlog.add(batch(one));
  EXPECT_EQ(shown(*backlog.take()), "1: b=5; 3: a=3*2; ");
  backlog.add(batch(update(4, "a", 4)));
  EXPECT_EQ(shown(*backlog.take()), "4: a=4; ");
}

TEST(Backlog, KeepsDeletesAndTheEndOfTheBeginning) {
  Backlog backlog;
  backlog.add(batch(update(1, "a", 1)));
  backlog.add(batch("", true));
  backlog.add(batch("timestamp: 2 delete { elem { name: 'a' } } delete { elem { name: 'b' } }"));
  backlog.add(batch(update(3, "b", 3)));
  EXPECT_EQ(shown(*backlog.take()), "2: -a; 3: b=3; synced");
}

TEST(Batch, HoldsAMessageForEachNotification) {
  const auto made = batch(update(1, "a", 1), true);
  ASSERT_EQ(made->messages.size(), 2U);
  const std::string ends[] = {made->notifications.front().SerializeAsString(), std::string("\x18\x01", 2)};
  for (std::size_t at = 0; at < 2; ++at) {
    grpc::Slice bytes;
    ASSERT_TRUE(made->messages[at].DumpToSingleSlice(&bytes).ok());
    EXPECT_TRUE(std::string(reinterpret_cast<const char *>(bytes.begin()), bytes.size()).ends_with(ends[at]));
  }
}

}  // namespace
}  // namespace ymap::telemetry::test
