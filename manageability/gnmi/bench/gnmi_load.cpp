// A client that makes work for a server of gNMI, and measures what that costs:
//
//   gnmi_load ADDRESS gets COUNT                      reads of one amplifier
//   gnmi_load ADDRESS streams COUNT SECONDS PROCESS   subscribers of one sample a second: time and memory
//   gnmi_load ADDRESS edits COUNT                     from an edit to its update

#include <grpcpp/grpcpp.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "gnmi.grpc.pb.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr const char *kAmplifier = "0/0-AMP-PRE0";
constexpr int kStreamsOfAConnection = 100;

[[noreturn]] void fail(const std::string &what) {
  std::fprintf(stderr, "gnmi_load: %s\n", what.c_str());
  std::exit(1);
}

void check(const grpc::Status &status) {
  if (!status.ok()) fail(status.error_message());
}

gnmi::Path amplifier_path(const std::vector<std::string> &below) {
  gnmi::Path path;
  for (const auto *name : {"optical-amplifier", "amplifiers", "amplifier"}) path.add_elem()->set_name(name);
  (*path.mutable_elem(2)->mutable_key())["name"] = kAmplifier;
  for (const auto &name : below) path.add_elem()->set_name(name);
  return path;
}

/// Of its own: gRPC shares connections of channels that are alike.
std::unique_ptr<gnmi::gNMI::Stub> connect(const std::string &address) {
  grpc::ChannelArguments arguments;
  arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
  return gnmi::gNMI::NewStub(
      grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments));
}

void get(gnmi::gNMI::Stub &stub, int count) {
  gnmi::GetRequest request;
  *request.add_path() = amplifier_path({});
  request.set_encoding(gnmi::JSON_IETF);
  for (int at = 0; at < count; ++at) {
    grpc::ClientContext context;
    gnmi::GetResponse response;
    check(stub.Get(&context, request, &response));
  }
}

/// Counts what it is told.
class Subscriber final : public grpc::ClientBidiReactor<gnmi::SubscribeRequest, gnmi::SubscribeResponse> {
 public:
  Subscriber(gnmi::gNMI::Stub &stub, std::atomic<int64_t> &updates, std::atomic<int> &synced)
      : updates_(updates), synced_(synced) {
    auto &list = *request_.mutable_subscribe();
    list.set_encoding(gnmi::PROTO);
    auto &subscription = *list.add_subscription();
    *subscription.mutable_path() = amplifier_path({"state"});
    subscription.set_mode(gnmi::SAMPLE);
    subscription.set_sample_interval(1'000'000'000);
    stub.async()->Subscribe(&context_, this);
    StartWrite(&request_);
    StartRead(&response_);
    StartCall();
  }
  void stop() {
    context_.TryCancel();
    std::unique_lock lock(mutex_);
    over_.wait(lock, [this] { return is_over_; });
  }

 private:
  void OnReadDone(bool ok) override {
    if (!ok) return;
    response_.sync_response() ? void(++synced_) : void(++updates_);
    StartRead(&response_);
  }
  void OnDone(const grpc::Status & /*status*/) override {
    const std::lock_guard lock(mutex_);
    is_over_ = true;
    over_.notify_all();
  }

  std::atomic<int64_t> &updates_;
  std::atomic<int> &synced_;
  grpc::ClientContext context_;
  gnmi::SubscribeRequest request_;
  gnmi::SubscribeResponse response_;
  std::mutex mutex_;
  std::condition_variable over_;
  bool is_over_ = false;
};

/// User and system time of a process, in seconds.
double processor_time(const std::string &process) {
  std::ifstream file("/proc/" + process + "/stat");
  std::string word;
  double ticks = 0;
  for (int field = 1; field <= 15 && file >> word; ++field)
    if (field >= 14) ticks += std::stod(word);
  return ticks / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

std::string resident_kilobytes(const std::string &process) {
  std::ifstream file("/proc/" + process + "/status");
  for (std::string word; file >> word;)
    if (word == "VmRSS:" && file >> word) return word;
  fail("process " + process + " is not there");
}

void stream(const std::string &address, int count, int seconds, const std::string &process) {
  std::atomic<int64_t> updates = 0;
  std::atomic<int> synced = 0;
  std::vector<std::unique_ptr<gnmi::gNMI::Stub>> stubs;
  std::vector<std::unique_ptr<Subscriber>> subscribers;
  for (int at = 0; at < count; ++at) {
    if (at % kStreamsOfAConnection == 0) stubs.push_back(connect(address));
    subscribers.push_back(std::make_unique<Subscriber>(*stubs.back(), updates, synced));
  }
  while (synced < count) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  const auto time_before = processor_time(process);
  const auto updates_before = updates.load();
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  const auto time = processor_time(process) - time_before;
  const auto told = updates - updates_before;
  std::printf("%d %.6f %lld %s\n", count, time / seconds, static_cast<long long>(told),
              resident_kilobytes(process).c_str());
  for (const auto &subscriber : subscribers) subscriber->stop();
}

void edit(gnmi::gNMI::Stub &stub, int count) {
  gnmi::SubscribeRequest wish;
  auto &subscription = *wish.mutable_subscribe()->add_subscription();
  *subscription.mutable_path() = amplifier_path({"config", "target-gain"});
  subscription.set_mode(gnmi::ON_CHANGE);
  grpc::ClientContext context;
  const auto updates = stub.Subscribe(&context);
  updates->Write(wish);
  gnmi::SubscribeResponse response;
  while (updates->Read(&response) && !response.sync_response()) {
  }
  std::vector<double> times;
  for (int at = 0; at < count; ++at) {
    gnmi::SetRequest request;
    auto &update = *request.add_update();
    *update.mutable_path() = amplifier_path({"config", "target-gain"});
    update.mutable_val()->set_double_val(at % 2 == 0 ? 15.5 : 16.5);
    const auto start = Clock::now();
    grpc::ClientContext one;
    gnmi::SetResponse done;
    check(stub.Set(&one, request, &done));
    if (!updates->Read(&response)) fail("the stream is over");
    times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
  }
  std::ranges::sort(times);
  std::printf("%.2f %.2f\n", times[times.size() / 2], times.back());
  context.TryCancel();
}

}  // namespace

int main(int argc, char **argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  const auto is = [&](const char *work, std::size_t size) {
    return words.size() == size && words[1] == work;
  };
  if (is("gets", 3))
    get(*connect(words[0]), std::stoi(words[2]));
  else if (is("streams", 5))
    stream(words[0], std::stoi(words[2]), std::stoi(words[3]), words[4]);
  else if (is("edits", 3))
    edit(*connect(words[0]), std::stoi(words[2]));
  else
    fail("gets COUNT, streams COUNT SECONDS PROCESS, edits COUNT");
}
