// Reads through the mapping, on the worker's thread alone.
#include "readings.hpp"

#include <algorithm>
#include <iostream>

#include "printable.hpp"

namespace ymap::telemetry {
namespace {

void collect_amplifiers(const Data &siblings, std::set<std::string> &names) {
  for (const auto &node : siblings) {
    if (!node.schema->is_list())
      collect_amplifiers(node.children, names);
    else if (node.schema->name == yfw::optical_amplifier().list)
      names.insert(key_of(node));
  }
}

}  // namespace

/// Tells of edits, where the device is near; else 0.
uint64_t Readings::version() {
  auto *near = session_.device().near();
  return near == nullptr ? 0 : near->state().version();
}

std::shared_ptr<const Reading> Readings::read(const std::vector<std::string> &amplifiers, Clock::duration age,
                                              Clock::time_point now) {
  // The mapping refuses a read of what is not there, and nobody asks it for what he does not know.
  const bool are_known =
      std::ranges::all_of(amplifiers, [&](const auto &name) { return known_.contains(name); });
  auto wanted = are_known ? amplifiers : std::vector<std::string>();
  std::ranges::sort(wanted);
  if (last_ && now - last_->time < age && (last_->amplifiers.empty() || last_->amplifiers == wanted) &&
      last_->version == version())
    return last_->reading;
  const auto before = version();
  auto reading = read_now(wanted);
  last_ = Last{reading, std::move(wanted), now, before};
  return reading;
}

std::shared_ptr<const Reading> Readings::read_now(const std::vector<std::string> &amplifiers) {
  const auto request = read_request(session_.schema(), Request::Kind::get, false, amplifiers);
  auto made = std::make_shared<Reading>();
  made->time = std::chrono::duration_cast<std::chrono::nanoseconds>(
                   std::chrono::system_clock::now().time_since_epoch())
                   .count();
  auto answer = session_.run(request, session_.device());
  made->data = std::move(answer.data);
  if (amplifiers.empty()) {
    known_.clear();
    collect_amplifiers(made->data, known_);
  }
  // Once, for they come again with each reading.
  if (answer.warnings != warnings_)
    for (const auto &warning : answer.warnings) std::cerr << "ymap: warning: " << printable(warning) << "\n";
  warnings_ = std::move(answer.warnings);
  return made;
}

}  // namespace ymap::telemetry
