// A program of somebody else's: translates an edit with the installed runtime and plug-in, and prints what
// the device would be told. $1: the plug-in.
#include <ymap_datatree.h>

#include <iostream>
#include <stdexcept>
#include <yfw/mapper.hpp>
#include <yfw/observer.hpp>
#include <yfw/trace.hpp>

namespace {

struct NoDevice : yfw::NativeDatastore {
  void read(const yfw::Datatree &, yfw::Datatree &) override { throw std::logic_error("nothing is read"); }
  void edit(const yfw::Datatree &) override { throw std::logic_error("nothing is edited"); }
};

void print(const vidl_yfw_datatree *node) {
  if (vidl_yfw_datatree_has_data(node)) std::cout << node->tag << " = " << node->data << "\n";
  if (!vidl_yfw_datatree_has_subtrees(node)) return;
  vidl_yfw_datatree *children = nullptr;
  const auto count = vidl_yfw_datatree_get_subtrees(node, &children);
  for (uint32_t i = 0; i < count; ++i) print(&children[i]);
}

}  // namespace

int main(int, char **argv) {
  const yfw::Plugin plugin(yfw::optical_amplifier(), argv[1]);
  NoDevice device;
  yfw::Mapper mapper(plugin, device);
  yfw::set_log_sink(yfw::LogLevel::error, yfw::LogSink::standard_error);
  yfw::Datatree request;
  auto *node = request.root();
  for (const char *tag : {"optical-amplifier", "amplifiers", "amplifier"})
    node = request.add(node, tag, YMAP_NS_OPENCONFIG);
  request.add(node, "name", YMAP_NS_OPENCONFIG, "0/0-AMP-BST2");
  auto *config = request.add(node, "config", YMAP_NS_OPENCONFIG);
  request.add(config, "target-gain", YMAP_NS_OPENCONFIG, "15.57");
  print(mapper.translate_edit(request).root());
}
