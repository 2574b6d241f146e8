// Live values: they follow the configuration, and only what a filter reaches is made.

#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include <map>
#include <set>

#include "live.hpp"
#include "model_folders.hpp"
#include "support.hpp"

namespace device::test {
namespace {

constexpr uint64_t kBucket = 30'000'000'000;
constexpr const char *kBegin =
    "pm:performance-management-history{global{periodic{optics-history{optics-port-histories{optics-port-"
    "history{";
constexpr const char *kMiddle =
    "optics-second30-history{optics-second30-optics-histories{optics-second30-optics-history{number=1 "
    "optics-second30-optics-time-line-instances{optics-second30-optics-time-line-instance{";
constexpr const char *kEnd = "}}}}}}}}}}}";

std::string port(const char *name) {
  return std::string("oper:ots-oper{ots-ports{ots-port{name=") + name + " ots-info}}}";
}

std::string edit_ots0(const char *change) {
  return std::string(
             "if:interface-configurations{interface-configuration{active=act interface-name=Ots0/0/0/0 ") +
         change + "}}";
}

class Live : public testing::Test {
 protected:
  void edit(const char *change) {
    const std::string text = edit_ots0(change);
    device_.edit(request(text.c_str()));
  }

  Workplace workplace_;
  Device device_{workplace_.path(), YMAP_TEST_MODELS, kNow};
};

TEST_F(Live, PortsFollowTheConfiguration) {
  const struct {
    const char *change;  ///< of Ots0/0/0/0
    const char *answer;  ///< of its ots-info
  } rows[] = {
      {"",
       "transport-admin-state=in-service controller-state=up ingress-ampli-gain=172 ingress-ampli-tilt=-12 "
       "ingress-ampli-gain-range=normal ingress-ampli-osri=false egress-ampli-gain=205 egress-ampli-tilt=8 "
       "egress-ampli-gain-range=extended egress-ampli-osri=false rx-power=-213 tx-power=48"},
      {"shutdown='' cfg:ots!replace{ots-ingress-amplifier-tilt=0 ots-egress-osri=true "
       "ots-egress-amplifier-gain-range=normal}",
       "transport-admin-state=out-of-service controller-state=down ingress-ampli-tilt=0 "
       "egress-ampli-gain-range=normal egress-ampli-osri=true rx-power=-213 tx-power=48"},
      {"cfg:ots!delete",
       "transport-admin-state=out-of-service controller-state=down rx-power=-213 tx-power=48"},
  };
  for (const auto &row : rows) {
    edit(row.change);
    EXPECT_EQ(
        read(device_, port("Ots0/0/0/0").c_str()),
        std::string("oper:ots-oper{ots-ports{ots-port{name=Ots0/0/0/0 ots-info{") + row.answer + "}}}}");
  }
}

TEST_F(Live, SideWithoutAmplifierHasNoValues) {
  device_.edit(
      request("if:interface-configurations{interface-configuration{active=act interface-name=Ots0/0/0/2 "
              "cfg:ots{ots-ingress-amplifier-gain=100}}}"));
  EXPECT_EQ(read(device_, port("Ots0/0/0/2").c_str()).find("ingress"), std::string::npos);
  EXPECT_EQ(read(device_, port("Ots0/0/0/1").c_str()).find("ampli"), std::string::npos);
  const auto groups = [this](const char *name) {
    std::string found;
    for (const char *group : {"eagn", "eatl", "iagn", "iatl"}) {
      const std::string filter = kBegin + std::string("name=") + name + " " + kMiddle + group + kEnd;
      if (read(device_, filter.c_str()).find("average") != std::string::npos) found += group;
    }
    return found;
  };
  EXPECT_EQ(groups("Ots0/0/0/0"), "eagneatliagniatl");
  EXPECT_EQ(groups("Ots0/0/0/1"), "");
  EXPECT_EQ(groups("Ots0/0/0/2"), "eagneatl");
  edit("cfg:ots{ots-egress-amplifier-gain!delete ots-ingress-amplifier-tilt!delete}");
  EXPECT_EQ(groups("Ots0/0/0/0"), "eatliagn");
}

/// One statistics container of an answer.
using Leaves = std::map<std::string, std::string>;

Leaves statistic(const Device &device, const char *name, int bucket, const char *group) {
  const std::string filter = kBegin + std::string("name=") + name + " " + kMiddle +
                             "number=" + std::to_string(bucket) + " " + group + kEnd;
  const std::string answer = read(device, filter.c_str());
  Leaves leaves;
  for (const char *leaf : {"valid", "minimum", "average", "maximum", "min-time", "max-time"}) {
    const size_t at = answer.find(std::string(leaf) + "=");
    if (at == std::string::npos) continue;
    const size_t value = answer.find('=', at) + 1;
    leaves[leaf] = answer.substr(value, answer.find_first_of(" }", value) - value);
  }
  return leaves;
}

TEST_F(Live, HistoryRipplesAroundTheConfiguration) {
  edit("cfg:ots{ots-ingress-amplifier-tilt=0}");
  const struct {
    const char *group;
    double configured;
  } groups[] = {{"iagn", 17.2}, {"iatl", 0.0}, {"eagn", 20.5}, {"eatl", 0.8}};
  std::set<std::string> seen;
  for (int bucket = 1; bucket <= 8; ++bucket) {
    const uint64_t start = (kNow / kBucket - static_cast<uint64_t>(bucket)) * kBucket;
    for (const auto &row : groups) {
      const Leaves leaves = statistic(device_, "Ots0/0/0/0", bucket, row.group);
      ASSERT_EQ(leaves.size(), 6U) << row.group << bucket;
      const double low = std::stod(leaves.at("minimum"));
      const double mean = std::stod(leaves.at("average"));
      const double high = std::stod(leaves.at("maximum"));
      EXPECT_LE(low, mean);
      EXPECT_LE(mean, high);
      EXPECT_LT(low, high) << "no ripple";
      EXPECT_NEAR(low, row.configured, 0.1);
      EXPECT_NEAR(high, row.configured, 0.1);
      EXPECT_EQ(leaves.at("minimum").find('.'), leaves.at("minimum").size() - 3) << "not two decimals";
      for (const char *time : {"min-time", "max-time"}) {
        EXPECT_GE(std::stoull(leaves.at(time)), start);
        EXPECT_LT(std::stoull(leaves.at(time)), start + kBucket);
      }
      EXPECT_EQ(leaves, statistic(device_, "Ots0/0/0/0", bucket, row.group)) << "not deterministic";
      seen.insert(leaves.at("min-time") + leaves.at("minimum") + row.group);
    }
  }
  EXPECT_EQ(seen.size(), 32U);
  EXPECT_TRUE(statistic(device_, "Ots0/0/0/0", 9, "iagn").empty());
}

TEST_F(Live, BucketsEndWithTheClock) {
  const auto buckets = [this](uint64_t now) {
    ReadCount count;
    const std::string filter = kBegin + std::string("name=Ots0/0/0/1 ") + kMiddle + "opr{average}" + kEnd;
    read(Device(workplace_.path(), YMAP_TEST_MODELS, now), filter.c_str(), &count);
    return count.leaves;
  };
  // Name and history number are matched keys; a bucket brings its number and the average.
  EXPECT_EQ(buckets(kBucket - 1), 2U);
  EXPECT_EQ(buckets(kBucket), 2U + 2);
  EXPECT_EQ(buckets(4 * kBucket), 2U + 8);
  EXPECT_EQ(buckets(1000 * kBucket), 2U + 16);
  // A bucket keeps its values when it grows older.
  const Device later(workplace_.path(), YMAP_TEST_MODELS, kNow + 2 * kBucket);
  EXPECT_EQ(statistic(later, "Ots0/0/0/2", 3, "eagn"), statistic(device_, "Ots0/0/0/2", 1, "eagn"));
  EXPECT_NE(statistic(later, "Ots0/0/0/2", 1, "eagn"), statistic(device_, "Ots0/0/0/2", 1, "eagn"));
}

void print(const PlainNode &node, std::string &text) {
  text += node.name;
  if (node.is_leaf) {
    text += "=" + node.value + " ";
    return;
  }
  text += '{';
  for (const auto &child : node.children) print(child, text);
  text += '}';
}

TEST_F(Live, OnlyWhatTheFilterReachesIsMade) {
  const LogScope log;
  const Schema schema(YMAP_TEST_MODELS);
  const auto made = [&schema](const std::string &filter) {
    const auto bound = bind_filter(schema, request(filter.c_str()));
    std::string text;
    for (const auto &node : operating_values(schema, nullptr, bound)) print(node, text);
    for (const auto &node : histories(schema, nullptr, kNow, bound)) print(node, text);
    return text;
  };
  EXPECT_EQ(made("if:interface-configurations"), "");
  EXPECT_EQ(made("pm:ots-oper strange:performance-management-history"), "");
  EXPECT_EQ(made("oper:ots-oper{ots-ports{ots-port{name=Ots0/0/0/2 ots-info{rx-power}}}}"),
            "ots-oper{ots-ports{ots-port{name=Ots0/0/0/2 ots-info{rx-power=-196 }}}}");
  const std::string one =
      kBegin + std::string("name=Ots0/0/0/1 ") + kMiddle + "number=2 opr{valid=true}" + kEnd;
  EXPECT_EQ(made(one + " oper:ots-oper{ots-ports{ots-port{name=x}}}").find("Ots0/0/0/0"), std::string::npos);
  const std::string history = made(one);
  EXPECT_EQ(history.find("time-line-instance{number=2"), history.rfind("time-line-instance{"));
}

TEST_F(Live, ValuesCompareInCanonicalForm) {
  const auto bucket = [this](const std::string &number) {
    return read(device_, (kBegin + std::string("name=Ots0/0/0/1 ") + kMiddle + "number=" + number +
                          " opr{valid=' true '}" + kEnd)
                             .c_str());
  };
  ASSERT_NE(bucket("2").find("number=2 opr{valid=true "), std::string::npos) << bucket("2");
  EXPECT_EQ(bucket("+02"), bucket("2"));
  EXPECT_EQ(bucket("' 2 '"), bucket("2"));
  EXPECT_EQ(bucket("0x").find("opr"), std::string::npos);
}

TEST(Models, ProseIsLeftOutAndNothingElse) {
  for (const auto &[yang, left] : std::vector<std::pair<std::string, std::string>>{
           {"a b;", "a b;"},
           {"a {\n    description\n  \"x; } \\\" y\";\n  b c;}", "a {   b c;}"},
           {"a;// description \"\nb; /* ; \" */ c;", "a; b;   c;"},
           {"reference 'x\\';b;", " b;"},
           {"a \"description 'x';\"; c 'd  e';", "a \"description 'x';\"; c 'd  e';"},
           {"description \"x\" + \"y\"; b;", "description \"x\" + \"y\"; b;"},
           {"description; a:description \"x\";", "description; a:description \"x\";"},
           {"leaf description { type string; }", "leaf description { type string; }"},
           {"pattern 'a//b';units \"1/* \";", "pattern 'a//b';units \"1/* \";"},
           {"description \"x", "description \"x"},
       })
    EXPECT_EQ(without_prose(yang), left);
}

TEST(Models, LoadWithoutWarning) {
  uint32_t store = LY_LOSTORE;
  ly_temp_log_options(&store);
  const ModelFolders folder({YMAP_TEST_MODELS});
  ly_ctx *context = folder.make_context();
  ASSERT_NE(context, nullptr);
  size_t modules = 0;
  for (const auto &entry : std::filesystem::directory_iterator(YMAP_TEST_MODELS)) {
    const std::string name = entry.path().stem().string();
    // Those of the protocol stand on the IETF's.
    if (entry.path().extension() != ".yang" || name.ends_with("notifications")) continue;
    ++modules;
    EXPECT_NE(ly_ctx_load_module(context, name.substr(0, name.find('@')).c_str(), nullptr, nullptr), nullptr)
        << name;
    EXPECT_EQ(ly_err_first(context), nullptr) << name << ": " << ly_errmsg(context);
  }
  EXPECT_EQ(modules, 5U);
  ly_ctx_destroy(context);
  ly_temp_log_options(nullptr);
}

}  // namespace
}  // namespace device::test
