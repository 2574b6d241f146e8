// The mapping as one would write it by hand with libyang: walk, convert, make.
#include "peer.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "libyang_versions.hpp"
#include "ymap_types.h"

namespace yfw::bench {
namespace {

constexpr std::array kModules{"openconfig-optical-amplifier", "Velm-NALTO-ifmgr-cfg",
                              "Velm-NALTO-controller-ots-cfg", "Velm-NALTO-controller-ots-oper",
                              "Velm-NALTO-pmengine-oper"};
enum ModuleIndex { openconfig, ifmgr, ots_cfg, ots_oper, pmengine };

#define OPENCONFIG(inner)                          \
  "<optical-amplifier xmlns=\"" YMAP_NS_OPENCONFIG \
  "\"><amplifiers><amplifier>"                     \
  "<name>0/0-AMP-BST2</name>" inner "</amplifier></amplifiers></optical-amplifier>"
constexpr const char *kFilter = OPENCONFIG("");
constexpr const char *kEdit = OPENCONFIG(
    "<config><target-gain>15.57</target-gain><target-gain-tilt>-1.5</target-gain-tilt>"
    "<gain-range>MID_GAIN_RANGE</gain-range><enabled>true</enabled></config>");

#define CONFIGURATION                                                                            \
  "<interface-configurations xmlns=\"" YMAP_NS_IFMGR_CFG                                         \
  "\"><interface-configuration>"                                                                 \
  "<active>act</active><interface-name>Ots0/0/0/2</interface-name><ots xmlns=\"" YMAP_NS_OTS_CFG \
  "\"><ots-egress-amplifier-gain>155</ots-egress-amplifier-gain>"                                \
  "<ots-egress-amplifier-tilt>-15</ots-egress-amplifier-tilt>"                                   \
  "<ots-egress-amplifier-gain-range>normal</ots-egress-amplifier-gain-range>"                    \
  "<ots-egress-osri>false</ots-egress-osri></ots></interface-configuration></interface-configurations>"
#define STATISTICS(group)                                                \
  "<" group                                                              \
  "><valid>true</valid><minimum>15.40</minimum><average>15.50</average>" \
  "<maximum>15.60</maximum><min-time>1700000000000000000</min-time>"     \
  "<max-time>1700000010000000000</max-time></" group ">"
constexpr const char *kConfiguration = CONFIGURATION;
constexpr const char *kState = CONFIGURATION
    "<ots-oper xmlns=\"" YMAP_NS_OTS_OPER "\"><ots-ports><ots-port><name>Ots0/0/0/2</name><ots-info>"
    "<egress-ampli-gain>155</egress-ampli-gain><egress-ampli-tilt>-15</egress-ampli-tilt>"
    "<egress-ampli-gain-range>normal</egress-ampli-gain-range><egress-ampli-osri>false</egress-ampli-osri>"
    "</ots-info></ots-port></ots-ports></ots-oper>"
    "<performance-management-history xmlns=\"" YMAP_NS_PMENGINE_OPER "\"><global><periodic><optics-history>"
    "<optics-port-histories><optics-port-history><name>Ots0/0/0/2</name><optics-second30-history>"
    "<optics-second30-optics-histories><optics-second30-optics-history><number>1</number>"
    "<optics-second30-optics-time-line-instances><optics-second30-optics-time-line-instance>"
    "<number>1</number>" STATISTICS("eagn") STATISTICS("eatl")
    "</optics-second30-optics-time-line-instance></optics-second30-optics-time-line-instances>"
    "</optics-second30-optics-history></optics-second30-optics-histories></optics-second30-history>"
    "</optics-port-history></optics-port-histories></optics-history></periodic></global>"
    "</performance-management-history>";

constexpr const char *kPath[] = {
    "optics-second30-history", "optics-second30-optics-histories", "optics-second30-optics-history",
    "optics-second30-optics-time-line-instances", "optics-second30-optics-time-line-instance"};

void check(LY_ERR error) {
  if (error != LY_SUCCESS) throw std::runtime_error("libyang refused a node of the benchmark's peer");
}

const lyd_node *sibling(const lyd_node *first, const char *name) {
  const lyd_node *node = nullptr;
  LY_LIST_FOR(first, node) {
    if (std::strcmp(node->schema->name, name) == 0) return node;
  }
  return nullptr;
}
const lyd_node *child(const lyd_node *parent, const char *name) {
  return parent == nullptr ? nullptr : sibling(lyd_child(parent), name);
}
const char *value(const lyd_node *parent, const char *name) {
  const lyd_node *leaf = child(parent, name);
  return leaf == nullptr ? nullptr : lyd_get_value(leaf);
}

/// One tree in the making.
class Maker {
 public:
  explicit Maker(const Modules &modules) : modules_(modules) {}
  ~Maker() { lyd_free_all(first_); }
  Maker(const Maker &) = delete;
  Maker &operator=(const Maker &) = delete;

  lyd_node *inner(lyd_node *parent, ModuleIndex module, const char *name) {
    lyd_node *node = nullptr;
    check(lyd_new_inner(parent, modules_[module], name, 0, &node));
    return top(parent, node);
  }
  template <typename... Keys>
  lyd_node *entry(lyd_node *parent, ModuleIndex module, const char *name, Keys... keys) {
    lyd_node *node = nullptr;
    check(lyd_new_list(parent, modules_[module], name, 0, &node, keys...));
    return node;
  }
  void leaf(lyd_node *parent, ModuleIndex module, const char *name, const char *text) {
    if (text != nullptr) check(lyd_new_term(parent, modules_[module], name, text, 0, nullptr));
  }
  /// A leaf without a value, as filters have them.
  void select(lyd_node *parent, ModuleIndex module, const char *name) {
    const lys_module &own = *modules_[module];
    check(lyd_new_opaq2(parent, own.ctx, name, nullptr, nullptr, own.ns, nullptr));
  }

 private:
  lyd_node *top(const lyd_node *parent, lyd_node *node) {
    if (parent == nullptr) check(lyd_insert_sibling(first_, node, &first_));
    return node;
  }

  const Modules &modules_;
  lyd_node *first_ = nullptr;
};

/// The port of the amplifier that a request names; its side is the egress one.
const char *named_port(const lyd_node *request) {
  const lyd_node *list = child(sibling(request, "optical-amplifier"), "amplifiers");
  const char *name = value(child(list, "amplifier"), "name");
  const bool known = name != nullptr && std::strcmp(name, "0/0-AMP-BST2") == 0;
  if (!known) throw std::runtime_error("the benchmark's peer knows one amplifier");
  return "Ots0/0/0/2";
}

lyd_node *interface_of(Maker &native, const char *port) {
  lyd_node *interfaces = native.inner(nullptr, ifmgr, "interface-configurations");
  return native.inner(native.entry(interfaces, ifmgr, "interface-configuration", "act", port), ots_cfg,
                      "ots");
}

void make_native_filter(Maker &native, const char *port, bool with_state) {
  lyd_node *ots = interface_of(native, port);
  for (const char *leaf : {"ots-egress-amplifier-gain", "ots-egress-amplifier-tilt",
                           "ots-egress-amplifier-gain-range", "ots-egress-osri"})
    native.select(ots, ots_cfg, leaf);
  if (!with_state) return;
  lyd_node *ports = native.inner(native.inner(nullptr, ots_oper, "ots-oper"), ots_oper, "ots-ports");
  lyd_node *info = native.inner(native.entry(ports, ots_oper, "ots-port", port), ots_oper, "ots-info");
  for (const char *leaf :
       {"egress-ampli-gain", "egress-ampli-tilt", "egress-ampli-gain-range", "egress-ampli-osri"})
    native.select(info, ots_oper, leaf);
  lyd_node *node = native.inner(nullptr, pmengine, "performance-management-history");
  for (const char *name : {"global", "periodic", "optics-history", "optics-port-histories"})
    node = native.inner(node, pmengine, name);
  node = native.entry(node, pmengine, "optics-port-history", port);
  node = native.inner(native.inner(node, pmengine, kPath[0]), pmengine, kPath[1]);
  node = native.inner(native.entry(node, pmengine, kPath[2], "1"), pmengine, kPath[3]);
  node = native.entry(node, pmengine, kPath[4], "1");
  for (const char *group : {"eagn", "eatl"}) {
    lyd_node *statistics = native.inner(node, pmengine, group);
    for (const char *leaf : {"average", "minimum", "maximum", "valid", "min-time", "max-time"})
      native.select(statistics, pmengine, leaf);
  }
}

/// Tenths of a dB as dB.
struct Decibels {
  explicit Decibels(const char *tenths) {
    if (tenths != nullptr) std::snprintf(text, sizeof text, "%.2f", std::strtod(tenths, nullptr) / 10.0);
  }
  const char *get() const { return text[0] == '\0' ? nullptr : text; }
  char text[32] = {};
};

const char *range_to_openconfig(const char *range) {
  if (range == nullptr) return nullptr;
  return std::strcmp(range, "normal") == 0 ? "openconfig-optical-amplifier:MID_GAIN_RANGE"
                                           : "openconfig-optical-amplifier:HIGH_GAIN_RANGE";
}
const char *inverse(const char *flag) {
  if (flag == nullptr) return nullptr;
  return std::strcmp(flag, "true") == 0 ? "false" : "true";
}

void add_leaves(Maker &answer, lyd_node *parent, const lyd_node *ots) {
  answer.leaf(parent, openconfig, "name", "0/0-AMP-BST2");
  answer.leaf(parent, openconfig, "target-gain", Decibels(value(ots, "ots-egress-amplifier-gain")).get());
  answer.leaf(parent, openconfig, "target-gain-tilt",
              Decibels(value(ots, "ots-egress-amplifier-tilt")).get());
  answer.leaf(parent, openconfig, "gain-range",
              range_to_openconfig(value(ots, "ots-egress-amplifier-gain-range")));
  answer.leaf(parent, openconfig, "enabled", inverse(value(ots, "ots-egress-osri")));
}

void add_statistics(Maker &answer, lyd_node *state, const char *name, const char *instant,
                    const lyd_node *group) {
  lyd_node *statistics = answer.inner(state, openconfig, name);
  answer.leaf(statistics, openconfig, "instant", instant);
  answer.leaf(statistics, openconfig, "interval", value(group, "valid") == nullptr ? nullptr : "30000000000");
  answer.leaf(statistics, openconfig, "min", value(group, "minimum"));
  answer.leaf(statistics, openconfig, "avg", value(group, "average"));
  answer.leaf(statistics, openconfig, "max", value(group, "maximum"));
  answer.leaf(statistics, openconfig, "min-time", value(group, "min-time"));
  answer.leaf(statistics, openconfig, "max-time", value(group, "max-time"));
}

void make_answer(Maker &answer, const lyd_node *native, bool with_state) {
  const lyd_node *interface = child(sibling(native, "interface-configurations"), "interface-configuration");
  const lyd_node *ots = child(interface, "ots");
  lyd_node *list =
      answer.inner(answer.inner(nullptr, openconfig, "optical-amplifier"), openconfig, "amplifiers");
  lyd_node *entry = answer.entry(list, openconfig, "amplifier", "0/0-AMP-BST2");
  add_leaves(answer, answer.inner(entry, openconfig, "config"), ots);
  if (!with_state) return;
  lyd_node *state = answer.inner(entry, openconfig, "state");
  add_leaves(answer, state, ots);
  const lyd_node *info =
      child(child(child(sibling(native, "ots-oper"), "ots-ports"), "ots-port"), "ots-info");
  const lyd_node *bucket = sibling(native, "performance-management-history");
  for (const char *name :
       {"global", "periodic", "optics-history", "optics-port-histories", "optics-port-history"})
    bucket = child(bucket, name);
  for (const char *name : kPath) bucket = child(bucket, name);
  add_statistics(answer, state, "actual-gain", Decibels(value(info, "egress-ampli-gain")).get(),
                 child(bucket, "eagn"));
  add_statistics(answer, state, "actual-gain-tilt", Decibels(value(info, "egress-ampli-tilt")).get(),
                 child(bucket, "eatl"));
}

std::string tenths(const char *decibels) {
  return std::to_string(static_cast<int>(std::strtod(decibels, nullptr) * 10.0));
}

}  // namespace

Peer::Peer(const std::filesystem::path &models) {
  check(libyang::new_context(&context_));
  check(ly_ctx_unset_options(context_, LY_CTX_DISABLE_SEARCHDIRS));
  check(ly_ctx_set_searchdir(context_, models.c_str()));
  for (std::size_t i = 0; i < kModules.size(); ++i) {
    modules_[i] = ly_ctx_load_module(context_, kModules[i], nullptr, nullptr);
    if (modules_[i] == nullptr)
      throw std::runtime_error(std::string("the benchmark's peer cannot load ") + kModules[i]);
  }
  filter_ = parse(kFilter);
  edit_ = parse(kEdit);
  config_answer_ = parse(kConfiguration);
  state_answer_ = parse(kState);
}

Peer::~Peer() {
  for (lyd_node *tree : {filter_, edit_, config_answer_, state_answer_}) lyd_free_all(tree);
  ly_ctx_destroy(context_);
}

lyd_node *Peer::parse(const char *xml) const {
  lyd_node *tree = nullptr;
  check(lyd_parse_data_mem(context_, xml, LYD_XML, LYD_PARSE_ONLY | LYD_PARSE_STRICT, 0, &tree));
  return tree;
}

void Peer::get(bool with_state) {
  Maker native(modules_), answer(modules_);
  make_native_filter(native, named_port(filter_), with_state);
  make_answer(answer, with_state ? state_answer_ : config_answer_, with_state);
}

void Peer::edit() {
  Maker native(modules_);
  lyd_node *ots = interface_of(native, named_port(edit_));
  const lyd_node *list = child(sibling(edit_, "optical-amplifier"), "amplifiers");
  const lyd_node *config = child(child(list, "amplifier"), "config");
  native.leaf(ots, ots_cfg, "ots-egress-amplifier-gain", tenths(value(config, "target-gain")).c_str());
  native.leaf(ots, ots_cfg, "ots-egress-amplifier-tilt", tenths(value(config, "target-gain-tilt")).c_str());
  const bool middle = std::strstr(value(config, "gain-range"), "MID_GAIN_RANGE") != nullptr;
  native.leaf(ots, ots_cfg, "ots-egress-amplifier-gain-range", middle ? "normal" : "extended");
  native.leaf(ots, ots_cfg, "ots-egress-osri", inverse(value(config, "enabled")));
}

}  // namespace yfw::bench
