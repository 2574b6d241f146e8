// Microseconds per translation, through the built plug-in and runtime, with prepared trees: no device, no
// XML. At the end the ratio to the same mapping written by hand with libyang.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <map>

#include "native_answer.hpp"
#include "peer.hpp"
#include "requests.hpp"

namespace {

using yfw::Datatree;
using yfw::bench::edit_of_four_leaves;
using yfw::bench::ports;
using yfw::bench::PreparedDatastore;
using yfw::bench::request;

const yfw::Plugin &plugin() {
  static const yfw::Plugin loaded(yfw::optical_amplifier(), PLUGIN_FILE);
  return loaded;
}

void read(benchmark::State &state, uint32_t type, const std::string &name, Datatree answer) {
  PreparedDatastore datastore(std::move(answer));
  yfw::Mapper mapper(plugin(), datastore);
  const Datatree filter = request(name);
  for (auto _ : state) benchmark::DoNotOptimize(mapper.read({&filter, type, 0}).root());
}

void get_config_one(benchmark::State &state) {
  read(state, YMAP_REQ_GET_CONFIG, "0/0-AMP-BST2", ports(2, 1, false));
}
BENCHMARK(get_config_one)->Unit(benchmark::kMicrosecond);

void get_one(benchmark::State &state) {
  read(state, YMAP_REQ_GET, "0/0-AMP-BST2", ports(2, 1, true));
}
BENCHMARK(get_one)->Unit(benchmark::kMicrosecond);

void get_all(benchmark::State &state) {
  read(state, YMAP_REQ_GET, "", ports(0, 3, true));
}
BENCHMARK(get_all)->Unit(benchmark::kMicrosecond);

// The answer to one amplifier's read, with ports in it that carry none.
void get_one_among_ports(benchmark::State &state) {
  const auto count = static_cast<int>(state.range(0));
  read(state, YMAP_REQ_GET, "0/0-AMP-BST2", ports(2, count, true));
  state.SetComplexityN(count);
}
BENCHMARK(get_one_among_ports)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1000)
    ->Complexity(benchmark::oN)
    ->Unit(benchmark::kMicrosecond);

void edit_four_leaves(benchmark::State &state) {
  PreparedDatastore datastore{Datatree()};
  yfw::Mapper mapper(plugin(), datastore);
  const Datatree edit = edit_of_four_leaves();
  for (auto _ : state) mapper.edit(edit);
}
BENCHMARK(edit_four_leaves)->Unit(benchmark::kMicrosecond);

// A generic leaf handler is one trace point; both outputs are off.
void trace_point(benchmark::State &state) {
  void *library = dlopen(PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return state.SkipWithError(dlerror());
  const auto handler = reinterpret_cast<yfw::Walker>(
      dlsym(library, "ymap_no_oc_amplifier_kva220_velmnaltocontrollerotscfg_duck_map_leaf"));
  yfw_map_ctx ctx{};
  for (auto _ : state) benchmark::DoNotOptimize(handler(&ctx, nullptr, nullptr));
  dlclose(library);
}
BENCHMARK(trace_point);

// ---- The peer -------------------------------------------------------------------------------------

yfw::bench::Peer &peer() {
  static yfw::bench::Peer loaded(MODEL_FOLDER);
  return loaded;
}

void peer_get_config_one(benchmark::State &state) {
  for (auto _ : state) peer().get(false);
}
BENCHMARK(peer_get_config_one)->Unit(benchmark::kMicrosecond);

void peer_get_one(benchmark::State &state) {
  for (auto _ : state) peer().get(true);
}
BENCHMARK(peer_get_one)->Unit(benchmark::kMicrosecond);

void peer_edit_four_leaves(benchmark::State &state) {
  for (auto _ : state) peer().edit();
}
BENCHMARK(peer_edit_four_leaves)->Unit(benchmark::kMicrosecond);

// Prints as usual, and remembers the processor time of each benchmark.
class Reporter : public benchmark::ConsoleReporter {
 public:
  Reporter() : ConsoleReporter(isatty(STDOUT_FILENO) != 0 ? OO_ColorTabular : OO_Tabular) {}

  void ReportRuns(const std::vector<Run> &runs) override {
    for (const Run &run : runs) times_[run.benchmark_name()] = run.GetAdjustedCPUTime();
    ConsoleReporter::ReportRuns(runs);
  }

  void print_ratios() const {
    std::cout << "\nTime of the peer (libyang, child walks) over ours:\n";
    for (const char *name : {"get_config_one", "get_one", "edit_four_leaves"}) {
      const auto ours = times_.find(name), theirs = times_.find(std::string("peer_") + name);
      if (ours == times_.end() || theirs == times_.end()) continue;
      std::cout << "  " << std::left << std::setw(18) << name << std::fixed << std::setprecision(1)
                << theirs->second / ours->second << '\n';
    }
  }

 private:
  std::map<std::string, double> times_;
};

}  // namespace

int main(int argc, char **argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  Reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.print_ratios();
  return 0;
}
