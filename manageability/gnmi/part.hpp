/// \file
/// Parts of the data, as Get has them and subscriptions.
#pragma once

#include <cstdint>

#include "schema_node.hpp"

namespace ymap::telemetry {

enum class Part : uint8_t {
  all,
  config,
  state,
  operational  ///< state that is no setting's
};
bool takes(Part part, const SchemaNode &leaf);
/// Whether the leaf is measured, and changes without an edit.
bool is_live(const SchemaNode &leaf);

}  // namespace ymap::telemetry
