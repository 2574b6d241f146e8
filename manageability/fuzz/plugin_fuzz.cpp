// Arbitrary trees, records and slots for every function that the plug-in exports. Beside what the sanitizers
// find, a request that began with clean records must leave them clean.

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "framework.hpp"

namespace ymap_fuzz {
namespace {

using NodeFunction = verrno(yfw_map_ctx *, vidl_yfw_datatree *, vidl_yfw_datatree *);
using ContainerFunction = verrno(yfw_map_ctx *, vidl_yfw_datatree *, uint32_t, vidl_yfw_datatree *);
using TextFunction = const char *(yfw_map_ctx *, vidl_yfw_datatree *, vidl_yfw_datatree *);

// Sizes that the plug-in documents for the buffers of its callers, and of the slots.
constexpr size_t kText = 200;
constexpr size_t kName = 20;

struct Call;
using Caller = void(Call &, void *function);

struct Export {
  std::string name;
  void *function;
  Caller *caller;
};

/// What one call gets.
struct Call {
  Bytes &bytes;
  Forest &forest;
  yfw_map_ctx &ctx;
  vidl_yfw_datatree *out;
};

[[noreturn]] void fail(const std::string &what) {
  std::fprintf(stderr, "plugin_fuzz: %s\n", what.c_str());
  std::abort();
}

template <typename Function>
Function *as(void *function) {
  return reinterpret_cast<Function *>(function);
}

/// An allocation of its own, so that a write past the end is seen.
struct Buffer {
  explicit Buffer(size_t size, const char *text = nullptr) : data(new char[size]()) {
    if (text != nullptr) std::strncpy(data.get(), text, size - 1);
  }
  std::unique_ptr<char[]> data;
};

const char *some_text(Call &call) {
  const char *text = call.forest.text(call.bytes);
  return text != nullptr ? text : "";
}

// ---- One caller a signature ----

void call_node(Call &call, void *function) {
  as<NodeFunction>(function)(&call.ctx, call.forest.tree(call.bytes), call.out);
}

void call_container(Call &call, void *function) {
  vidl_yfw_datatree *node = call.forest.tree(call.bytes);
  as<ContainerFunction>(function)(&call.ctx, node, call.bytes.byte(), call.out);
}

void call_text(Call &call, void *function) {
  const char *text = as<TextFunction>(function)(&call.ctx, call.forest.tree(call.bytes), call.out);
  if (text != nullptr && std::strlen(text) >= kText) fail("a text that is no constant");
}

void call_print(Call &call, void *function) {
  as<void(yfw_map_ctx *)>(function)(&call.ctx);
}

void call_controller_to_name(Call &call, void *function) {
  const Buffer out(kName);
  as<void(const char *, char *)>(function)(call.forest.text(call.bytes), out.data.get());
}

void call_controller_check(Call &call, void *function) {
  const Buffer out(kName);
  as<int(yfw_map_ctx *, const char *, char *)>(function)(&call.ctx, call.forest.text(call.bytes),
                                                         out.data.get());
}

void call_to_key(Call &call, void *function) {
  constexpr const char *kFormats[] = {"Ots0/0/0/%d", "%d", "%300d"};
  const char *format = kFormats[call.bytes.below(std::size(kFormats))];
  const Buffer out(kText);
  as<int(const char *, const char *, char *)>(function)(call.forest.text(call.bytes), format, out.data.get());
}

void call_to_controller(Call &call, void *function) {
  const Buffer out(kText);
  as<int(const char *, char *)>(function)(call.forest.text(call.bytes), out.data.get());
}

void call_compare(Call &call, void *function) {
  const Buffer path(kText, some_text(call));
  const Buffer key(kName);
  vidl_yfw_datatree *node = call.forest.tree(call.bytes);
  as<int(yfw_map_ctx *, vidl_yfw_datatree *, const char *, char *, char *)>(function)(
      &call.ctx, node, some_text(call), path.data.get(), key.data.get());
}

void call_search(Call &call, void *function) {
  vidl_yfw_datatree *node = call.forest.tree(call.bytes);
  as<int(yfw_map_ctx *, vidl_yfw_datatree *, const char *)>(function)(&call.ctx, node, some_text(call));
}

void call_path_search(Call &call, void *function) {
  const Buffer path(kText, some_text(call));
  vidl_yfw_datatree *node = call.forest.tree(call.bytes);
  as<int(yfw_map_ctx *, vidl_yfw_datatree *, const char *, char *)>(function)(
      &call.ctx, node, some_text(call), path.data.get());
}

void call_selection(Call &call, void *function) {
  vidl_yfw_datatree *source = call.forest.tree(call.bytes);
  as<void(yfw_map_ctx *, vidl_yfw_datatree *, vidl_yfw_datatree *, const char *)>(function)(
      &call.ctx, source, call.out, call.forest.text(call.bytes));
}

constexpr std::pair<const char *, Caller *> kCallers[] = {
    {"print_data", call_print},
    {"ots_ctrl_key_to_ampli_key", call_controller_to_name},
    {"check_controller_name_ots_is_good", call_controller_check},
    {"check_controller_name_ots_is_valid", call_controller_check},
    {"ampli_key_to_key", call_to_key},
    {"ampli_key_to_ots_ctrl_key", call_to_controller},
    {"compare_path", call_compare},
    {"check_request_type", call_search},
    {"check_request_type_3", call_path_search},
    {"add_ots_select_field", call_selection},
    {"oc_interval_to_high", call_text},
};

Caller *caller_of(const std::string &name) {
  for (const auto &[known, caller] : kCallers)
    if (name == known) return caller;
  if (name.starts_with("ymap_"))
    return name.find("_cont_lvl") != std::string::npos || name.ends_with("duck_map_container")
               ? call_container
               : call_node;
  const bool is_text =
      name.find("_gain_range_to_") != std::string::npos || name.find("_enabled_to_") != std::string::npos;
  return is_text ? call_text : call_node;
}

// The entry points of a framework; they are called as often as all others together.
constexpr const char *kRoots[] = {
    "ymap_on_oc_opt_ampli_openconfigopticalamplifier_lvla_opticalamplifier",
    "ymap_no_oc_amplifier_kva220_velmnaltoifmgrcfg_lvla_interfaceconfigurations",
    "ymap_no_oc_amplifier_kva220_velmnaltoifmgrcfg_lvla_globalinterfaceconfiguration",
    "ymap_no_oc_amplifier_kva220_velmnaltocontrollerotsoper_lvla_otsoper",
    "ymap_no_oc_amplifier_kva220_velmnaltopmengineoper_lvla_performancemanagementhistory",
    "ymap_no_oc_amplifier_kva220_velmnaltocontrollerotscfg_augment_lvla_interface_configuration",
};

/// The loaded plug-in: its functions, the roots first, and its slots.
class Plugin {
 public:
  static const Plugin &loaded() {
    static const Plugin plugin;
    return plugin;
  }
  const Export &pick(Bytes &bytes) const {
    const uint8_t choice = bytes.byte();
    if (choice < 0x60) return exports_.front();
    if (choice < 0xa0) return exports_[choice % std::size(kRoots)];
    return exports_[bytes.below(exports_.size())];
  }
  bool is_root(const Export &one) const { return &one < &exports_[std::size(kRoots)]; }
  char *&slot(const char *name) const { return *static_cast<char **>(symbol(name)); }

 private:
  Plugin() : library_(dlopen(YMAP_PLUGIN, RTLD_NOW | RTLD_LOCAL)) {
    if (library_ == nullptr) fail(dlerror());
    for (const char *root : kRoots) exports_.push_back({root, symbol(root), call_node});
    std::ifstream in(YMAP_EXPORTS);
    for (std::string kind, line; in >> kind && std::getline(in >> std::ws, line);) {
      const std::string name = line.substr(0, line.find(' '));
      if (kind == "T" || kind == "W") exports_.push_back({name, symbol(name.c_str()), caller_of(name)});
    }
    if (exports_.size() < 400) fail("the list of exports is incomplete");
  }
  void *symbol(const char *name) const {
    void *found = dlsym(library_, name);
    if (found == nullptr) fail(std::string("the plug-in does not export ") + name);
    return found;
  }

  void *library_;
  std::vector<Export> exports_;
};

/// The records of a request, as clean or as spoilt as the input wants them.
struct Records {
  yfw_map_request request{};
  yfw_map_state state{};
  yfw_map_ctx ctx{};
  bool clean = true;

  Records(Bytes &bytes, Forest &forest) {
    constexpr uint32_t kTypes[] = {
        YMAP_REQ_GET, YMAP_REQ_GET_CONFIG, YMAP_REQ_EDIT, YMAP_REQ_KEYED_8, YMAP_REQ_KEYED_15, 2, 99};
    ctx.state = &state;
    state.request = &request;
    request.type = kTypes[bytes.below(std::size(kTypes))];
    const uint8_t choice = bytes.byte();
    ctx.ltrace_on = choice & 1U;
    if ((choice & 2U) != 0) {
      request.content_selection = {bytes.byte() % 4U, bytes.byte()};
      request.presence = static_cast<uint16_t>(bytes.word());
    }
    if ((choice & 4U) != 0) state.reg_dup_datatree = forest.request_copy(bytes);
    if ((choice & 8U) != 0) spoil(bytes, forest);
    if ((choice & 0xf0U) == 0xf0) state.request = nullptr;
    if ((choice & 0xf0U) == 0xe0) ctx.state = nullptr;
  }

  void spoil(Bytes &bytes, Forest &forest) {
    clean = false;
    state.final_pass = bytes.byte() % 3;
    state.key_mode = bytes.byte() % 4;
    state.pass_flags = bytes.word();
    state.leaf_seen = bytes.byte() | static_cast<uint32_t>(bytes.byte()) << 16U;
    state.output_list_count = bytes.byte();
    state.root_node = forest.tree(bytes);
    state.plist = forest.tree(bytes);
    state.err_tag = strdup("old");
    state.err_message = strdup("older");
  }

  void free_copies() const {
    std::free(state.err_tag);
    std::free(state.err_message);
  }
};

// NULL, empty, lower case, a name, junk: at most what a slot holds.
void fill_slot(Bytes &bytes, Forest &forest, char *&slot, const Buffer &buffer) {
  const uint8_t choice = bytes.byte();
  const char *text = choice < 0xc0 ? "" : forest.text(bytes);
  if (text != nullptr) std::strncpy(buffer.data.get(), text, kText - 1);
  slot = text != nullptr ? buffer.data.get() : nullptr;
}

void expect_clean(const Records &records, const Framework &framework, const std::string &name) {
  const yfw_map_state &state = records.state;
  constexpr uint32_t kPasses = YMAP_PASS_FIRST | YMAP_PASS_SECOND;
  if (state.final_pass != 0 || state.key_mode != 0 || (state.pass_flags & kPasses) != 0 ||
      state.output_list_count != 0 || framework.walk_depth() != 0)
    fail(name + " leaves the walk's marks behind");
}

verrno take_expansion(yfw_map_ctx *, vidl_yfw_datatree *node, vidl_yfw_datatree *, uint32_t) {
  return node != nullptr ? YMAP_OK : YMAP_ERR_BAD_NODE;
}

yfw_itree_entry expansion_of(Bytes &bytes, Forest &forest) {
  const uint8_t choice = bytes.byte();
  const uint32_t count = choice % 4U;
  vidl_yfw_datatree *nodes = (choice & 0x10U) == 0 ? forest.siblings(bytes, "amplifiers", count) : nullptr;
  return {nodes, count, (choice & 0x20U) != 0 ? take_expansion : nullptr};
}

void run(Bytes bytes) {
  const Plugin &plugin = Plugin::loaded();
  Bytes faults = bytes.split_tail(bytes.byte());
  Forest forest;
  Records records(bytes, forest);
  Framework framework(&records.ctx, &forest, faults);
  const uint8_t choice = bytes.byte();
  framework.set_traces((choice & 1U) != 0);
  const bool expands = (choice & 2U) != 0;
  if (expands) framework.offer(expansion_of(bytes, forest));
  for (int depth = records.clean ? 0 : bytes.byte() % 4; depth > 0; --depth)
    framework.enter(forest.tree(bytes));

  const Buffer pre(kText);
  const Buffer bst(kText);
  fill_slot(bytes, forest, plugin.slot("amp_key_pre"), pre);
  fill_slot(bytes, forest, plugin.slot("amp_key_bst"), bst);
  vidl_yfw_datatree out{};
  Call call{bytes, forest, records.ctx, (choice & 0xf0U) == 0xf0 ? nullptr : &out};
  for (int calls = choice >> 2U & 3; calls >= 0; --calls) {
    const Export &one = plugin.pick(bytes);
    one.caller(call, one.function);
    if (records.clean && plugin.is_root(one)) expect_clean(records, framework, one.name);
    if (!expands && !framework.stack().empty()) fail(one.name + " leaves the expansion stack filled");
  }
  plugin.slot("amp_key_pre") = plugin.slot("amp_key_bst") = nullptr;
  records.free_copies();
}

}  // namespace
}  // namespace ymap_fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  ymap_fuzz::run(ymap_fuzz::Bytes({data, size}));
  return 0;
}
