// Trees out of bytes; see forest.hpp.
#include "forest.hpp"

#include <algorithm>
#include <cstring>
#include <map>
#include <sstream>

namespace ymap_fuzz {

namespace {

constexpr uint32_t kMostNodes = 4000;
constexpr uint32_t kDeepest = 2000;
constexpr size_t kLongest = 100'000;

// What stands below what: without this a random tree never gets beyond its root.
constexpr const char *kGrammar[][2] = {
    {"",
     "optical-amplifier interface-configurations ots-oper performance-management-history ots "
     "global-interface-configuration amplifier config state"},
    {"optical-amplifier", "amplifiers supervisory-channels"},
    {"amplifiers", "amplifier"},
    {"amplifier", "name config state"},
    {"config",
     "name target-gain target-gain-tilt gain-range enabled type min-gain max-gain amp-mode "
     "target-output-power max-output-power fiber-type-profile interface"},
    {"state",
     "name target-gain target-gain-tilt gain-range enabled actual-gain actual-gain-tilt ingress-port "
     "egress-port component input-power-total input-power-c-band output-power-l-band laser-bias-current "
     "optical-return-loss interface input-power output-power output-frequency type"},
    {"actual-gain", "instant avg min max interval min-time max-time"},
    {"actual-gain-tilt", "instant avg min max interval min-time max-time"},
    {"input-power-total", "instant avg min max interval min-time max-time"},
    {"supervisory-channels", "supervisory-channel"},
    {"supervisory-channel", "interface config state"},
    {"interface-configurations", "interface-configuration"},
    {"interface-configuration", "interface-name active ots dampening mtus encapsulation"},
    {"mtus", "mtu"},
    {"mtu", "owner mtu"},
    {"ots",
     "ots-ingress-amplifier-gain ots-egress-amplifier-gain ots-ingress-amplifier-tilt "
     "ots-egress-amplifier-tilt ots-ingress-osri ots-egress-osri ots-ingress-amplifier-gain-range "
     "ots-egress-amplifier-gain-range raman-tx-powers ingress-channel-slice-attns"},
    {"raman-tx-powers", "raman-tx-power"},
    {"raman-tx-power", "raman-tx-power-instance"},
    {"ots-oper", "ots-ports"},
    {"ots-ports", "ots-port"},
    {"ots-port", "name ots-info"},
    {"ots-info",
     "ingress-ampli-gain egress-ampli-gain ingress-ampli-tilt egress-ampli-tilt ingress-ampli-osri "
     "egress-ampli-osri ingress-ampli-gain-range egress-ampli-gain-range"},
    {"performance-management-history", "global"},
    {"global", "periodic"},
    {"periodic", "optics-history"},
    {"optics-history", "optics-port-histories"},
    {"optics-port-histories", "optics-port-history"},
    {"optics-port-history", "name optics-second30-history"},
    {"optics-second30-history", "optics-second30-optics-histories"},
    {"optics-second30-optics-histories", "optics-second30-optics-history"},
    {"optics-second30-optics-history", "number optics-second30-optics-time-line-instances"},
    {"optics-second30-optics-time-line-instances", "optics-second30-optics-time-line-instance"},
    {"optics-second30-optics-time-line-instance", "number eagn eatl iagn iatl"},
    {"eagn", "valid minimum average maximum min-time max-time"},
    {"eatl", "valid minimum average maximum min-time max-time"},
    {"iagn", "valid minimum average maximum min-time max-time"},
    {"iatl", "valid minimum average maximum min-time max-time"},
};

// The module that a top node belongs to; what stands below is of the same one.
constexpr const char *kTops[][2] = {
    {"optical-amplifier", YMAP_NS_OPENCONFIG},
    {"interface-configurations", YMAP_NS_IFMGR_CFG},
    {"global-interface-configuration", YMAP_NS_IFMGR_CFG},
    {"ots", YMAP_NS_OTS_CFG},
    {"ots-oper", YMAP_NS_OTS_OPER},
    {"performance-management-history", YMAP_NS_PMENGINE_OPER},
};

constexpr const char *kNamespaces[] = {nullptr,           "",
                                       "urn:foreign",     YMAP_NS_OPENCONFIG,
                                       YMAP_NS_IFMGR_CFG, YMAP_NS_OTS_CFG,
                                       YMAP_NS_OTS_OPER,  YMAP_NS_PMENGINE_OPER};

constexpr const char *kValues[] = {
    "0/0-AMP-PRE0",
    "0/0-AMP-BST0",
    "0/0-AMP-BST2",
    "0/0-AMP-BST2147483648",
    "0/0-AMP-PRE",
    "Ots0/0/0/0",
    "Ots0/0/0/2",
    "Ots0/0/0/1",
    "Ots0/0/0/",
    "15.57",
    "-5",
    "155",
    "38.01",
    "nan",
    "1e308",
    "-1e309",
    "0x1p4",
    "true",
    "false",
    "MID_GAIN_RANGE",
    "extended",
    "normal",
    "",
    "1",
    "act",
    "pre",
    "bst",
    "99999999999999999999999999",
};

const std::vector<std::string> &below(std::string_view parent) {
  static const auto grammar = [] {
    std::map<std::string, std::vector<std::string>, std::less<>> all;
    for (const auto &[tag, list] : kGrammar) {
      std::istringstream words(list);
      for (std::string word; words >> word;) all[tag].push_back(word);
    }
    return all;
  }();
  const auto found = grammar.find(parent);
  return found != grammar.end() ? found->second : grammar.at("");
}

}  // namespace

vidl_yfw_datatree *Forest::array(size_t count) {
  nodes_ += static_cast<uint32_t>(count);
  return arrays_.emplace_back(std::make_unique<vidl_yfw_datatree[]>(count)).get();
}

const char *Forest::keep(const std::string &text) {
  auto &copy = texts_.emplace_back(std::make_unique<char[]>(text.size() + 1));
  std::copy(text.begin(), text.end(), copy.get());
  return copy.get();
}

const char *Forest::text(Bytes &bytes) {
  const uint8_t choice = bytes.byte();
  if (choice < 0xc0) return keep(kValues[choice % std::size(kValues)]);
  if (choice < 0xd0) return nullptr;
  if (choice < 0xe0)
    return keep(std::string(std::size_t{bytes.word()} * 2 % kLongest, static_cast<char>(choice + 'A')));
  if (choice < 0xf0) {
    const auto &words = below(kGrammar[bytes.below(std::size(kGrammar))][0]);
    return keep(words[bytes.below(words.size())]);
  }
  std::string junk;
  for (size_t length = bytes.byte() % 64; length > 0; --length) junk += static_cast<char>(bytes.byte());
  return keep(junk);
}

vidl_yfw_datatree *Forest::tree(Bytes &bytes) {
  const uint8_t choice = bytes.byte();
  if (choice == 0xff) return nullptr;
  vidl_yfw_datatree *root = array(1);
  static const std::string top;
  node(bytes, *root, {top, nullptr, 0});
  return root;
}

vidl_yfw_datatree *Forest::request_copy(Bytes &bytes) {
  vidl_yfw_datatree *root = array(1);
  root->tag = keep("");
  root->presence1 = YMAP_HAS_TAG;
  vidl_yfw_datatree_set_subtrees(root, siblings(bytes, "", 1), 1);
  return root;
}

vidl_yfw_datatree *Forest::siblings(Bytes &bytes, const std::string &parent, uint32_t count) {
  vidl_yfw_datatree *all = array(count);
  for (uint32_t i = 0; i < count; ++i) node(bytes, all[i], {parent, YMAP_NS_OPENCONFIG, 1});
  return all;
}

void Forest::node(Bytes &bytes, vidl_yfw_datatree &node, const Place &place) {
  const uint8_t shape = bytes.byte();
  const auto &words = below(place.parent);
  const std::string &word = words[bytes.below(words.size())];
  node.tag = (shape & 0x0fU) == 0x0f ? text(bytes) : keep(word);
  node.presence1 |= YMAP_HAS_TAG;
  node.namespace_ = place.ns;
  for (const auto &[tag, ns] : kTops)
    if (word == tag) node.namespace_ = ns;

  if ((shape & 0x10U) != 0) attributes(bytes, node);
  if ((shape & 0x20U) != 0) {
    node.data = text(bytes);
    node.presence1 |= YMAP_HAS_DATA;
  }
  if ((shape & 0x40U) != 0 && place.depth < kDeepest) children(bytes, node, word, place.depth);
  if ((shape & 0x80U) != 0) break_presence(bytes, node);
}

void Forest::attributes(Bytes &bytes, vidl_yfw_datatree &node) {
  const uint8_t which = bytes.byte();
  if ((which & 1U) != 0) vidl_yfw_datatree_set_operation(&node, bytes.byte() % 8);
  if ((which & 2U) != 0) node.namespace_ = kNamespaces[bytes.below(std::size(kNamespaces))];
  if ((which & 4U) != 0) {
    node.node_status = bytes.byte() % 8;
    node.presence2 |= YMAP_HAS_STATUS;
  }
  if ((which & 8U) != 0) vidl_yfw_datatree_set_walk_mark(&node.walk_info, bytes.byte());
  if ((which & 16U) != 0) vidl_yfw_datatree_set_is_key(&node);
}

void Forest::children(Bytes &bytes, vidl_yfw_datatree &node, const std::string &tag, uint32_t depth) {
  const uint8_t choice = bytes.byte();
  uint32_t count = choice < 0xf0 ? choice % 6U : bytes.byte();
  const bool chain = choice == 0xff;  // one below the other, as deep as it goes
  if (chain) count = 1;
  count = std::min(count, kMostNodes - std::min(nodes_, kMostNodes));
  vidl_yfw_datatree *all = array(count);
  vidl_yfw_datatree_set_subtrees(&node, all, count);
  if (!chain) {
    for (uint32_t i = 0; i < count; ++i) this->node(bytes, all[i], {tag, node.namespace_, depth + 1});
    return;
  }
  const uint32_t levels = std::min(bytes.byte() * 8U, kDeepest - depth);
  for (uint32_t level = 0; level < levels && nodes_ < kMostNodes && count == 1; ++level) {
    *all = {};
    all->tag = node.tag;
    all->namespace_ = node.namespace_;
    all->presence1 = YMAP_HAS_TAG;
    vidl_yfw_datatree *next = array(1);
    vidl_yfw_datatree_set_subtrees(all, next, 1);
    all = next;
  }
}

// Bits that say other than the fields: set over nothing, or clear over something.
void Forest::break_presence(Bytes &bytes, vidl_yfw_datatree &node) {
  node.presence1 ^= bytes.byte();
  node.presence2 ^= bytes.byte();
  if ((bytes.byte() & 3U) != 3) return;
  node.subtrees = nullptr;
  node.subtree_count = bytes.word();
}

vidl_yfw_datatree *Forest::append(vidl_yfw_datatree *parent, const char *tag, const char *ns) {
  const uint32_t count = parent->subtrees == nullptr ? 0 : parent->subtree_count;
  vidl_yfw_datatree *grown = array(count + 1);
  std::copy_n(parent->subtrees, count, grown);
  grown[count].tag = keep(tag);
  grown[count].namespace_ = ns;
  grown[count].presence1 = YMAP_HAS_TAG;
  vidl_yfw_datatree_set_subtrees(parent, grown, count + 1);
  return &grown[count];
}

}  // namespace ymap_fuzz
