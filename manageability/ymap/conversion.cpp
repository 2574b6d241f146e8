// What turns one side's values into the other's, told from samples.
#include "conversion.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>
#include <string_view>
#include <utility>

namespace ymap {
namespace {

/// The line through the first two samples, whose native values differ.
std::optional<double> factor(const std::vector<Sample> &samples) {
  for (std::size_t at = 1; at < samples.size(); ++at) {
    const auto native0 = number_of(samples[at - 1].native), native1 = number_of(samples[at].native);
    const auto value0 = number_of(samples[at - 1].openconfig), value1 = number_of(samples[at].openconfig);
    if (!native0 || !native1 || !value0 || !value1 || *value0 == *value1 || *native0 == *native1) continue;
    return (*native1 - *native0) / (*value1 - *value0);
  }
  return std::nullopt;
}

/// A value between two native steps ends at the lower one.
bool cuts(const std::vector<Sample> &edits, double factor) {
  return std::ranges::any_of(edits, [factor](const Sample &sample) {
    const auto native = number_of(sample.native), value = number_of(sample.openconfig);
    return native && value && *native < *value * factor - 0.5;
  });
}

/// Both sides of the device have samples.
void add_pair(const Sample &sample, std::vector<ValuePair> &pairs) {
  for (const auto &pair : pairs)
    if (pair.openconfig == sample.openconfig && pair.native == sample.native) return;
  pairs.push_back({sample.openconfig, sample.native});
}

/// The pairs that an edit writes; of what is only read, all but the most common outcome.
void pair_words(const Evidence &evidence, Conversion &result) {
  for (const auto &sample : evidence.edits)
    if (!sample.native.empty()) add_pair(sample, result.pairs);
  if (!result.pairs.empty()) return;
  std::map<std::string, std::size_t> outcomes;
  for (const auto &sample : evidence.answers)
    if (sample.path == evidence.answers.front().path) ++outcomes[sample.openconfig];
  const auto common =
      std::ranges::max_element(outcomes, {}, [](const auto &outcome) { return outcome.second; });
  const bool shared = common != outcomes.end() && common->second > 1;
  if (shared) result.otherwise = common->first;
  for (const auto &sample : evidence.answers)
    if (!shared || sample.openconfig != common->first) add_pair(sample, result.pairs);
}

}  // namespace

void add_once(std::vector<std::string> &texts, const std::string &text) {
  if (std::ranges::find(texts, text) == texts.end()) texts.push_back(text);
}

void add_sample(std::vector<Sample> &samples, Sample sample) {
  if (std::ranges::find(samples, sample) == samples.end()) samples.push_back(std::move(sample));
}

void drop_companions(Evidence &evidence) {
  std::map<std::string, std::pair<std::set<std::string>, std::set<std::string>>> values;
  for (const auto &sample : evidence.edits) {
    values[sample.path].first.insert(sample.native);
    values[sample.path].second.insert(sample.openconfig);
  }
  for (const auto &[path, sides] : values) {
    if (sides.first.size() > 1 || sides.second.size() == 1) continue;
    evidence.natives.erase(path);
    std::erase_if(evidence.edits, [&at = path](const Sample &sample) { return sample.path == at; });
  }
}

std::optional<double> number_of(const std::string &text) {
  char *end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !std::isfinite(value)) return std::nullopt;
  return value;
}

Conversion conversion_of(const Evidence &evidence, bool words) {
  Conversion result;
  const auto &answers = evidence.answers;
  const auto all = [&](auto holds) { return std::ranges::all_of(answers, holds); };
  if (!words && answers.size() > 1 &&
      all([&](const Sample &s) { return s.openconfig == answers[0].openconfig; })) {
    result.kind = Conversion::Kind::constant;
    result.constant = answers[0].openconfig;
  } else if (!answers.empty() && all([](const Sample &s) { return s.openconfig == s.native; })) {
    result.kind = Conversion::Kind::copy;
  } else if (const auto scale = words ? std::nullopt : factor(answers)) {
    result.kind = Conversion::Kind::factor;
    result.factor = *scale;
    result.cut = cuts(evidence.edits, *scale);
  } else {
    result.kind = Conversion::Kind::words;
    pair_words(evidence, result);
  }
  return result;
}

}  // namespace ymap
