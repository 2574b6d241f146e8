// Subtree filters on the running configuration, RFC 6241 section 6.

#include <gtest/gtest.h>

#include <algorithm>

#include "support.hpp"

namespace device::test {
namespace {

constexpr const char *kConfiguration = R"({
  "Velm-NALTO-ifmgr-cfg:interface-configurations": {"interface-configuration": [
    {"active": "act", "interface-name": "Ots0/0/0/0", "description": "line east",
     "Velm-NALTO-controller-ots-cfg:ots": {"ots-ingress-amplifier-gain": 172, "ots-egress-amplifier-gain": 205}},
    {"active": "pre", "interface-name": "Ots0/0/0/1", "description": "spare"},
    {"active": "act", "interface-name": "Ots0/0/0/2",
     "mtus": {"mtu": [{"owner": "a", "mtu": 100}, {"owner": "b", "mtu": 200}]},
     "Velm-NALTO-controller-ots-cfg:ots": {"ots-egress-amplifier-gain": 184}}]}})";

struct Row {
  const char *behaviour;
  const char *filter;  ///< inside interface-configurations
  const char *answer;  ///< the same
};

const Row kRows[] = {
    {"a selection leaf, with the keys", "interface-configuration{cfg:ots{ots-ingress-amplifier-gain}}",
     "interface-configuration{active=act interface-name=Ots0/0/0/0 cfg:ots{ots-ingress-amplifier-gain=172}}"},
    {"the empty text selects", "interface-configuration{cfg:ots{ots-ingress-amplifier-gain=''}}",
     "interface-configuration{active=act interface-name=Ots0/0/0/0 cfg:ots{ots-ingress-amplifier-gain=172}}"},
    {"content matches alone give all of the entry", "interface-configuration{interface-name=Ots0/0/0/1}",
     "interface-configuration{active=pre interface-name=Ots0/0/0/1 description=spare}"},
    {"a matched leaf that is no key is given out",
     "interface-configuration{description='line east' cfg:ots{ots-egress-amplifier-gain}}",
     "interface-configuration{active=act interface-name=Ots0/0/0/0 description='line east' "
     "cfg:ots{ots-egress-amplifier-gain=205}}"},
    {"white space around a value", "interface-configuration{description=' spare ' interface-name}",
     "interface-configuration{active=pre interface-name=Ots0/0/0/1 description=spare}"},
    {"all content matches must hold", "interface-configuration{active=act description=spare}", ""},
    {"two values for one leaf", "interface-configuration{active=act active=pre interface-name}", ""},
    {"a value that the type refuses", "interface-configuration{active=yes}", ""},
    {"values compare in canonical form", "interface-configuration{mtus{mtu{mtu=+0200}}}",
     "interface-configuration{active=act interface-name=Ots0/0/0/2 mtus{mtu{owner=b mtu=200}}}"},
    {"repeated entries are alternatives, answered in data order",
     "interface-configuration{interface-name=Ots0/0/0/1 active} "
     "interface-configuration{interface-name=Ots0/0/0/0 active}",
     "interface-configuration{active=act interface-name=Ots0/0/0/0} "
     "interface-configuration{active=pre interface-name=Ots0/0/0/1}"},
    {"one entry named twice is given out once, with both selections",
     "interface-configuration{interface-name=Ots0/0/0/2 cfg:ots{ots-egress-amplifier-gain}} "
     "interface-configuration{interface-name=Ots0/0/0/2 mtus{mtu{owner=a}}}",
     "interface-configuration{active=act interface-name=Ots0/0/0/2 mtus{mtu{owner=a mtu=100}} "
     "cfg:ots{ots-egress-amplifier-gain=184}}"},
    {"the whole wins over a part",
     "interface-configuration{interface-name=Ots0/0/0/1 active} interface-configuration{active=pre}",
     "interface-configuration{active=pre interface-name=Ots0/0/0/1 description=spare}"},
    {"an entry in which nothing is selected is left out", "interface-configuration{cfg:ots{ots-raman-osri}}",
     ""},
    {"but not if its key is matched",
     "interface-configuration{interface-name=Ots0/0/0/1 cfg:ots{ots-raman-osri}}",
     "interface-configuration{active=pre interface-name=Ots0/0/0/1}"},
    {"a selected key", "interface-configuration{active=act interface-name}",
     "interface-configuration{active=act interface-name=Ots0/0/0/0} "
     "interface-configuration{active=act interface-name=Ots0/0/0/2}"},
    {"an empty container is all of it", "interface-configuration{cfg:ots}",
     "interface-configuration{active=act interface-name=Ots0/0/0/0 cfg:ots{ots-ingress-amplifier-gain=172 "
     "ots-egress-amplifier-gain=205}} interface-configuration{active=act interface-name=Ots0/0/0/2 "
     "cfg:ots{ots-egress-amplifier-gain=184}}"},
    {"an unknown name selects nothing", "interface-configuration{nonsense} nonsense", ""},
    {"an unknown name matches nothing", "interface-configuration{nonsense=1 interface-name}", ""},
    {"an unknown name among others", "interface-configuration{nonsense description=spare interface-name}",
     "interface-configuration{active=pre interface-name=Ots0/0/0/1 description=spare}"},
    {"a foreign namespace", "interface-configuration{strange:description} strange:interface-configuration",
     ""},
    {"a name of another module of the device", "interface-configuration{cfg:description}", ""},
    {"a container with a value", "interface-configuration=x interface-configuration{cfg:ots=x}", ""},
    {"a leaf with nodes below", "interface-configuration{description{active}}", ""},
};

class Filter : public testing::Test {
 protected:
  Filter() { workplace_.write("running.json", kConfiguration); }

  Workplace workplace_;
};

TEST_F(Filter, SelectsByTable) {
  const Device device(workplace_.path(), YMAP_TEST_MODELS, kNow);
  for (const Row &row : kRows) {
    const std::string top = "if:interface-configurations{";
    const std::string answer = *row.answer != '\0' ? top + row.answer + "}" : "";
    ReadCount count;
    EXPECT_EQ(read(device, (top + row.filter + "}").c_str(), &count), answer) << row.behaviour;
    EXPECT_EQ(count.leaves, static_cast<size_t>(std::count(answer.begin(), answer.end(), '=')))
        << row.behaviour;
  }
}

TEST_F(Filter, AtTheTop) {
  const Device device(workplace_.path(), YMAP_TEST_MODELS, kNow);
  EXPECT_EQ(read(device, ""), "");
  EXPECT_EQ(read(device, "strange:interface-configurations"), "");
  EXPECT_EQ(read(device, "if:global-interface-configuration"), "");  // not configured
  EXPECT_EQ(read(device,
                 "oper:ots-oper{ots-ports{ots-port{name=Ots0/0/0/2 ots-info{rx-power}}}} "
                 "if:interface-configurations{interface-configuration{active=pre interface-name}}"),
            "oper:ots-oper{ots-ports{ots-port{name=Ots0/0/0/2 ots-info{rx-power=-196}}}} "
            "if:interface-configurations{interface-configuration{active=pre interface-name=Ots0/0/0/1}}");
}

}  // namespace
}  // namespace device::test
