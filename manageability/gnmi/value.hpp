/// \file
/// Values of gNMI: what is sent of the model's values, and what is taken for them.
#pragma once

#include <google/protobuf/struct.pb.h>

#include <string>

#include "gnmi.pb.h"
#include "openconfig_answer.hpp"
#include "part.hpp"
#include "schema.hpp"

namespace ymap::telemetry {

/// Those that this server has.
enum class Encoding : uint8_t {
  json,       ///< names and identities without their module, numbers as numbers
  json_ietf,  ///< RFC 7951
  proto       ///< leaves alone, each as a scalar
};
/// Throws RpcError for another: operation-not-supported.
Encoding supported(::gnmi::Encoding encoding);

/// The value of a leaf; in JSON also what the part takes of what is below another node, as one object. False
/// if it takes nothing there.
bool write_value(const Schema &schema, const DataNode &node, Part part, Encoding encoding,
                 ::gnmi::TypedValue &value);

/// JSON that a value holds; nothing for another kind of value. Throws RpcError: invalid-value at `path`.
std::optional<google::protobuf::Value> json_in(const ::gnmi::TypedValue &value, const std::string &path);

/// What the plug-in takes for a leaf's value: a number is rounded to the fraction digits that the leaf has,
/// for some clients send a decimal as a binary fraction of 32 bits. Throw RpcError: invalid-value at `path`.
std::string leaf_value(const Schema &schema, const SchemaNode &leaf, const ::gnmi::TypedValue &value,
                       const std::string &path);
std::string leaf_value(const Schema &schema, const SchemaNode &leaf, const google::protobuf::Value &value,
                       const std::string &path);

}  // namespace ymap::telemetry
