// Operating values and 30-second history, made from the configuration and the time.
#include "live.hpp"

#include <libyang/libyang.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "hash.hpp"

namespace device {

namespace {

constexpr uint64_t kSecond = 1'000'000'000;
constexpr uint64_t kSamples = 30;  ///< one a second
constexpr uint64_t kBucket = kSamples * kSecond;
constexpr uint64_t kBuckets = 8;

/// Largest deviation of a sample from the configured value, in hundredths of a dB.
constexpr int kRipple = 9;

enum class Side { ingress, egress };

struct Port {
  const char *name;
  bool ingress;  ///< has a pre-amplifier
  bool egress;   ///< has a booster
  int rx_power;  ///< 0.1 dBm
  int tx_power;  ///< 0.1 dBm
};

constexpr Port kPorts[] = {
    {"Ots0/0/0/0", true, true, -213, 48},
    {"Ots0/0/0/1", false, false, -87, -12},
    {"Ots0/0/0/2", false, true, -196, 31},
};

/// An operating value and the configuration leaf that it follows.
struct OperatingValue {
  const char *leaf;
  Side side;
  const char *configured;
};

constexpr OperatingValue kOperatingValues[] = {
    {"ingress-ampli-gain", Side::ingress, "ots-ingress-amplifier-gain"},
    {"ingress-ampli-tilt", Side::ingress, "ots-ingress-amplifier-tilt"},
    {"ingress-ampli-gain-range", Side::ingress, "ots-ingress-amplifier-gain-range"},
    {"ingress-ampli-osri", Side::ingress, "ots-ingress-osri"},
    {"egress-ampli-gain", Side::egress, "ots-egress-amplifier-gain"},
    {"egress-ampli-tilt", Side::egress, "ots-egress-amplifier-tilt"},
    {"egress-ampli-gain-range", Side::egress, "ots-egress-amplifier-gain-range"},
    {"egress-ampli-osri", Side::egress, "ots-egress-osri"},
};

/// A measured quantity and the configuration leaf around which it ripples.
struct Quantity {
  const char *container;
  Side side;
  const char *configured;
};

constexpr Quantity kQuantities[] = {
    {"eagn", Side::egress, "ots-egress-amplifier-gain"},
    {"eatl", Side::egress, "ots-egress-amplifier-tilt"},
    {"iagn", Side::ingress, "ots-ingress-amplifier-gain"},
    {"iatl", Side::ingress, "ots-ingress-amplifier-tilt"},
};

struct Statistic {
  int minimum, average, maximum;  ///< hundredths
  uint64_t min_time, max_time;    ///< nanoseconds since the epoch
};

/// Evenly spread. `quantity` is the hash of what is measured.
int ripple(uint64_t quantity, uint64_t second) {
  constexpr uint64_t steps = 2 * kRipple + 1;
  std::array<char, sizeof second> bytes;
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(second >> (8 * i));
  uint64_t value = fnv1a({bytes.data(), bytes.size()}, quantity);
  value = (value ^ (value >> 29)) * 0xbf58476d1ce4e5b9;
  return static_cast<int>((value >> 32) % steps) - kRipple;
}

/// The statistic of the bucket that begins at `start`, of a quantity around `base` hundredths.
Statistic measure(std::string_view port, std::string_view quantity, int base, uint64_t start) {
  const uint64_t identity = fnv1a(quantity, fnv1a(port));
  std::array<int, kSamples> samples;
  for (uint64_t i = 0; i < kSamples; ++i) {
    samples[i] = base + ripple(identity, start / kSecond + i);
  }
  int sum = 0;
  for (const int sample : samples) sum += sample;
  const auto time_of = [&](auto extreme) {
    return start + static_cast<uint64_t>(extreme - samples.begin()) * kSecond;
  };
  const auto low = std::min_element(samples.begin(), samples.end());
  const auto high = std::max_element(samples.begin(), samples.end());
  const int average = static_cast<int>(std::lround(static_cast<double>(sum) / kSamples));
  return {*low, average, *high, time_of(low), time_of(high)};
}

std::string two_decimals(int hundredths) {
  const int size = std::abs(hundredths);
  std::array<char, 24> text;
  std::snprintf(text.data(), text.size(), "%s%d.%02d", hundredths < 0 ? "-" : "", size / 100, size % 100);
  return text.data();
}

const lyd_node *child_of(const lyd_node *parent, const char *name) {
  const lyd_node *node = parent != nullptr ? lyd_child(parent) : nullptr;
  while (node != nullptr && std::string_view(node->schema->name) != name) node = node->next;
  return node;
}

/// The configuration of one port.
class PortConfiguration {
 public:
  PortConfiguration(const Schema &schema, const Port &port, const lyd_node *running) : port_(port) {
    entry_ = schema.find_interface(running, port.name);
  }

  bool shut_down() const { return child_of(entry_, "shutdown") != nullptr; }

  /// The value of an amplifier leaf; null if it is not set or the port has no amplifier on that side.
  const char *amplifier(Side side, const char *leaf) const {
    if (!(side == Side::ingress ? port_.ingress : port_.egress)) return nullptr;
    const lyd_node *node = child_of(child_of(entry_, "ots"), leaf);
    return node != nullptr ? lyd_get_value(node) : nullptr;
  }

 private:
  const Port &port_;
  const lyd_node *entry_ = nullptr;
};

/// A node of the live data under construction, together with what the filter reaches of it. What is below a
/// node must be complete before its next sibling is added.
class Branch {
 public:
  Branch(PlainNode *node, Reach reach) : node_(node), reach_(std::move(reach)) {}

  explicit operator bool() const { return static_cast<bool>(reach_); }

  /// A container below; false if the filter does not reach it.
  Branch container(const char *name) const { return add(name, reach_.child(name)); }

  /// A list entry below, with its key; false if the filter does not reach it.
  Branch entry(const char *name, const char *key, const std::string &value) const {
    Branch below = add(name, reach_.entry(name, key, value));
    if (below) below.node_->children.push_back({key, value, true, true});
    return below;
  }

  void leaf(const char *name, std::string value) const {
    if (reach_.child(name)) node_->children.push_back({name, std::move(value), true});
  }

 private:
  Branch add(const char *name, Reach reach) const {
    if (!reach) return {nullptr, std::move(reach)};
    return {&node_->children.emplace_back(PlainNode{name}), std::move(reach)};
  }

  PlainNode *node_;
  Reach reach_;
};

void add_operating_values(const Branch &info, const Port &port, const PortConfiguration &configuration) {
  const bool up = !configuration.shut_down();
  info.leaf("transport-admin-state", up ? "in-service" : "out-of-service");
  info.leaf("controller-state", up ? "up" : "down");
  for (const OperatingValue &row : kOperatingValues) {
    if (const char *value = configuration.amplifier(row.side, row.configured)) info.leaf(row.leaf, value);
  }
  info.leaf("rx-power", std::to_string(port.rx_power));
  info.leaf("tx-power", std::to_string(port.tx_power));
}

void add_ports(const Branch &top, const Schema &schema, const lyd_node *running) {
  const Branch oper = top.container("ots-oper");
  if (!oper) return;
  const Branch ports = oper.container("ots-ports");
  if (!ports) return;
  for (const Port &port : kPorts) {
    const Branch entry = ports.entry("ots-port", "name", port.name);
    if (!entry) continue;
    if (const Branch info = entry.container("ots-info")) {
      add_operating_values(info, port, PortConfiguration(schema, port, running));
    }
  }
}

void add_statistic(const Branch &bucket, const Port &port, const char *quantity, int base, uint64_t start) {
  const Branch container = bucket.container(quantity);
  if (!container) return;
  const Statistic statistic = measure(port.name, quantity, base, start);
  container.leaf("valid", "true");
  container.leaf("minimum", two_decimals(statistic.minimum));
  container.leaf("average", two_decimals(statistic.average));
  container.leaf("maximum", two_decimals(statistic.maximum));
  container.leaf("min-time", std::to_string(statistic.min_time));
  container.leaf("max-time", std::to_string(statistic.max_time));
}

void add_buckets(const Branch &instances, const Port &port, const PortConfiguration &configuration,
                 uint64_t now) {
  const uint64_t current = now / kBucket;  // not yet complete
  for (uint64_t number = 1; number <= std::min(kBuckets, current); ++number) {
    const Branch bucket =
        instances.entry("optics-second30-optics-time-line-instance", "number", std::to_string(number));
    if (!bucket) continue;
    const uint64_t start = (current - number) * kBucket;
    bucket.leaf("start-time", std::to_string(start));
    bucket.leaf("end-time", std::to_string(start + kBucket));
    add_statistic(bucket, port, "opr", port.rx_power * 10, start);
    for (const Quantity &row : kQuantities) {
      const char *value = configuration.amplifier(row.side, row.configured);
      if (value != nullptr) add_statistic(bucket, port, row.container, std::atoi(value) * 10, start);
    }
  }
}

void add_histories(const Branch &top, const Schema &schema, const lyd_node *running, uint64_t now) {
  Branch branch = top;
  for (const char *name :
       {"performance-management-history", "global", "periodic", "optics-history", "optics-port-histories"}) {
    branch = branch.container(name);
    if (!branch) return;
  }
  for (const Port &port : kPorts) {
    Branch below = branch.entry("optics-port-history", "name", port.name);
    if (below) below = below.container("optics-second30-history");
    if (below) below = below.container("optics-second30-optics-histories");
    if (below) below = below.entry("optics-second30-optics-history", "number", "1");
    if (below) below = below.container("optics-second30-optics-time-line-instances");
    if (below) add_buckets(below, port, PortConfiguration(schema, port, running), now);
  }
}

}  // namespace

std::vector<PlainNode> operating_values(const Schema &schema, const lyd_node *running,
                                        const std::vector<FilterNode> &filter) {
  PlainNode top = {""};
  add_ports(Branch(&top, Reach(filter, kOtsOperNs)), schema, running);
  return std::move(top.children);
}

std::vector<PlainNode> histories(const Schema &schema, const lyd_node *running, uint64_t now,
                                 const std::vector<FilterNode> &filter) {
  PlainNode top = {""};
  add_histories(Branch(&top, Reach(filter, kPmengineNs)), schema, running, now);
  return std::move(top.children);
}

}  // namespace device
