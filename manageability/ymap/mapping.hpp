/// \file
/// The mapping between the OpenConfig leaves and the native ones, as the plug-in answers for it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "session.hpp"
#include "terminal.hpp"

namespace ymap {

/// A value in both models.
struct ValuePair {
  std::string openconfig, native;
};

/// What becomes of a value on its way.
struct Conversion {
  enum class Kind { unknown, copy, constant, factor, words };
  Kind kind = Kind::unknown;
  std::string constant;          ///< OpenConfig text of Kind::constant, whatever the native value is
  double factor = 1;             ///< native number of one OpenConfig unit
  bool cut = false;              ///< Kind::factor: a fraction that is left is cut off, not rounded
  std::vector<ValuePair> pairs;  ///< Kind::words
  std::string otherwise;         ///< Kind::words: OpenConfig value of all other native ones, or empty
};

/// The values that an edit takes, in the leaf's unit.
struct AcceptedRange {
  std::string lowest, highest;
};

/// The native leaf of some amplifiers.
struct NativeLeaf {
  std::vector<std::string> amplifiers;
  std::string module;
  std::string path;  ///< "/interface-configurations/...", without keys
};

/// An OpenConfig leaf with its native counterpart in one module; a leaf may have several.
struct MappedLeaf {
  std::string leaf;  ///< below the list entry: "config/target-gain"
  std::string units;
  bool key = false;    ///< the list's key: it selects the native entries
  bool read = false;   ///< a read of the leaf asks for the native one
  bool write = false;  ///< an edit of the leaf sets the native one
  bool fill =
      false;  ///< the native leaf's answer fills the leaf, though a read of the leaf does not ask for it
  std::vector<NativeLeaf> natives;
  Conversion conversion;
  std::optional<AcceptedRange> range;       ///< of edits
  std::vector<std::string> unmapped_words;  ///< of the model, without a native one: an edit refuses them
};

struct UnmappedLeaf {
  std::string path;      ///< from the top
  std::string handler;   ///< of the plug-in, which turned the read down
  bool generic = false;  ///< it is the handler of all nodes without a mapping
  std::string refusal;   ///< the plug-in's message when an edit names the leaf; empty for state
};

struct Mapping {
  std::vector<std::string> amplifiers;
  std::vector<MappedLeaf> mapped;
  std::vector<UnmappedLeaf> unmapped;
};

/// Runs every leaf of the model through the plug-in, for every amplifier: as a read with made-up native
/// answers, and as edits. No device takes part.
Mapping ask_mapping(Session &session);

std::string mapping_text(const Mapping &mapping, const Terminal &terminal);
std::string mapping_json(const Mapping &mapping);

}  // namespace ymap
