/// \file
/// A request in the shape that the mapper takes, and the ways to one: an <rpc>, or the words of the command
/// line.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "datatree.hpp"
#include "schema.hpp"
#include "xml_document.hpp"

namespace ymap {

struct Request {
  enum class Kind { get, get_config, edit };
  Kind kind = Kind::get;
  bool state_only = false;
  bool selects_nothing = false;  ///< a filter that no data can match: the answer is empty
  yfw::Datatree tree;            ///< subtree filter (empty: everything) or edit
};

/// A NETCONF <rpc>: get, get-config or edit-config (RFC 6241, section 7).
class RpcMessage {
 public:
  /// Throws RpcError when the text is no XML document.
  explicit RpcMessage(std::string_view text) : document_(text) {}

  /// The attributes of <rpc>, which the reply repeats (RFC 6241, section 4.1).
  std::vector<XmlAttribute> attributes() const;

  /// The request, checked against the schema: elements, values, operations. List keys are the plug-in's to
  /// judge. Throws RpcError.
  Request request(const Schema &schema) const;

 private:
  XmlDocument document_;
};

/// A read of `amplifiers`, of all of them if there is none. Throws RpcError for an empty name.
Request read_request(const Schema &schema, Request::Kind kind, bool state_only,
                     const std::vector<std::string> &amplifiers);

/// A leaf of an amplifier's `config`; without a value it is removed.
struct Assignment {
  std::string leaf;
  std::optional<std::string> value;
};

/// An edit of one amplifier, one transaction. Throws RpcError for leaves and values that the schema does not
/// know.
Request edit_request(const Schema &schema, const std::string &amplifier,
                     const std::vector<Assignment> &assignments);

}  // namespace ymap
