// Entries of the record, told and selected.
#include "log_text.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "date_and_time.hpp"
#include "json.hpp"
#include "printable.hpp"
#include "rpc_error.hpp"

namespace ymap {
namespace {

constexpr int64_t kSecond = 1'000'000'000;

/// The amplifier that a path is of, and what is behind it; an empty name for none.
std::pair<std::string, std::string> parts_of(const std::string &path) {
  std::string name;
  std::string rest;
  for (const auto &step : parse_path(path)) {
    if (!name.empty()) rest.append(rest.empty() ? "" : "/").append(step.name);
    if (step.name == "amplifier" && !step.keys.empty()) name = step.keys.front().second;
  }
  return {name, rest};
}

std::string shown(const std::string &path) {
  const auto [name, rest] = parts_of(path);
  return name.empty() ? path : name + " " + rest;
}

std::string one_line(const std::string &text) {
  return text.find_first_of("\n\t") == std::string::npos ? printable(text) : escaped(text);
}

bool is_of(const RecordEntry &entry, const std::vector<std::string> &amplifiers) {
  const auto is_named = [&](const std::string &path) {
    return std::ranges::find(amplifiers, parts_of(path).first) != amplifiers.end();
  };
  return is_named(entry.path) ||
         std::ranges::any_of(entry.changes, [&](const Change &change) { return is_named(change.path); });
}

}  // namespace

std::string entry_text(const RecordEntry &entry) {
  std::string text = date_and_time(entry.time) + " " + entry.user + " (" + entry.front;
  if (entry.session != 0) text += " " + std::to_string(entry.session);
  if (!entry.peer.empty()) text += " from " + entry.peer;
  text += ") " + entry.operation;
  if (!entry.target.empty()) text += " " + entry.target;
  if (!entry.confirm.empty()) text += " (confirmed commit: " + entry.confirm + ")";
  text += ": " + entry.result;
  if (!entry.path.empty()) text += " at " + shown(entry.path);
  if (!entry.message.empty()) text += ": " + entry.message;
  text = one_line(text) + "\n";
  for (const auto &change : entry.changes)
    text += "  " +
            one_line(shown(change.path) + " " + change.before.value_or("(none)") + " -> " +
                     change.after.value_or("(none)")) +
            "\n";
  return text;
}

std::string entry_json(const RecordEntry &entry) {
  std::string json = "{";
  const auto add = [&json](const char *name, const std::string &value) {
    json.append(json.size() == 1 ? "" : ", ").append(quoted(name)).append(": ").append(value);
  };
  const auto text = [](const std::string &value) { return quoted(printable(value)); };
  const auto add_text = [&](const char *name, const std::string &value) {
    if (!value.empty()) add(name, text(value));
  };
  add_text("time", date_and_time(entry.time));
  add_text("user", entry.user);
  add("groups", json_list(entry.groups, text));
  add_text("front", entry.front);
  add_text("peer", entry.peer);
  if (entry.session != 0) add("session", std::to_string(entry.session));
  add_text("operation", entry.operation);
  add_text("target", entry.target);
  add_text("confirm", entry.confirm);
  add_text("result", entry.result);
  add_text("path", entry.path);
  add_text("message", entry.message);
  add("changes", json_list(entry.changes, [&](const Change &change) {
        std::string one = "{\"path\": " + text(change.path);
        if (change.before) one += ", \"before\": " + text(*change.before);
        if (change.after) one += ", \"after\": " + text(*change.after);
        return one + "}";
      }));
  std::array<char, 32> seconds{};
  std::snprintf(seconds.data(), seconds.size(), "%.6f",
                static_cast<double>(entry.duration) / static_cast<double>(kSecond));
  add("duration", seconds.data());
  return json + "}\n";
}

int64_t time_of(const std::string &words, int64_t now) {
  constexpr std::array<std::pair<char, int64_t>, 4> units = {
      {{'s', 1}, {'m', 60}, {'h', 3600}, {'d', 86400}}};
  constexpr int64_t most = std::numeric_limits<int64_t>::max() / kSecond / 86400;
  int64_t count = 0;
  const char *end = words.data() + words.size();
  const auto read = std::from_chars(words.data(), end, count);
  if (read.ec == std::errc() && read.ptr + 1 == end && count >= 0 && count < most)
    for (const auto &[letter, seconds] : units)
      if (*read.ptr == letter) return now - count * seconds * kSecond;
  for (const char *format : {"%Y-%m-%dT%H:%M:%S", "%Y-%m-%dT%H:%M", "%Y-%m-%d"}) {
    std::tm utc{};
    const char *rest = strptime(words.c_str(), format, &utc);
    if (rest != nullptr && (*rest == '\0' || std::string_view(rest) == "Z")) return timegm(&utc) * kSecond;
  }
  throw UsageError("\"" + words + "\" is no time; write 2026-11-23T08:30 (UTC), or 2h for two hours ago");
}

LogSelection::LogSelection(const Options &wanted, int64_t now)
    : options(wanted),
      since(wanted.since.empty() ? std::numeric_limits<int64_t>::min() : time_of(wanted.since, now)),
      until(wanted.until.empty() ? std::numeric_limits<int64_t>::max() : time_of(wanted.until, now)) {}

bool LogSelection::takes(const RecordEntry &entry) const {
  return entry.time >= since && entry.time < until && (options.user.empty() || options.user == entry.user) &&
         (options.amplifiers.empty() || is_of(entry, options.amplifiers));
}

}  // namespace ymap
