// Requests per second of one NETCONF session and of eight, and what part of a session's processor time is the
// translation (plug-in and runtime).
#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <regex>
#include <stdexcept>
#include <string>

#include "openconfig_request.hpp"
#include "session.hpp"
#include "session_process.hpp"

namespace {

using ymap::bench::SessionProcess;
using Clock = std::chrono::steady_clock;

constexpr std::array<const char *, 3> kAmplifiers = {"0/0-AMP-PRE0", "0/0-AMP-BST0", "0/0-AMP-BST2"};

/// A device folder with factory data that goes away with the program.
class TemporaryDevice {
 public:
  TemporaryDevice() {
    auto name = (std::filesystem::temp_directory_path() / "netconf-bench-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder for a device can be made");
    folder_ = name;
  }
  ~TemporaryDevice() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  TemporaryDevice(const TemporaryDevice &) = delete;
  TemporaryDevice &operator=(const TemporaryDevice &) = delete;

  const std::filesystem::path &folder() const { return folder_; }

 private:
  std::filesystem::path folder_;
};

const std::filesystem::path &device_folder() {
  static const TemporaryDevice device;
  return device.folder();
}

std::string rpc(const std::string &operation) {
  return R"(<rpc message-id="1" xmlns="urn:ietf:params:xml:ns:netconf:base:1.0">)" + operation + "</rpc>";
}

std::string data_of(const std::string &amplifier, const std::string &inner) {
  return R"(<optical-amplifier xmlns="http://openconfig.net/yang/optical-amplfier"><amplifiers><amplifier><name>)" +
         amplifier + "</name>" + inner + "</amplifier></amplifiers></optical-amplifier>";
}

std::string get_config_message(const std::string &amplifier) {
  return rpc("<get-config><source><running/></source><filter>" + data_of(amplifier, "") +
             "</filter></get-config>");
}

std::string get_message(const std::string &amplifier) {
  return rpc("<get><filter>" + data_of(amplifier, "") + "</filter></get>");
}

std::string edit_message(const std::string &amplifier) {
  return rpc("<edit-config><target><running/></target><config>" +
             data_of(amplifier,
                     "<config><target-gain>15.5</target-gain><target-gain-tilt>-1.5</target-gain-tilt>"
                     "<gain-range>MID_GAIN_RANGE</gain-range><enabled>true</enabled></config>") +
             "</config></edit-config>");
}

/// The device, and the time that was spent in it.
class TimedDevice : public yfw::NativeDatastore {
 public:
  explicit TimedDevice(yfw::NativeDatastore &device) : device_(device) {}
  void read(const yfw::Datatree &request, yfw::Datatree &answer) override {
    const auto begin = Clock::now();
    device_.read(request, answer);
    spent_ += Clock::now() - begin;
  }
  void edit(const yfw::Datatree &request) override {
    const auto begin = Clock::now();
    device_.edit(request);
    spent_ += Clock::now() - begin;
  }
  double seconds() const { return std::chrono::duration<double>(spent_).count(); }

 private:
  yfw::NativeDatastore &device_;
  Clock::duration spent_{};
};

/// Seconds that plug-in and runtime take for one such request, the device's part left out.
double translation_time(const std::string &message) {
  ymap::Session session({PLUGIN_FILE, MODEL_FOLDER}, device_folder());
  const auto request = ymap::RpcMessage(message).request(session.schema());
  TimedDevice device(session.device());
  yfw::Mapper mapper(session.plugin(), device);
  constexpr int rounds = 200;
  const auto once = [&] {
    if (request.kind == ymap::Request::Kind::edit)
      mapper.edit(request.tree);
    else
      benchmark::DoNotOptimize(
          mapper
              .read({&request.tree,
                     request.kind == ymap::Request::Kind::get ? YMAP_REQ_GET : YMAP_REQ_GET_CONFIG})
              .root());
  };
  once();
  const auto begin = Clock::now();
  const double in_device = device.seconds();
  for (int round = 0; round < rounds; ++round) once();
  const double all = std::chrono::duration<double>(Clock::now() - begin).count();
  return (all - (device.seconds() - in_device)) / rounds;
}

void run(benchmark::State &state, std::string (*message_for)(const std::string &amplifier)) {
  const auto message =
      message_for(kAmplifiers[static_cast<std::size_t>(state.thread_index()) % kAmplifiers.size()]);
  SessionProcess session(YMAP_TOOL, device_folder());
  if (session.exchange(message).find("<rpc-error>") != std::string::npos)
    return state.SkipWithError("the request was refused");
  const double before = session.processor_time();
  for (auto _ : state) session.exchange(message);
  const double used = session.processor_time() - before;
  state.SetItemsProcessed(state.iterations());
  if (state.threads() > 1) return;
  const auto requests = static_cast<double>(state.iterations());
  state.counters["cpu_us"] = 1e6 * used / requests;
  const double translation = translation_time(message);
  state.counters["map_us"] = 1e6 * translation;
  if (used > 0) state.counters["map_%"] = 100 * translation * requests / used;
}

void get_config_one(benchmark::State &state) {
  run(state, get_config_message);
}
void get_one(benchmark::State &state) {
  run(state, get_message);
}
void edit_four_leaves(benchmark::State &state) {
  run(state, edit_message);
}
/// Seconds of a request, as the mean of some.
double processor_time_of(SessionProcess &session, const std::string &message, int64_t requests) {
  const double before = session.processor_time();
  for (int64_t request = 0; request < requests; ++request) session.exchange(message);
  return (session.processor_time() - before) / static_cast<double>(requests);
}

/// How often the device was waited for: once for locks that follow each other, which go out together.
std::size_t round_trips(const std::filesystem::path &heard) {
  std::ifstream stream(heard, std::ios::binary);
  const std::string text(std::istreambuf_iterator<char>(stream), {});
  static const std::regex request("<rpc [^>]*><([a-z-]+)");
  std::size_t trips = 0;
  std::string before;
  for (std::sregex_iterator found(text.begin(), text.end(), request), end; found != end; ++found) {
    const auto operation = (*found)[1].str();
    trips += operation != before || !operation.ends_with("lock") ? 1U : 0U;
    before = operation;
  }
  return trips;
}

/// The same in front of a device elsewhere: what this process takes of a processor beside what it takes in
/// front of a folder, and how often a request waits for the device. `options` are of the device's server.
void in_front_of_a_device(benchmark::State &state, std::string (*message_for)(const std::string &amplifier),
                          const char *options) {
  const auto heard = device_folder().parent_path() / (device_folder().filename().string() + ".heard");
  const auto server =
      std::string(YMAP_TOOL) + " netconf --native " + options + " --device " + device_folder().string();
  setenv("YMAP_SSH", ("sh -c 'tee " + heard.string() + " | " + server + "'").c_str(), 1);
  const auto message = message_for(kAmplifiers[0]);
  {
    SessionProcess session(YMAP_TOOL, "ssh://device");
    if (session.exchange(message).find("<rpc-error>") != std::string::npos)
      return state.SkipWithError("the request was refused");
    const auto before = round_trips(heard);
    for (auto _ : state) session.exchange(message);
    const auto requests = static_cast<double>(state.iterations());
    state.counters["round_trips"] = static_cast<double>(round_trips(heard) - before) / requests;
    state.counters["cpu_us"] = 1e6 * processor_time_of(session, message, state.iterations());
  }
  SessionProcess folder(YMAP_TOOL, device_folder());
  folder.exchange(message);
  state.counters["folder_cpu_us"] = 1e6 * processor_time_of(folder, message, state.iterations());
  state.SetItemsProcessed(state.iterations());
  std::filesystem::remove(heard);
}

void device_get_config(benchmark::State &state) {
  in_front_of_a_device(state, get_config_message, "");
}
void device_get(benchmark::State &state) {
  in_front_of_a_device(state, get_message, "");
}
void device_edit_running(benchmark::State &state) {
  in_front_of_a_device(state, edit_message, "");
}
void device_edit_candidate(benchmark::State &state) {
  in_front_of_a_device(state, edit_message, "--candidate");
}

/// A session from its start to its hello and its end; and what it keeps in memory, before and after it has
/// answered.
void session(benchmark::State &state) {
  for (auto _ : state)
    SessionProcess(YMAP_TOOL, device_folder()).exchange(get_config_message(kAmplifiers[0]));
  state.SetItemsProcessed(state.iterations());
  SessionProcess measured(YMAP_TOOL, device_folder());
  const auto note = [&](const std::string &when) {
    const auto memory = measured.memory();
    state.counters["rss_KiB" + when] = memory.resident;
    state.counters["private_KiB" + when] = memory.own;
  };
  note("_hello");
  measured.exchange(get_config_message(kAmplifiers[0]));
  measured.exchange(edit_message(kAmplifiers[0]));
  note("_edit");
  measured.exchange(rpc("<get/>"));
  note("_full_get");
  state.counters["peak_KiB"] = measured.memory().peak;
}
BENCHMARK(session)->UseRealTime()->Unit(benchmark::kMillisecond);

// Two seconds, as processor time is counted in ticks of 10 ms.
BENCHMARK(get_config_one)->Threads(1)->Threads(8)->UseRealTime()->MinTime(2)->Unit(benchmark::kMicrosecond);
BENCHMARK(get_one)->Threads(1)->Threads(8)->UseRealTime()->MinTime(2)->Unit(benchmark::kMicrosecond);
BENCHMARK(edit_four_leaves)->Threads(1)->Threads(8)->UseRealTime()->MinTime(2)->Unit(benchmark::kMicrosecond);
BENCHMARK(device_get_config)->UseRealTime()->MinTime(2)->Unit(benchmark::kMicrosecond);
BENCHMARK(device_get)->UseRealTime()->MinTime(2)->Unit(benchmark::kMicrosecond);
BENCHMARK(device_edit_running)->UseRealTime()->MinTime(2)->Unit(benchmark::kMicrosecond);
BENCHMARK(device_edit_candidate)->UseRealTime()->MinTime(2)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char **argv) {
  std::signal(SIGPIPE, SIG_IGN);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
