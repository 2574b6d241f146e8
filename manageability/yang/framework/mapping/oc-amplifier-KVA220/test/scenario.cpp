// A request and what became of it; see scenario.hpp.
#include "scenario.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <stdexcept>

namespace ymap_test {

namespace {

constexpr size_t kSlotSize = 200;

void *library = nullptr;
std::string library_file;

char *&slot(const char *name) {
  return *static_cast<char **>(symbol(name));
}

// The plug-in owns its slot buffers; this call gives it a pair.
void have_slot_buffers(Scenario &scenario) {
  if (slot("amp_key_pre") != nullptr) return;
  vidl_yfw_datatree *entry = scenario.recorder.forest().plant("amplifier");
  const uint32_t type = scenario.request.type;
  scenario.request.type = YMAP_REQ_EDIT;
  scenario.on_path({scenario.recorder.forest().plant("optical-amplifier")});
  function<NodeFunction>("amplifier_list_to_low")(&scenario.ctx, entry, &scenario.out);
  scenario.request.type = type;
  scenario.state.node_data_count = 0;
  scenario.recorder.reset(&scenario.ctx);
  scenario.recorder.forest().name(&scenario.out, "out");
}

}  // namespace

void load_plugin(const std::string &file) {
  if (library != nullptr) return;
  library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  library_file = file;
  if (library == nullptr) throw std::runtime_error(dlerror());
}

bool unload_plugin() {
  if (library == nullptr) return true;
  dlclose(library);
  library = nullptr;
  Recorder::instance().forget_sites();
  void *still = dlopen(library_file.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (still != nullptr) dlclose(still);
  return still == nullptr;
}

bool has_symbol(const std::string &name) {
  load_plugin();
  return dlsym(library, name.c_str()) != nullptr;
}

void *symbol(const std::string &name) {
  load_plugin();
  void *found = dlsym(library, name.c_str());
  if (found == nullptr) throw std::runtime_error("the plug-in does not export " + name);
  return found;
}

std::string block(const std::string &raw) {
  std::istringstream in(raw);
  std::string text;
  for (std::string one; std::getline(in, one);) {
    const size_t begin = one.find_first_not_of(' ');
    if (begin == std::string::npos) continue;
    text += one.substr(one[begin] == '|' ? begin + 1 : begin) + "\n";
  }
  return text;
}

Scenario::Scenario(uint32_t type) : recorder(Recorder::instance()) {
  state.request = &request;
  request.type = type;
  ctx.state = &state;
  ctx.err_log = &state.err_tag;
  ctx.trc_log = &state.plist;
  ctx.ltrace = &ctx.print_mark;
  ctx.ltrace_on = 1;
  recorder.reset(&ctx);
  recorder.forest().name(&out, "out");
}

Scenario::~Scenario() {
  if (kept_pre_ != nullptr) slot("amp_key_pre") = kept_pre_;
  if (kept_bst_ != nullptr) slot("amp_key_bst") = kept_bst_;
  for (char *text : {state.err_tag, state.err_message}) {
    if (text != nullptr) recorder.disown(text);
  }
  EXPECT_EQ(recorder.allocated(), 0U) << "owned texts that nobody frees, after\n" << recorder.text();
  recorder.reset(nullptr);
}

Scenario &Scenario::slots(const char *pre, const char *bst) {
  have_slot_buffers(*this);
  if (pre != nullptr) std::snprintf(slot("amp_key_pre"), kSlotSize, "%s", pre);
  if (bst != nullptr) std::snprintf(slot("amp_key_bst"), kSlotSize, "%s", bst);
  if (pre == nullptr) kept_pre_ = std::exchange(slot("amp_key_pre"), nullptr);
  if (bst == nullptr) kept_bst_ = std::exchange(slot("amp_key_bst"), nullptr);
  return *this;
}

Scenario &Scenario::request_copy(const std::string &tree) {
  state.reg_dup_datatree = recorder.forest().plant_copy(tree, "copy:");
  return *this;
}

Scenario &Scenario::state_only(bool request_bit, bool own_bit) {
  request.content_selection.content_selector = YMAP_CONTENT_STATE_ONLY;
  request.content_selection.presence = own_bit ? 1 : 0;
  request.presence = request_bit ? 0x8000 : 0;
  return *this;
}

Scenario &Scenario::on_path(const std::vector<vidl_yfw_datatree *> &nodes, const std::string &list) {
  for (vidl_yfw_datatree *node : nodes) {
    recorder.enter(node, YMAP_WALK_CONTAINER);
  }
  if (!list.empty()) recorder.make_current(list);
  recorder.drop_lines();
  return *this;
}

std::string Scenario::call(const std::string &name, const std::string &tree) {
  root = tree.empty() ? nullptr : recorder.forest().plant(tree);
  return call(name, root);
}

std::string Scenario::call(const std::string &name, vidl_yfw_datatree *node) {
  return invoke(name, node, true, false);
}

std::string Scenario::call_text(const std::string &name, vidl_yfw_datatree *node) {
  return invoke(name, node, true, true);
}

std::string Scenario::invoke(const std::string &name, vidl_yfw_datatree *node, bool output, bool text) {
  constexpr uint32_t kAnyCount = 3;
  const bool container = name.find("_cont_lvl") != std::string::npos || name.ends_with("duck_map_container");
  vidl_yfw_datatree *to = output ? &out : nullptr;
  if (text) {
    const char *result = function<TextFunction>(name)(&ctx, node, to);
    end_with(result == nullptr ? "NULL" : '"' + std::string(result) + '"');
  } else if (container) {
    end_with(status_name(function<ContainerFunction>(name)(&ctx, node, kAnyCount, to)));
  } else {
    end_with(status_name(function<NodeFunction>(name)(&ctx, node, to)));
  }
  return outcome();
}

void Scenario::end_with(const std::string &result) {
  recorder.indent = false;
  if (recorder.view == View::adds) recorder.view = View::calls;
  recorder.line("= " + result);
  if (state.err_tag != nullptr) recorder.line("err_tag " + std::string(state.err_tag));
  if (state.err_message != nullptr) recorder.line("err_message " + std::string(state.err_message));
}

std::string Scenario::slot_texts() {
  const auto text = [](const char *name) { return slot(name) == nullptr ? std::string("NULL") : slot(name); };
  return text("amp_key_pre") + "|" + text("amp_key_bst");
}

}  // namespace ymap_test
