// Leaves by what they are in the model.
#include "part.hpp"

#include <algorithm>
#include <string_view>

namespace ymap::telemetry {

bool is_live(const SchemaNode &leaf) {
  if (leaf.is_config || leaf.is_key) return false;
  // What stands in the container "config" beside is a setting, as the device has it.
  const auto *above = leaf.parent;
  if (above == nullptr || above->parent == nullptr || !above->parent->is_list()) return true;
  const auto beside = above->parent->children;
  const auto config = std::ranges::find(beside, std::string_view("config"), &SchemaNode::name);
  return config == beside.end() ||
         std::ranges::find(config->children, leaf.name, &SchemaNode::name) == config->children.end();
}

bool takes(Part part, const SchemaNode &leaf) {
  switch (part) {
    case Part::config:
      return leaf.is_config;
    case Part::state:
      return !leaf.is_config;
    case Part::operational:
      return is_live(leaf);
    case Part::all:
      break;
  }
  return true;
}

}  // namespace ymap::telemetry
