// The edit that the operations of a request come to.
#include "set_request.hpp"

#include <google/protobuf/text_format.h>

#include <array>

#include "rpc_error.hpp"
#include "support.hpp"
#include "ymap_datatree.h"

namespace ymap::telemetry::test {
namespace {

constexpr std::array<const char *, 6> kOperations = {"",        "!replace", "!create",
                                                     "!delete", "!remove",  "!merge"};

std::string shown(const vidl_yfw_datatree &node) {
  std::string text = node.tag;
  text += kOperations.at(node.operation);
  if (node.data != nullptr) text.append("=").append(node.data);
  if (!vidl_yfw_datatree_has_subtrees(&node)) return text;
  std::string below;
  for (uint32_t at = 0; at < node.subtree_count; ++at)
    below += (below.empty() ? "" : " ") + shown(node.subtrees[at]);
  return text + "{" + below + "}";
}

class SetTest : public WithDevice {
 protected:
  /// Operations: "d PATH", "r PATH VALUE", "u PATH VALUE", below the amplifier PRE0; JSON in `value`.
  struct Operation {
    char kind;
    const char *path;
    const char *value = nullptr;
  };
  std::string edit(const std::vector<Operation> &operations) const {
    ::gnmi::SetRequest request;
    *request.mutable_prefix() = path("/optical-amplifier/amplifiers");
    for (const auto &[kind, where, value] : operations) {
      const auto below = path(std::string(*where == '[' ? "/amplifier" : "/amplifier[name=P]") + where);
      if (kind == 'd') {
        *request.add_delete_() = below;
        continue;
      }
      auto &update = kind == 'r' ? *request.add_replace() : *request.add_update();
      *update.mutable_path() = below;
      update.mutable_val()->set_json_val(value);
    }
    try {
      const auto made = edit_of(schema(), request);
      auto text = shown(*made.tree.root());
      const std::string front = "amplifiers{";
      const auto at = text.find(front);
      return at == std::string::npos ? text
                                     : text.substr(at + front.size(), text.size() - at - front.size() - 3);
    } catch (const RpcError &error) {
      return error.fault().tag + " " + error.fault().path.substr(error.fault().path.find("amplifiers") + 10);
    }
  }
};

TEST_F(SetTest, ComesToOneEdit) {
  const struct {
    std::vector<Operation> operations;
    std::string edit;
  } rows[] = {
      {{{'u', "/config/target-gain", "15.7"}}, "amplifier{name=P config{target-gain=15.70}}"},
      {{{'u', "/config", R"({"target-gain": "9", "openconfig-optical-amplifier:enabled": false})"}},
       "amplifier{name=P config{target-gain=9.00 enabled=false}}"},
      {{{'u', "", R"({"name": "P", "config": {"name": "P", "enabled": true}})"}},
       "amplifier{name=P config{name=P enabled=true}}"},
      {{{'d', "/config/target-gain"}}, "amplifier{name=P config{target-gain!remove}}"},
      {{{'d', "[name=Q]"}}, "amplifier!remove{name=Q}"},
      {{{'r', "/config", R"({"enabled": true})"}}, "amplifier{name=P config!replace{enabled=true}}"},
      // Deletes come first, wherever they stand, and what is written after them is not gone.
      {{{'u', "/config/enabled", "true"}, {'d', "/config"}},
       "amplifier{name=P config!replace{enabled=true}}"},
      {{{'d', "/config/enabled"}, {'u', "/config/enabled", "true"}},
       "amplifier{name=P config{enabled=true}}"},
      {{{'d', "/config"}, {'d', "/config/enabled"}}, "amplifier{name=P config!remove}"},
      {{{'d', "/config/enabled"}, {'d', "/config"}}, "amplifier{name=P config!remove}"},
      {{{'u', "/config/enabled", "false"}, {'r', "/config", R"({"target-gain": 9})"}},
       "amplifier{name=P config!replace{target-gain=9.00 enabled=false}}"},
      {{{'u', "/config/target-gain", "1"}, {'u', "/config/target-gain", "2"}},
       "amplifier{name=P config{target-gain=2.00}}"},
      {{{'u', "/config/enabled", "true"}, {'u', "[name=Q]/config/enabled", "true"}},
       "amplifier{name=P config{enabled=true}} amplifier{name=Q config{enabled=true}}"},
      // Refusals.
      {{{'u', "/config", "5"}}, "invalid-value /amplifier[name='P']/config"},
      {{{'u', "/config", R"({"gain": 5})"}}, "unknown-element /amplifier[name='P']/config/gain"},
      {{{'u', "", R"({"name": "Q"})"}}, "bad-element /amplifier[name='P']/name"},
      {{{'u', "/name", "\"Q\""}}, "bad-element /amplifier[name='P']/name"},
      {{{'u', "[name=*]/config/enabled", "true"}}, "missing-element /amplifier[name='*']/config/enabled"},
      {{{'d', "/*"}}, "invalid-value /amplifier[name='P']/*"},
      {{{'u', "/config/target-gain", "[1]"}}, "invalid-value /amplifier[name='P']/config/target-gain"},
  };
  for (const auto &row : rows) EXPECT_EQ(edit(row.operations), row.edit);
}

TEST_F(SetTest, HasListsOfEntriesInContainers) {
  ::gnmi::SetRequest request;
  auto &update = *request.add_update();
  const auto refusal = [&](const std::string &json) -> std::string {
    update.mutable_val()->set_json_ietf_val(json);
    try {
      const auto made = edit_of(schema(), request);
      return shown(*made.tree.root());
    } catch (const RpcError &error) {
      return error.fault().tag;
    }
  };
  const std::string front =
      R"({"openconfig-optical-amplifier:optical-amplifier": {"amplifiers": {"amplifier": )";
  EXPECT_NE(refusal(front + R"([{"name": "P"}, {"name": "Q", "config": {"enabled": true}}]}}})")
                .find("amplifiers{amplifier{name=P} amplifier{name=Q config{enabled=true}}}"),
            std::string::npos);
  EXPECT_EQ(refusal(front + "{}}}}"), "invalid-value");
  EXPECT_EQ(refusal(front + "[5]}}}"), "invalid-value");
  EXPECT_EQ(refusal(front + "[{}]}}}"), "missing-element");
  EXPECT_EQ(refusal(front + R"([{"name": "P\u0000Q"}]}}})"), "missing-element");
  EXPECT_EQ(refusal(front + R"([{"name": "P", "config": {"name": "P\u0000Q"}}]}}})"), "invalid-value");
  EXPECT_EQ(refusal(R"({"other:optical-amplifier": {}})"), "unknown-element");
}

TEST_F(SetTest, HasLimits) {
  ::gnmi::SetRequest request;
  for (int count = 0; count <= 1000; ++count) *request.add_delete_() = path("/optical-amplifier");
  EXPECT_THROW(edit_of(schema(), request), RpcError);
  request.Clear();
  request.add_union_replace();
  EXPECT_THROW(edit_of(schema(), request), RpcError);
}

}  // namespace
}  // namespace ymap::telemetry::test
