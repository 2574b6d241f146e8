/// \file
/// From values on both sides of the mapping to the rule between them.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "mapping.hpp"

namespace ymap {

/// A value on both sides, and the native leaf that held it.
struct Sample {
  std::string native, openconfig, path;
  bool operator==(const Sample &) const = default;
};

/// Everything found about one OpenConfig leaf and one native module.
struct Evidence {
  std::map<std::string, std::vector<std::string>> natives;  ///< native path: amplifiers
  bool key = false, read = false, write = false, fill = false;
  std::vector<Sample> answers;  ///< native to OpenConfig
  std::vector<Sample> edits;    ///< OpenConfig to native
};
/// The text, unless it is there.
void add_once(std::vector<std::string> &texts, const std::string &text);
void add_sample(std::vector<Sample> &samples, Sample sample);

/// Drops native leaves that hold the same whatever the OpenConfig value is: they come along with the leaf,
/// they do not carry it.
void drop_companions(Evidence &evidence);

/// `words`: the leaf takes words of its type, no free values.
Conversion conversion_of(const Evidence &evidence, bool words);

/// The number that the whole text is.
std::optional<double> number_of(const std::string &text);

}  // namespace ymap
