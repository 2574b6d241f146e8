/// \file
/// A request in the shape that the mapper takes, and the ways to one: an <rpc>, or the words of the command
/// line.
#pragma once

#include <deque>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "datatree.hpp"
#include "device.hpp"
#include "rpc_error.hpp"
#include "rpc_parameters.hpp"
#include "schema.hpp"
#include "sessions.hpp"
#include "xml_document.hpp"

namespace ymap {

struct Request {
  enum class Kind { get, get_config, edit };
  Kind kind = Kind::get;
  bool state_only = false;
  bool selects_nothing = false;  ///< a filter that no data can match: the answer is empty
  device::Datastore datastore = device::Datastore::running;
  std::optional<device::Commit> commit;  ///< of an edit of running that is to be confirmed
  bool test_only = false;                ///< an edit that is tried and not stored; a <validate> is one
  bool is_validation = false;            ///< that
  yfw::Datatree tree;                    ///< subtree filter (empty: everything) or edit
  /// What it selects of the access rules, or does to them: texts of the message, and of `texts`.
  std::vector<device::RequestNode> rules;
  bool selects_all_rules = false;
  std::deque<std::string> texts;
  /// Of an edit by default operation "none": all that it says. Of this, what `tree` lacks has no effect, but
  /// must be there.
  std::optional<yfw::Datatree> stated;
};

/// The operation element of an <rpc>: get, get-config, edit-config or validate (RFC 6241, sections 7
/// and 8.6), at `path`. It is checked against the schema: elements, values, operations. List keys are the
/// plug-in's to judge. Throws RpcError.
Request parse_operation(const XmlElement &operation, const std::string &path, const Schema &schema,
                        Candidate candidate = Candidate::absent);

/// A NETCONF <rpc>.
class RpcMessage {
 public:
  explicit RpcMessage(std::string_view text);

  /// The attributes of <rpc>, which the reply repeats (RFC 6241, section 4.1): also of a message that is
  /// refused, as far as its beginning can be read. They live as long as the message.
  std::span<const XmlAttribute> attributes() const;

  /// The one operation of the <rpc>, whose envelope is in order. Throws RpcError, also when the text is no
  /// XML document.
  XmlElement operation() const;

  /// See parse_operation(). Throws RpcError.
  Request request(const Schema &schema) const;

 private:
  void read_beginning(std::string_view text);

  std::optional<XmlDocument> document_;  ///< of a message with a fault its beginning, if that
  std::optional<Fault> fault_;           ///< why the text is no document
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
