// Microseconds per translation, through the built plug-in and runtime, with prepared trees: no device, no
// XML.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>

#include "native_answer.hpp"

namespace {

using yfw::Datatree;
using yfw::bench::ports;
using yfw::bench::PreparedDatastore;

const yfw::Plugin &plugin() {
  static const yfw::Plugin loaded(yfw::optical_amplifier(), PLUGIN_FILE);
  return loaded;
}

// A request for one amplifier, all three when `name` is empty.
Datatree request(const std::string &name) {
  const auto *oc = YMAP_NS_OPENCONFIG;
  Datatree tree;
  vidl_yfw_datatree *top = tree.add(tree.root(), "optical-amplifier", oc);
  if (name.empty()) return tree;
  vidl_yfw_datatree *list = tree.add(top, "amplifiers", oc);
  tree.add(tree.add(list, "amplifier", oc), "name", oc, name);
  return tree;
}

Datatree edit_of_four_leaves() {
  const auto *oc = YMAP_NS_OPENCONFIG;
  Datatree tree = request("0/0-AMP-BST2");
  vidl_yfw_datatree *entry = tree.root()->subtrees->subtrees->subtrees;
  vidl_yfw_datatree *config = tree.add(entry, "config", oc);
  tree.add(config, "target-gain", oc, "15.57");
  tree.add(config, "target-gain-tilt", oc, "-1.5");
  tree.add(config, "gain-range", oc, "MID_GAIN_RANGE");
  tree.add(config, "enabled", oc, "true");
  return tree;
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

}  // namespace

BENCHMARK_MAIN();
