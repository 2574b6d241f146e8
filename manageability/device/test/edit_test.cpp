// Edit operations, RFC 6241 section 7.2, and that a refused edit leaves no trace.

#include <gtest/gtest.h>

#include "support.hpp"

namespace device::test {
namespace {

constexpr const char *kConfiguration = R"({
  "Velm-NALTO-ifmgr-cfg:interface-configurations": {"interface-configuration": [
    {"active": "act", "interface-name": "a", "description": "east",
     "mtus": {"mtu": [{"owner": "x", "mtu": 100}]},
     "Velm-NALTO-controller-ots-cfg:ots": {"ots-ingress-amplifier-gain": 172, "ots-egress-amplifier-gain": 205}}]}})";

constexpr const char *kTop = "if:interface-configurations{";
constexpr const char *kUnchanged =
    "mtus{mtu{owner=x mtu=100}} description=east "
    "cfg:ots{ots-ingress-amplifier-gain=172 ots-egress-amplifier-gain=205}";
const std::string kEntry = "interface-configuration{active=act interface-name=a ";

/// An edit of what is inside the entry "a", and what the entry then holds beside its keys.
struct Accepted {
  const char *behaviour;
  const char *edit;
  const char *result;
};

const Accepted kAccepted[] = {
    {"merge sets a leaf and keeps its siblings", "cfg:ots{ots-egress-amplifier-gain=380}",
     "mtus{mtu{owner=x mtu=100}} description=east "
     "cfg:ots{ots-ingress-amplifier-gain=172 ots-egress-amplifier-gain=380}"},
    {"the same value again", "cfg:ots{ots-egress-amplifier-gain=205}", kUnchanged},
    {"create what is not there", "mtus{mtu!create{owner=y mtu=200}} cfg:ots{ots-raman-osri=true!create}",
     "mtus{mtu{owner=x mtu=100} mtu{owner=y mtu=200}} description=east "
     "cfg:ots{ots-ingress-amplifier-gain=172 ots-egress-amplifier-gain=205 ots-raman-osri=true}"},
    {"create an empty container", "dampening!create{half-life=5}",
     "dampening{half-life=5} mtus{mtu{owner=x mtu=100}} description=east "
     "cfg:ots{ots-ingress-amplifier-gain=172 ots-egress-amplifier-gain=205}"},
    {"replace a container", "cfg:ots!replace{ots-egress-osri=true}",
     "mtus{mtu{owner=x mtu=100}} description=east cfg:ots{ots-egress-osri=true}"},
    {"replace a leaf", "cfg:ots{ots-ingress-amplifier-gain=80!replace}",
     "mtus{mtu{owner=x mtu=100}} description=east "
     "cfg:ots{ots-ingress-amplifier-gain=80 ots-egress-amplifier-gain=205}"},
    {"replace a leaf that is not there", "cfg:ots{ots-egress-osri=true!replace}",
     "mtus{mtu{owner=x mtu=100}} description=east "
     "cfg:ots{ots-ingress-amplifier-gain=172 ots-egress-amplifier-gain=205 ots-egress-osri=true}"},
    {"delete a leaf, without a value", "description!delete",
     "mtus{mtu{owner=x mtu=100}} cfg:ots{ots-ingress-amplifier-gain=172 ots-egress-amplifier-gain=205}"},
    {"remove what is there and what is not", "description!remove bandwidth!remove dampening!remove",
     "mtus{mtu{owner=x mtu=100}} cfg:ots{ots-ingress-amplifier-gain=172 ots-egress-amplifier-gain=205}"},
    {"delete a container with all below it", "cfg:ots!delete{ots-egress-amplifier-gain}",
     "mtus{mtu{owner=x mtu=100}} description=east"},
    {"the last leaf of a container takes it along", "mtus{mtu!delete{owner=x}}",
     "description=east cfg:ots{ots-ingress-amplifier-gain=172 ots-egress-amplifier-gain=205}"},
    {"in document order", "cfg:ots!remove cfg:ots{ots-egress-osri=false}",
     "mtus{mtu{owner=x mtu=100}} description=east cfg:ots{ots-egress-osri=false}"},
    {"a key's own operation does not count", "interface-name=a!remove description=west",
     "mtus{mtu{owner=x mtu=100}} description=west "
     "cfg:ots{ots-ingress-amplifier-gain=172 ots-egress-amplifier-gain=205}"},
};

/// Edits inside interface-configurations.
const Accepted kAcceptedEntries[] = {
    {"one entry twice, keys last",
     "interface-configuration{cfg:ots{ots-ingress-amplifier-gain=100} "
     "interface-name=a active=act} interface-configuration{cfg:ots{ots-egress-amplifier-gain=110} "
     "interface-name=a active=act}",
     "interface-configuration{active=act interface-name=a mtus{mtu{owner=x mtu=100}} description=east "
     "cfg:ots{ots-ingress-amplifier-gain=100 ots-egress-amplifier-gain=110}}"},
    {"replace an entry", "interface-configuration!replace{active=act interface-name=a bandwidth=7}",
     "interface-configuration{active=act interface-name=a bandwidth=7}"},
    {"delete one, create another",
     "interface-configuration!delete{active=act interface-name=a} "
     "interface-configuration!create{active=pre interface-name=b}",
     "interface-configuration{active=pre interface-name=b}"},
    {"remove the only entry", "interface-configuration!remove{active=act interface-name=a}", ""},
};

/// A refused edit inside interface-configurations.
struct Refused {
  const char *edit;
  const char *tag;
  const char *origin;    ///< how the request goes on from the node at fault
  const char *path_end;  ///< of the error
  const char *or_path_end =
      nullptr;  ///< what libyang 3 and later say: of a missing node they name the parent
};

const Refused kRefused[] = {
    {"interface-configuration{active=act interface-name=a description=west!create}", "data-exists",
     "description=west", "[interface-name='a']/description"},
    {"interface-configuration{active=act interface-name=a cfg:ots!create}", "data-exists", "cfg:ots",
     "[interface-name='a']/Velm-NALTO-controller-ots-cfg:ots"},
    {"interface-configuration!create{active=act interface-name=a}", "data-exists", "interface-configuration",
     "/interface-configuration[active='act'][interface-name='a']"},
    {"interface-configuration{active=act interface-name=a bandwidth!delete}", "data-missing", "bandwidth",
     "/bandwidth"},
    {"interface-configuration{active=act interface-name=a dampening!delete}", "data-missing", "dampening",
     "/dampening"},
    {"interface-configuration!delete{active=act interface-name=b}", "data-missing", "interface-configuration",
     "[interface-name='b']"},
    {"interface-configuration{active=act interface-name=a nonsense=1}", "unknown-element", "nonsense",
     "[interface-name='a']/nonsense"},
    {"interface-configuration{active=act interface-name=a strange:leaf=1}", "unknown-namespace",
     "strange:leaf", "[interface-name='a']/leaf"},
    {"interface-configuration{active=act bandwidth=7}", "missing-element", "interface-configuration",
     "/interface-configuration"},
    {"interface-configuration{active=act interface-name bandwidth=7}", "missing-element",
     "interface-configuration", "/interface-configuration"},
    {"interface-configuration{active=act interface-name=a interface-name=b}", "bad-element",
     "interface-name=b", "/interface-configuration"},
    {"interface-configuration{active=on interface-name=a}", "invalid-value", "active=on",
     "/interface-configuration/active"},
    {"interface-configuration{active=act interface-name=a bandwidth}", "invalid-value", "bandwidth}",
     "/bandwidth"},
    {"interface-configuration{active=act interface-name=a bandwidth=many}", "invalid-value", "bandwidth=many",
     "/bandwidth"},
    {"interface-configuration{active=act interface-name=a bandwidth=1{x}}", "bad-element", "bandwidth=1",
     "/bandwidth"},
    {"interface-configuration{active=act interface-name=a description=west "
     "cfg:ots{ots-egress-amplifier-gain=381}}",
     "invalid-value", "ots-egress-amplifier-gain=381", "cfg:ots/ots-egress-amplifier-gain"},
    {"interface-configuration{active=act interface-name=a cfg:ots{ots-egress-amplifier-gain=100}} "
     "interface-configuration{active=act interface-name=b cfg:ots{ots-ingress-amplifier-tilt=51}}",
     "invalid-value", "ots-ingress-amplifier-tilt=51",
     "[interface-name='b']/Velm-NALTO-controller-ots-cfg:ots/ots-ingress-amplifier-tilt"},
    {"interface-configuration{active=act interface-name=a dampening{reuse-threshold=9 suppress-threshold=8}}",
     "operation-failed", "suppress-threshold=8", "/dampening/suppress-threshold"},
    {"interface-configuration{active=act interface-name=a mtus{mtu{owner=y}}}", "operation-failed", "",
     "/mtus/mtu/mtu", "/mtus/mtu[owner='y']"},
};

class Edit : public testing::Test {
 protected:
  void SetUp() override { workplace_.write("running.json", kConfiguration); }

  static std::string configuration(const Device &device) {
    return read(device, "if:interface-configurations");
  }

  Workplace workplace_;
};

void check_accepted(const Workplace &workplace, const Accepted &row, const std::string &edit,
                    const std::string &expected) {
  workplace.write("running.json", kConfiguration);
  Device device(workplace.path(), YMAP_TEST_MODELS, kNow);
  EXPECT_NO_THROW(device.edit(request(edit.c_str()))) << row.behaviour;
  EXPECT_EQ(read(device, "if:interface-configurations"), expected) << row.behaviour;
  const Device reopened(workplace.path(), YMAP_TEST_MODELS, kNow);
  EXPECT_EQ(read(reopened, "if:interface-configurations"), expected) << row.behaviour;
}

TEST_F(Edit, AcceptsByTable) {
  for (const Accepted &row : kAccepted) {
    check_accepted(workplace_, row, kTop + kEntry + row.edit + "}}", kTop + kEntry + row.result + "}}");
  }
  for (const Accepted &row : kAcceptedEntries) {
    const std::string expected = *row.result != '\0' ? kTop + std::string(row.result) + "}" : "";
    check_accepted(workplace_, row, kTop + std::string(row.edit) + "}", expected);
  }
}

TEST_F(Edit, RefusesByTable) {
  Device device(workplace_.path(), YMAP_TEST_MODELS, kNow);
  const std::string before = workplace_.running_text();
  for (const Refused &row : kRefused) {
    const std::string edit = kTop + std::string(row.edit) + "}";
    try {
      device.edit(request(edit.c_str()));
      ADD_FAILURE() << "accepted: " << row.edit;
    } catch (const EditError &error) {
      EXPECT_EQ(error.error_tag, row.tag) << row.edit;
      EXPECT_TRUE(std::string(static_cast<const char *>(error.origin)).starts_with(row.origin)) << row.edit;
      EXPECT_TRUE(error.path.ends_with(row.path_end) ||
                  (row.or_path_end != nullptr && error.path.ends_with(row.or_path_end)))
          << row.edit << " says " << error.path;
      EXPECT_STRNE(error.what(), "") << row.edit;
    }
    EXPECT_EQ(workplace_.running_text(), before) << row.edit;
    EXPECT_EQ(configuration(device), kTop + kEntry + kUnchanged + "}}") << row.edit;
  }
}

TEST_F(Edit, AtTheTop) {
  Device device(workplace_.path(), YMAP_TEST_MODELS, kNow);
  const auto tag = [&device](const char *edit) {
    try {
      device.edit(request(edit));
    } catch (const EditError &error) {
      return error.error_tag;
    }
    return std::string("done");
  };
  EXPECT_EQ(tag("oper:ots-oper{ots-ports}"), "operation-not-supported");
  EXPECT_EQ(tag("if:nonsense"), "unknown-element");
  EXPECT_EQ(tag("strange:interface-configurations"), "unknown-namespace");
  EXPECT_EQ(tag(""), "done");
  // Everything may go, and the folder still loads.
  EXPECT_EQ(tag("if:interface-configurations!delete"), "done");
  EXPECT_EQ(read(Device(workplace_.path(), YMAP_TEST_MODELS, kNow), "if:interface-configurations"), "");
  EXPECT_EQ(tag("if:interface-configurations!delete"), "data-missing");
  EXPECT_EQ(tag("if:global-interface-configuration{link-status=disable}"), "done");
  EXPECT_EQ(read(device, "if:global-interface-configuration"),
            "if:global-interface-configuration{link-status=disable}");
}

}  // namespace
}  // namespace device::test
