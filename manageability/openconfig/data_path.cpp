// Instance paths from their texts.
#include "data_path.hpp"

#include <algorithm>

namespace ymap {
namespace {

/// Takes the text in front of one of `ends` off `rest`.
std::string_view take_until(std::string_view &rest, std::string_view ends) {
  const auto taken = rest.substr(0, rest.find_first_of(ends));
  rest.remove_prefix(taken.size());
  return taken;
}

std::string_view without_module(std::string_view name) {
  return name.substr(name.find(':') + 1);
}

std::string_view without_space(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") + 1 - first);
}

/// `rest` begins with the bracket.
std::pair<std::string_view, std::string_view> take_predicate(std::string_view &rest) {
  rest.remove_prefix(1);
  const auto key = without_module(without_space(take_until(rest, "=]")));
  std::string_view value;
  if (rest.starts_with('=')) {
    take_until(rest, "'\"]");
    if (!rest.empty() && rest.front() != ']') {
      const auto quote = rest.front();
      rest.remove_prefix(1);
      value = take_until(rest, std::string_view(&quote, 1));
    }
  }
  take_until(rest, "]");
  rest.remove_prefix(std::min<std::size_t>(rest.size(), 1));
  return {key, value};
}

}  // namespace

bool PathStep::covers(const PathStep &instance) const {
  return name == instance.name && module == instance.module &&
         std::ranges::all_of(keys, [&](const auto &key) {
           return std::ranges::find(instance.keys, key) != instance.keys.end();
         });
}

DataPath parse_path(std::string_view text) {
  DataPath path;
  auto rest = text;
  while (rest.starts_with('/')) {
    rest.remove_prefix(1);
    const auto full = without_space(take_until(rest, "/["));
    const auto colon = full.find(':');
    PathStep step = {
        colon == std::string_view::npos ? (path.empty() ? "" : path.back().module) : full.substr(0, colon),
        without_module(full)};
    while (rest.starts_with('[')) step.keys.push_back(take_predicate(rest));
    path.push_back(std::move(step));
  }
  return path;
}

bool covers(const DataPath &path, const DataPath &instance) {
  return path.size() <= instance.size() &&
         std::ranges::equal(path.begin(), path.end(), instance.begin(),
                            instance.begin() + static_cast<DataPath::difference_type>(path.size()),
                            [](const PathStep &one, const PathStep &other) { return one.covers(other); });
}

}  // namespace ymap
