// Who is told what and when, and what the device is asked for it.
#include "hub.hpp"

#include <google/protobuf/text_format.h>

#include <map>

#include "rpc_error.hpp"
#include "support.hpp"

namespace ymap::telemetry::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// Keeps what it is sent.
class Listener : public Outlet {
 public:
  void send(std::shared_ptr<const Batch> batch) override { batches.push_back(std::move(batch)); }
  void close(const grpc::Status &status) override { closed = status; }

  /// What has come since the last call: leaves with their values, "-leaf" of what is gone, "synced".
  std::string told() {
    std::string text;
    for (const auto &batch : batches) {
      for (const auto &notification : batch->notifications) {
        EXPECT_EQ(test::text(notification.prefix()).find("config"), std::string::npos);
        for (const auto &update : notification.update())
          text += update.path().elem().rbegin()->name() + "=" + update.val().json_val() + " ";
        for (const auto &path : notification.delete_()) text += "-" + path.elem().rbegin()->name() + " ";
      }
      if (batch->is_synced) text += "synced ";
    }
    batches.clear();
    return text;
  }

  std::vector<std::shared_ptr<const Batch>> batches;
  std::optional<grpc::Status> closed;
};

const std::string kPre = "/optical-amplifier/amplifiers/amplifier[name=0/0-AMP-PRE0]";

class HubTest : public WithDevice {
 protected:
  /// `list` is the text of a SubscriptionList but for its paths, which all have that of `sub`.
  std::shared_ptr<Listener> subscribe(const std::string &list, const std::string &below,
                                      const std::string &sub) {
    auto listener = std::make_shared<Listener>();
    hub_.open(++last_, who_, listener);
    ::gnmi::SubscribeRequest request;
    EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString("subscribe { " + list + " }", &request))
        << list;
    auto &subscription = *request.mutable_subscribe()->add_subscription();
    EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(sub, &subscription)) << sub;
    *subscription.mutable_path() = path(below);
    hub_.receive(last_, request, now_);
    return listener;
  }
  /// Time goes on to where something is due, `times` times; returns the device's reads.
  int go_on(int times = 1) {
    const int before = device_->reads;
    for (int count = 0; count < times; ++count) {
      const auto next = hub_.run(now_);
      if (!next) break;
      now_ = *next;
      hub_.run(now_);
    }
    return device_->reads - before;
  }
  int reads_of(const std::function<void()> &work) {
    const int before = device_->reads;
    work();
    return device_->reads - before;
  }

  Readings readings_{*session_};
  Hub hub_{*session_, readings_, 1000, true};
  Hub::StreamId last_ = 0;
  Hub::Clock::time_point now_{seconds(1000)};
};

constexpr const char *kSecond = "mode: SAMPLE sample_interval: 1000000000";

TEST_F(HubTest, ReadsOnceForAllWhoWantTheSameTime) {
  const std::string all = "/optical-amplifier/amplifiers/amplifier/state";
  const int one = reads_of([&] { subscribe("", all, kSecond); });
  ASSERT_EQ(one, 3);  // the mapping asks for one amplifier after the other
  std::vector<std::shared_ptr<Listener>> listeners;
  // They come within the time that a reading serves, so that none costs another one.
  const int more = reads_of([&] {
    for (int count = 0; count < 500; ++count)
      listeners.push_back(subscribe("", count % 2 == 0 ? kPre + "/state" : kPre + "/config", kSecond));
  });
  EXPECT_EQ(more, 0);
  const auto slow = subscribe("", kPre + "/state", "mode: SAMPLE sample_interval: 10000000000");
  slow->told();
  for (int count = 0; count < 9; ++count) EXPECT_EQ(go_on(), one) << count;
  EXPECT_EQ(slow->told(), "");
  EXPECT_EQ(go_on(), one);
  EXPECT_NE(slow->told(), "");
  ASSERT_EQ(listeners[0]->batches.size(), 12U);  // all, synced, ten samples
  for (std::size_t at = 2; at < 12; ++at) EXPECT_EQ(listeners[0]->batches[at], listeners[498]->batches[at]);
}

TEST_F(HubTest, NobodyThereNothingRead) {
  EXPECT_FALSE(hub_.run(now_));
  subscribe("", kPre, kSecond);
  EXPECT_TRUE(hub_.run(now_));
  hub_.leave(last_);
  EXPECT_EQ(go_on(3), 0);
  EXPECT_FALSE(hub_.run(now_));
}

TEST_F(HubTest, SamplesAllOrWhatChanged) {
  const auto all = subscribe("", kPre + "/config", kSecond);
  const auto changes = subscribe("", kPre + "/config", std::string(kSecond) + " suppress_redundant: true");
  const auto beating =
      subscribe("", kPre + "/config",
                std::string(kSecond) + " suppress_redundant: true heartbeat_interval: 3000000000");
  const auto only =
      subscribe("updates_only: true", kPre + "/config", std::string(kSecond) + " suppress_redundant: true");
  const auto whole = all->told();
  ASSERT_TRUE(whole.ends_with("synced ")) << whole;
  const auto sample = whole.substr(0, whole.size() - 7);
  EXPECT_EQ(changes->told(), whole);
  EXPECT_EQ(beating->told(), whole);
  EXPECT_EQ(only->told(), "synced ");
  set("target-gain", "9.5");
  go_on();
  EXPECT_NE(all->told().find("target-gain=9.5 "), std::string::npos);
  for (const auto &listener : {changes, beating, only}) EXPECT_EQ(listener->told(), "target-gain=9.5 ");
  go_on(2);
  EXPECT_EQ(changes->told(), "");
  EXPECT_EQ(beating->told().size(), sample.size() - 1);  // 9.5 for 17.2
}

TEST_F(HubTest, TellsChangesWhenTheyAreMade) {
  const auto on_change = subscribe("", kPre + "/config", "mode: ON_CHANGE");
  const auto beating = subscribe("", kPre + "/config", "mode: ON_CHANGE heartbeat_interval: 5000000000");
  const auto defined = subscribe("", kPre, "mode: TARGET_DEFINED");
  const auto sampled = subscribe("", kPre + "/config", kSecond);
  for (const auto &listener : {on_change, beating, defined, sampled}) listener->told();
  hub_.configuration_changed(now_);
  set("target-gain", "9.5");
  now_ += milliseconds(1);
  const int reads = reads_of([&] { hub_.configuration_changed(now_); });
  EXPECT_GT(reads, 0);
  EXPECT_EQ(reads_of([&] { hub_.configuration_changed(now_); }), 0);  // it is the same edit
  EXPECT_EQ(on_change->told(), "target-gain=9.5 ");
  EXPECT_EQ(beating->told(), "target-gain=9.5 ");
  EXPECT_EQ(defined->told(), "target-gain=9.5 ");
  EXPECT_EQ(sampled->told(), "");
  now_ += milliseconds(1);
  session_->run(who_, edit_request(schema(), "0/0-AMP-PRE0", {{"target-gain-tilt", std::nullopt}}));
  hub_.configuration_changed(now_);
  EXPECT_EQ(on_change->told(), "-target-gain-tilt ");
  // A newcomer knows what the others know, and nobody is told twice.
  now_ += milliseconds(1);
  set("enabled", "false");
  const auto late = subscribe("", kPre + "/config", "mode: ON_CHANGE");
  EXPECT_NE(late->told().find("enabled=false"), std::string::npos);
  hub_.configuration_changed(now_);
  EXPECT_EQ(late->told(), "");
  EXPECT_EQ(on_change->told(), "enabled=false ");
  beating->told();
  go_on(6);
  EXPECT_NE(beating->told().find("target-gain=9.5 "), std::string::npos);
  EXPECT_EQ(on_change->told(), "");
}

TEST_F(HubTest, LooksAtMeasurementsOfOnChangeAndTellsWhatIsAnother) {
  const auto listener = subscribe("", kPre + "/state/actual-gain", "mode: ON_CHANGE");
  EXPECT_NE(listener->told().find("instant="), std::string::npos);
  EXPECT_EQ(hub_.run(now_), now_ + seconds(1));
}

TEST_F(HubTest, OnceAndPoll) {
  const auto once = subscribe("mode: ONCE", kPre + "/config/enabled", "");
  EXPECT_EQ(once->told(), "enabled=true synced ");
  ASSERT_TRUE(once->closed);
  EXPECT_TRUE(once->closed->ok());
  const auto poll = subscribe("mode: POLL", kPre + "/config/enabled", "");
  EXPECT_EQ(poll->told(), "enabled=true synced ");
  const auto quiet = subscribe("mode: POLL updates_only: true", kPre + "/config/enabled", "");
  EXPECT_EQ(quiet->told(), "synced ");
  ::gnmi::SubscribeRequest again;
  again.mutable_poll();
  hub_.receive(last_, again, now_);
  hub_.receive(last_ - 1, again, now_);
  EXPECT_EQ(quiet->told() + poll->told(), "enabled=true synced enabled=true synced ");
  EXPECT_EQ(hub_.streams(), 2U);
  hub_.half_close(last_);
  ASSERT_TRUE(quiet->closed);
  EXPECT_TRUE(quiet->closed->ok());
  EXPECT_EQ(subscribe("mode: ONCE", "/optical-amplifier/amplifiers/amplifier[name=x]", "")->told(),
            "synced ");
}

TEST_F(HubTest, RefusesWhatItDoesNotServe) {
  const struct {
    std::string list, below, sub;
    grpc::StatusCode code;
  } rows[] = {
      {"encoding: ASCII", kPre, "", grpc::StatusCode::UNIMPLEMENTED},
      {"encoding: BYTES", kPre, "", grpc::StatusCode::UNIMPLEMENTED},
      {"mode: 7", kPre, "", grpc::StatusCode::INVALID_ARGUMENT},
      {"", kPre, "mode: 7", grpc::StatusCode::INVALID_ARGUMENT},
      {"", "/nope", "", grpc::StatusCode::INVALID_ARGUMENT},
      {"", kPre, "mode: SAMPLE sample_interval: 999999999", grpc::StatusCode::INVALID_ARGUMENT},
      {"", kPre, "mode: ON_CHANGE heartbeat_interval: 1", grpc::StatusCode::INVALID_ARGUMENT},
      {"use_models { name: 'other' }", kPre, "", grpc::StatusCode::UNIMPLEMENTED},
  };
  for (const auto &row : rows) {
    const auto listener = subscribe(row.list, row.below, row.sub);
    ASSERT_TRUE(listener->closed) << row.list << row.below << row.sub;
    EXPECT_EQ(listener->closed->error_code(), row.code) << listener->closed->error_message();
  }
  EXPECT_EQ(hub_.streams(), 0U);
  for (const auto *message : {"", "poll {}", "subscribe {}"}) {
    const auto listener = std::make_shared<Listener>();
    hub_.open(++last_, who_, listener);
    ::gnmi::SubscribeRequest request;
    google::protobuf::TextFormat::ParseFromString(message, &request);
    hub_.receive(last_, request, now_);
    ASSERT_TRUE(listener->closed) << message;
    EXPECT_EQ(listener->closed->error_code(), grpc::StatusCode::INVALID_ARGUMENT);
  }
}

TEST_F(HubTest, HasRoomForSoMany) {
  hub_.limit(2);
  const auto first = subscribe("", kPre, kSecond), second = subscribe("", kPre, kSecond);
  const auto third = subscribe("", kPre, kSecond);
  EXPECT_FALSE(first->closed || second->closed);
  ASSERT_TRUE(third->closed);
  EXPECT_EQ(third->closed->error_code(), grpc::StatusCode::RESOURCE_EXHAUSTED);
  EXPECT_EQ(hub_.streams(), 2U);
}

TEST_F(HubTest, OutlivesADeviceThatIsGoneForAWhile) {
  const auto sampled = subscribe("", kPre + "/config", kSecond);
  const auto changes = subscribe("", kPre + "/config", "mode: ON_CHANGE");
  sampled->told();
  changes->told();
  set("enabled", "false");
  device_->is_gone = true;
  now_ += milliseconds(500);
  hub_.configuration_changed(now_);
  go_on(3);
  EXPECT_FALSE(sampled->closed || changes->closed);
  EXPECT_EQ(changes->told(), "");
  device_->is_gone = false;
  go_on();
  EXPECT_EQ(changes->told(), "enabled=false ");  // it was not missed
  EXPECT_NE(sampled->told(), "");
  device_->is_gone = true;
  go_on(12);
  ASSERT_TRUE(sampled->closed);
  ASSERT_TRUE(changes->closed);
  EXPECT_EQ(sampled->closed->error_code(), grpc::StatusCode::UNAVAILABLE);
  EXPECT_EQ(sampled->closed->error_message(), "the device is gone");
}

TEST_F(HubTest, GivesValuesTheirOwnTime) {
  const auto listener = subscribe("", kPre + "/state/actual-gain", kSecond);
  std::map<std::string, int64_t> times, values;
  for (const auto &batch : listener->batches)
    for (const auto &notification : batch->notifications) {
      EXPECT_EQ(text(notification.prefix()), kPre);
      for (const auto &update : notification.update()) {
        times[update.path().elem().rbegin()->name()] = notification.timestamp();
        values[update.path().elem().rbegin()->name()] = std::stoll(update.val().json_val());
      }
    }
  constexpr int64_t bucket = 30'000'000'000;
  EXPECT_EQ(times["avg"], times["max"]);
  EXPECT_EQ(times["avg"] % bucket, 0);
  EXPECT_LE(times["avg"], times["instant"]);
  for (const auto *extreme : {"min-time", "max-time"}) {
    EXPECT_LT(values[extreme], times["avg"]);
    EXPECT_GE(values[extreme], times["avg"] - bucket);
  }
  EXPECT_LT(times["instant"] - times["avg"], 2 * bucket);
  EXPECT_NE(times["instant"] % 1000, 0) << "no clock of nanoseconds";
}

}  // namespace
}  // namespace ymap::telemetry::test
