/// \file
/// Paths of gNMI requests, and the nodes of the model and of data that they stand for.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gnmi.pb.h"
#include "openconfig_answer.hpp"
#include "schema.hpp"

namespace ymap::telemetry {

/// From the top down to a node.
using Trail = std::vector<const DataNode *>;

/// A path of a request, its prefix included, which may stand for several nodes: "*" is any one name or key, a
/// key left out any key, "..." any number of levels.
class Pattern {
 public:
  /// Origins are none, "openconfig" and the name of the module; names stand with or without the module's name
  /// or prefix; a backslash that a client left in front of a key's slash is taken away. What is in the
  /// deprecated field `element` counts for nothing beside `elem`. Throws RpcError: where the model has no
  /// such node.
  Pattern(const Schema &schema, const ::gnmi::Path &prefix, const ::gnmi::Path &path);

  /// One step of a path that stands for one node.
  struct Node {
    const SchemaNode *schema;
    std::string key;  ///< of a list entry
  };
  /// The node that the path stands for. Throws RpcError where it may stand for several.
  std::vector<Node> node() const;

  bool is_one_node() const;

  /// The keys that entries on the path must have; nothing if it may stand for any entry.
  std::optional<std::string> only_entry() const;

  /// Calls `take` for each node that the path stands for, and not for those below such a one.
  void select(const Data &data, const std::function<void(const Trail &)> &take) const;

  /// Whether it stands for a node, or one below it, that `takes`.
  bool reaches(const std::function<bool(const SchemaNode &)> &takes) const;

  /// For messages, and to tell patterns apart.
  const std::string &text() const { return text_; }

 private:
  struct Step {
    enum class Kind : uint8_t { name, any, deep };
    Kind kind = Kind::name;
    std::string name = {};
    std::string key_name = {};            ///< not empty: the node is a list's with this key
    std::optional<std::string> key = {};  ///< nothing: any
  };
  /// The steps that may come next, as bits.
  using Positions = uint64_t;
  static constexpr std::size_t kMostSteps = 60;

  void add(const ::gnmi::Path &path);
  std::string named(const std::string &path, const Step &step) const;
  Step step_of(const ::gnmi::PathElem &elem) const;
  void check_keys(const ::gnmi::PathElem &elem, Step &step) const;
  void check_against_schema() const;
  Positions begin() const { return past_deep(1); }
  Positions past_deep(Positions at) const;
  bool is_end(Positions at) const { return (at >> steps_.size() & 1) != 0; }
  /// `key`: of the entry; nullptr: whatever it is.
  Positions after(Positions at, const SchemaNode &node, const std::string *key) const;
  void select(const Data &data, Positions at, Trail &trail,
              const std::function<void(const Trail &)> &take) const;
  bool reaches(const SchemaNode *parent, Positions at, bool is_below,
               const std::function<bool(const SchemaNode &)> &takes) const;

  const Schema &schema_;
  std::vector<Step> steps_;
  std::string text_;
};

/// An instance path as faults have it.
std::string path_of(const Schema &schema, const std::vector<Pattern::Node> &nodes);

/// Whether the text can be a list entry's key; where it cannot, the mapping would see another one.
bool is_key(std::string_view text);

/// The key of a list entry.
const std::string &key_of(const DataNode &entry);
/// The same, empty for other nodes.
std::string key_or_nothing(const DataNode &node);

/// Appends the node to a path of an answer.
void add_elem(::gnmi::Path &path, const SchemaNode &node, const std::string &key);

}  // namespace ymap::telemetry
