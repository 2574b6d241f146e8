/// \file
/// The mapper's answer as checked OpenConfig data.
#pragma once

#include <string>
#include <vector>

#include "schema.hpp"
#include "ymap_types.h"

namespace ymap {

/// A node of OpenConfig data.
struct DataNode {
  const SchemaNode *schema = nullptr;
  std::string value = {};               ///< of a leaf, as the plug-in writes values, see CheckedValue
  std::vector<DataNode> children = {};  ///< in the order of the model, keys first
};
/// Siblings; empty for no data. Must not outlive the schema.
using Data = std::vector<DataNode>;

struct Answer {
  Data data;                          ///< of a read
  std::vector<std::string> warnings;  ///< what the device gave and the model does not take
  std::string rules;                  ///< what is selected of the access rules, in compact XML
};

/// Turns the children of `root` into data of the schema. What the schema does not take is left out, each with
/// a warning that names it; leaves without a value are left out silently, they stand for nothing on the
/// device.
Answer openconfig_answer(const Schema &schema, const vidl_yfw_datatree *root);

/// Has libyang validate an answer whose maker is not this device, and adds a warning where it is not valid.
void validate(const Schema &schema, Answer &answer);

}  // namespace ymap
