// Reads over devices that answer wrongly, and what a read costs the device.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "device.hpp"
#include "notation.hpp"
#include "session.hpp"
#include "table.hpp"
#include "ymap_datatree.h"

namespace ymap {
namespace {

const Parts kParts = {YMAP_TEST_PLUGIN, YMAP_TEST_MODELS};
constexpr const char *kName = "0/0-AMP-BST2";

/// Gives out one native answer, whatever was asked.
class FixedDatastore : public yfw::NativeDatastore {
 public:
  explicit FixedDatastore(const std::string &answer) { yfw::test::Parser(answer_, answer); }
  vidl_yfw_datatree *root() { return answer_.root(); }

  void read(const yfw::Datatree &, yfw::Datatree &answer) override {
    for (const auto &top : yfw::children(*answer_.root())) answer.add_copy(answer.root(), &top);
  }
  void edit(const yfw::Datatree &) override {}

 private:
  yfw::Datatree answer_;
};

std::string interface(const std::string &keys, const std::string &ots) {
  return "interface-configurations{interface-configuration{" + keys + " ots{" + ots + "}}} ";
}

std::string port(const std::string &entries) {
  return "ots-oper{ots-ports{" + entries + "}} ";
}

std::string history(const std::string &keys, const std::string &buckets) {
  return "performance-management-history{global{periodic{optics-history{optics-port-histories{"
         "optics-port-history{" +
         keys +
         " optics-second30-history{optics-second30-optics-histories{optics-second30-optics-history{number=1 "
         "optics-second30-optics-time-line-instances{" +
         buckets + "}}}}}}}}}} ";
}

std::string bucket(const std::string &leaves) {
  return "optics-second30-optics-time-line-instance{" + leaves + "} ";
}

const std::string kKeys = "active=act interface-name=Ots0/0/0/2";
const std::string kGood = interface(kKeys, "ots-egress-amplifier-gain=155");

class DeviceData : public testing::Test {
 protected:
  /// The text output of a read of BST2 over a device that answers `native`: its lines without the name.
  std::string read(yfw::NativeDatastore &datastore) {
    const auto request = read_request(session_.schema(), Request::Kind::get, false, {kName});
    const auto answer = session_.run(request, datastore);
    warnings_ = answer.warnings.size();
    std::string lines = print_table(answer.data, Terminal{});
    const std::string name = std::string(kName) + " ";
    for (auto at = lines.find(name); at != std::string::npos; at = lines.find(name, at))
      lines.erase(at, name.size());
    return lines;
  }

  Session session_{kParts, std::filesystem::path()};
  std::size_t warnings_ = 0;
};

struct BadAnswer {
  const char *what;
  std::string native;
  std::string lines;
  std::size_t warnings = 0;
};

const std::string kNameLine = std::string("config/name ") + kName + "\n";
const std::string kStateName = std::string("state/name ") + kName + "\n";
const std::string kConfigured = kNameLine + "config/target-gain 15.50 dB\nstate/target-gain 15.50 dB\n";

TEST_F(DeviceData, TheRestIsAnswered) {
  const std::string long_text(10'000, 'x');
  const std::vector<BadAnswer> rows = {
      {"nothing at all", "", ""},
      {"a gain that is no number counts as none", interface(kKeys, "ots-egress-amplifier-gain=loud"),
       kNameLine + "config/target-gain 0.00 dB\nstate/target-gain 0.00 dB\n"},
      {"empty values", interface(kKeys, "ots-egress-amplifier-gain= ots-egress-osri="), kNameLine},
      {"an entry without its name", interface("active=act", "ots-egress-amplifier-gain=155"), ""},
      {"an interface of another kind, and one twice",
       interface("interface-name=Mgmt0", "ots-egress-amplifier-gain=999") + kGood +
           interface(kKeys, "ots-egress-amplifier-gain=200"),
       kConfigured},
      {"a gain range that OpenConfig does not know",
       interface(kKeys, "ots-egress-amplifier-gain=155 ots-egress-amplifier-gain-range=fixed"), kConfigured},
      {"the other side only", interface(kKeys, "ots-ingress-amplifier-gain=155"), kNameLine},
      {"a port without a name, one twice, one without an amplifier",
       kGood + port("ots-port{ots-info{egress-ampli-gain=1}} ots-port{name=Ots0/0/0/2 "
                    "ots-info{egress-ampli-gain=156}} "
                    "ots-port{name=Ots0/0/0/2 ots-info{egress-ampli-gain=157}} "
                    "ots-port{name=Ots0/0/0/1 ots-info{egress-ampli-gain=158}}"),
       kNameLine + "config/target-gain 15.50 dB\n" + kStateName +
           "state/target-gain 15.50 dB\nstate/actual-gain instant 15.60 dB\n"},
      {"a history without buckets", kGood + history("name=Ots0/0/0/2", ""), kConfigured},
      {"several buckets: the first that comes stays",
       kGood + history("name=Ots0/0/0/2",
                       bucket("number=2 eagn{minimum=1.00}") + bucket("number=1 eagn{minimum=2.00}")),
       kConfigured + "state/actual-gain min 1.00 dB\n"},
      {"statistics that are no numbers",
       kGood + history("name=Ots0/0/0/2", bucket("number=1 eagn{average=warm minimum=1.00 max-time=noon}")),
       kConfigured + "state/actual-gain min 1.00 dB\n", 2},
      {"a history without a name", kGood + history("", bucket("number=1 eagn{minimum=1.00}")), kConfigured},
      {"foreign nodes everywhere",
       "foreign{ots-port{name=Ots0/0/0/2}} " +
           interface(kKeys + " foreign{x=1}", "foreign=1 ots-egress-amplifier-gain=155"),
       kConfigured},
      {"leaves with children, containers with values",
       interface(kKeys, "ots-egress-amplifier-gain=155{deep{er=1}}") +
           port("ots-port=7 ots-port{name=Ots0/0/0/2 ots-info=8}"),
       kNameLine + "config/target-gain 15.50 dB\n" + kStateName + "state/target-gain 15.50 dB\n"},
      {"long texts",
       interface("active=act interface-name=Ots0/0/0/2" + long_text,
                 "ots-egress-amplifier-gain=155" + long_text) +
           port("ots-port{name=" + long_text + "}"),
       kConfigured},
  };
  for (const BadAnswer &row : rows) {
    SCOPED_TRACE(row.what);
    FixedDatastore datastore(row.native);
    EXPECT_EQ(read(datastore), row.lines);
    EXPECT_EQ(warnings_, row.warnings);
  }
}

TEST_F(DeviceData, AnXpathErrorNodeIsAnsweredAllTheSame) {
  FixedDatastore datastore(kGood);
  vidl_yfw_datatree *node = datastore.root();
  while (node->subtree_count != 0) node = &node->subtrees[node->subtree_count - 1];
  node->node_status = YMAP_NODE_XPATH_ERROR;
  node->presence2 |= YMAP_HAS_STATUS;
  EXPECT_EQ(read(datastore), kConfigured);
}

TEST_F(DeviceData, AThousandPortsHideNoneOfTheAmplifiers) {
  std::string entries;
  for (int i = 999; i >= 0; --i)
    entries += "ots-port{name=Ots0/0/0/" + std::to_string(i) +
               " ots-info{egress-ampli-tilt=" + std::to_string(i) + "}} ";
  FixedDatastore datastore(kGood + port(entries));
  EXPECT_EQ(read(datastore), kNameLine + "config/target-gain 15.50 dB\nconfig/target-gain-tilt 0.20 dB\n" +
                                 kStateName +
                                 "state/target-gain 15.50 dB\nstate/target-gain-tilt 0.20 dB\n"
                                 "state/actual-gain-tilt instant 0.20 dB\n");
}

// ---- Cost of a read ----

/// The emulated device, its answers looked at.
class CountingDatastore : public yfw::NativeDatastore {
 public:
  explicit CountingDatastore(const std::filesystem::path &folder) : device_(folder, kParts.models) {}

  void read(const yfw::Datatree &request, yfw::Datatree &answer) override {
    device_.read(request, answer);
    count(*answer.root());
  }
  void edit(const yfw::Datatree &) override {}

  std::size_t leaves = 0;
  bool has_history = false;

 private:
  void count(const vidl_yfw_datatree &parent) {
    for (const auto &node : yfw::children(parent)) {
      if (node.subtree_count == 0) ++leaves;
      has_history = has_history || std::string_view(node.tag) == "performance-management-history";
      count(node);
    }
  }

  FolderDevice device_;
};

TEST_F(DeviceData, AReadAsksForNoMoreThanIsWanted) {
  struct Row {
    const char *filter;  ///< below the amplifier's name
    std::size_t leaves;
    bool history;
  };
  const std::vector<Row> rows = {
      {"<config><target-gain/></config>", 3, false},
      {"<state><enabled/></state>", 2, false},
      {"<state><actual-gain><instant/></actual-gain></state>", 2, false},
      {"<state><actual-gain><avg/></actual-gain></state>", 4, true},
      {"<config><min-gain/></config>", 2, false},
  };
  const auto folder = std::filesystem::temp_directory_path() / ("ymap-cost-" + std::to_string(getpid()));
  std::filesystem::create_directory(folder);
  for (const Row &row : rows) {
    SCOPED_TRACE(row.filter);
    CountingDatastore datastore(folder);
    const RpcMessage message(
        "<rpc message-id=\"1\" xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\"><get><filter>"
        "<optical-amplifier xmlns=\"http://openconfig.net/yang/optical-amplfier\"><amplifiers>"
        "<amplifier><name>0/0-AMP-BST0</name>" +
        std::string(row.filter) + "</amplifier></amplifiers></optical-amplifier></filter></get></rpc>");
    session_.run(message.request(session_.schema()), datastore);
    EXPECT_EQ(datastore.leaves, row.leaves);
    EXPECT_EQ(datastore.has_history, row.history);
  }
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace ymap
