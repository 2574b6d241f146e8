/// \file
/// Native answers of any size for the benchmarks, and a datastore that gives one out.
#pragma once

#include <string>

#include "mapper.hpp"

namespace yfw::bench {

/// Answers every read with one prepared tree, whatever was asked, and takes every edit.
class PreparedDatastore : public NativeDatastore {
 public:
  explicit PreparedDatastore(Datatree answer) : answer_(std::move(answer)) {}

  void read(const Datatree &, Datatree &answer) override {
    const vidl_yfw_datatree *root = answer_.root();
    for (uint32_t i = 0; i < root->subtree_count; ++i) answer.add_shared(answer.root(), &root->subtrees[i]);
  }
  void edit(const Datatree &) override {}

 private:
  Datatree answer_;
};

/// Interface configuration, operating values and one statistics bucket of each OTS port "Ots0/0/0/<first>"
/// and on. State is left out for an answer to a read of configuration.
inline Datatree ports(int first, int count, bool with_state) {
  Datatree answer;
  const auto name = [](int port) { return "Ots0/0/0/" + std::to_string(port); };

  const auto *ifmgr = YMAP_NS_IFMGR_CFG, *ots = YMAP_NS_OTS_CFG;
  vidl_yfw_datatree *interfaces = answer.add(answer.root(), "interface-configurations", ifmgr);
  for (int port = first; port < first + count; ++port) {
    vidl_yfw_datatree *entry = answer.add(interfaces, "interface-configuration", ifmgr);
    answer.add(entry, "active", ifmgr, "act");
    answer.add(entry, "interface-name", ifmgr, name(port));
    vidl_yfw_datatree *container = answer.add(entry, "ots", ots);
    answer.add(container, "ots-egress-amplifier-gain", ots, "155");
    answer.add(container, "ots-egress-amplifier-tilt", ots, "-15");
    answer.add(container, "ots-egress-amplifier-gain-range", ots, "normal");
    answer.add(container, "ots-egress-osri", ots, "false");
  }
  if (!with_state) return answer;

  const auto *oper = YMAP_NS_OTS_OPER;
  vidl_yfw_datatree *top = answer.add(answer.root(), "ots-oper", oper);
  vidl_yfw_datatree *ots_ports = answer.add(top, "ots-ports", oper);
  for (int port = first; port < first + count; ++port) {
    vidl_yfw_datatree *entry = answer.add(ots_ports, "ots-port", oper);
    answer.add(entry, "name", oper, name(port));
    vidl_yfw_datatree *info = answer.add(entry, "ots-info", oper);
    answer.add(info, "egress-ampli-gain", oper, "155");
    answer.add(info, "egress-ampli-tilt", oper, "-15");
    answer.add(info, "egress-ampli-gain-range", oper, "normal");
    answer.add(info, "egress-ampli-osri", oper, "false");
  }

  const auto *pm = YMAP_NS_PMENGINE_OPER;
  vidl_yfw_datatree *node = answer.root();
  for (const char *tag :
       {"performance-management-history", "global", "periodic", "optics-history", "optics-port-histories"})
    node = answer.add(node, tag, pm);
  for (int port = first; port < first + count; ++port) {
    vidl_yfw_datatree *entry = answer.add(node, "optics-port-history", pm);
    answer.add(entry, "name", pm, name(port));
    vidl_yfw_datatree *below = answer.add(entry, "optics-second30-history", pm);
    below = answer.add(below, "optics-second30-optics-histories", pm);
    below = answer.add(below, "optics-second30-optics-history", pm);
    answer.add(below, "number", pm, "1");
    below = answer.add(below, "optics-second30-optics-time-line-instances", pm);
    below = answer.add(below, "optics-second30-optics-time-line-instance", pm);
    answer.add(below, "number", pm, "1");
    for (const char *group : {"eagn", "eatl"}) {
      vidl_yfw_datatree *statistics = answer.add(below, group, pm);
      answer.add(statistics, "valid", pm, "true");
      answer.add(statistics, "minimum", pm, "15.40");
      answer.add(statistics, "average", pm, "15.50");
      answer.add(statistics, "maximum", pm, "15.60");
      answer.add(statistics, "min-time", pm, "1700000000000000000");
      answer.add(statistics, "max-time", pm, "1700000010000000000");
    }
  }
  return answer;
}

}  // namespace yfw::bench
