/// \file
/// The requests that the benchmarks translate.
#pragma once

#include <string>

#include "datatree.hpp"

namespace yfw::bench {

/// A request for one amplifier, all three when `name` is empty.
inline Datatree request(const std::string &name) {
  const auto *oc = YMAP_NS_OPENCONFIG;
  Datatree tree;
  vidl_yfw_datatree *top = tree.add(tree.root(), "optical-amplifier", oc);
  if (name.empty()) return tree;
  vidl_yfw_datatree *list = tree.add(top, "amplifiers", oc);
  tree.add(tree.add(list, "amplifier", oc), "name", oc, name);
  return tree;
}

/// Sets four leaves of one amplifier.
inline Datatree edit_of_four_leaves() {
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

}  // namespace yfw::bench
