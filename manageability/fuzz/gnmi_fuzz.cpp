// Bytes as gNMI requests: the first tells which, the rest goes through the generated parser. A refused Set
// stores nothing, what is told is JSON where it says so, and nothing but a status comes back.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "bench_device.hpp"
#include "get_request.hpp"
#include "hub.hpp"
#include "rpc_error.hpp"
#include "set_request.hpp"
#include "status.hpp"
#include "value.hpp"

namespace {

namespace telemetry = ymap::telemetry;
using std::chrono::seconds;

[[noreturn]] void fail(const std::string &what, const std::string &text) {
  std::fprintf(stderr, "gnmi_fuzz: %s:\n%s\n", what.c_str(), text.c_str());
  std::abort();
}

void expect_json(const gnmi::Notification &notification) {
  for (const auto &update : notification.update()) {
    try {
      telemetry::json_in(update.val(), {});
    } catch (const ymap::RpcError &error) {
      fail(error.what(), update.ShortDebugString());
    }
  }
}

class Listener : public telemetry::Outlet {
 public:
  void send(std::shared_ptr<const telemetry::Batch> batch) override {
    if (is_closed) fail("told after the end", {});
    for (const auto &notification : batch->notifications) expect_json(notification);
    backlog.add(std::move(batch));
  }
  void close(const grpc::Status & /*status*/) override { is_closed = true; }

  telemetry::Backlog backlog;
  bool is_closed = false;
};

void get(ymap_fuzz::BenchDevice &bench, telemetry::Readings &readings, const gnmi::GetRequest &request) {
  const telemetry::GetQuery query(bench.session().schema(), request);
  const auto reading = readings.read(query.amplifiers(), seconds(1), std::chrono::steady_clock::now());
  const auto response = query.answer(*reading);
  for (const auto &notification : response.notification()) expect_json(notification);
}

void set(ymap_fuzz::BenchDevice &bench, const gnmi::SetRequest &request) {
  bench.session().run(bench.who(), telemetry::edit_of(bench.session().schema(), request));
  const auto response = telemetry::set_response(request, 1);
  if (response.response_size() != request.delete__size() + request.replace_size() + request.update_size())
    fail("operations without a result", request.ShortDebugString());
}

void subscribe(ymap_fuzz::BenchDevice &bench, telemetry::Hub &hub, const gnmi::SubscribeRequest &request) {
  static telemetry::Hub::StreamId id = 0;
  const auto listener = std::make_shared<Listener>();
  telemetry::Hub::Clock::time_point now(seconds(1000));
  hub.open(++id, bench.who(), listener);
  hub.receive(id, request, now);
  bench.session().run(bench.who(),
                      edit_request(bench.session().schema(), "0/0-AMP-PRE0", {{"enabled", "false"}}));
  hub.configuration_changed(now);
  for (int times = 0; times < 3; ++times) {
    const auto next = hub.run(now);
    if (!next) break;
    now = *next;
  }
  if (!listener->backlog.empty()) listener->backlog.take();
  hub.leave(id);
  if (hub.streams() != 0 || hub.run(now)) fail("a stream is left", request.ShortDebugString());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static ymap_fuzz::BenchDevice bench;
  static telemetry::Readings readings(bench.session());
  static telemetry::Hub hub(bench.session(), readings, 1, true);
  // The parser tells of broken bytes by itself, and in words for each.
  static const google::protobuf::LogSilencer silence;
  if (size == 0) return 0;
  bench.restore();
  const std::string bytes(reinterpret_cast<const char *>(data) + 1, size - 1);
  const auto with = [&]<typename Request>(Request request, const auto &work) {
    if (request.ParseFromString(bytes)) work(request);
  };
  try {
    switch (data[0] % 3) {
      case 0:
        with(gnmi::GetRequest(), [&](const auto &request) { get(bench, readings, request); });
        break;
      case 1:
        with(gnmi::SetRequest(), [&](const auto &request) { set(bench, request); });
        break;
      default:
        with(gnmi::SubscribeRequest(), [&](const auto &request) { subscribe(bench, hub, request); });
    }
  } catch (const ymap::RpcError &error) {
    if (bench.is_edited()) fail("a refused request was stored", error.what());
    if (telemetry::status_of(error.fault()).ok()) fail("a refusal without a code", error.what());
  }
  return 0;
}
