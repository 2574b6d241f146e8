// Rights by the rules in force, refusals, and entries of the record.
#include "guard.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>

namespace ymap {
namespace {

constexpr const char *kCounters = "record.denied";

int64_t nanoseconds(auto duration) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(duration).count();
}

/// As much of a refusal as the record takes; a session that breaks has a text only.
Fault fault_of(const std::exception &error) {
  if (const auto *refusal = dynamic_cast<const RpcError *>(&error)) return refusal->fault();
  return {.tag = "operation-failed", .message = error.what()};
}

[[noreturn]] void deny(const std::string &message, const std::string &path) {
  throw RpcError({.type = path.empty() ? "protocol" : "application",
                  .tag = "access-denied",
                  .message = message,
                  .path = path});
}

/// A node that the user may not read is not named to him.
std::string readable_part(const Rights &rights, const std::string &path) {
  auto steps = parse_path(path);
  std::string shown = path;
  while (!steps.empty() && !rights.can_read(steps)) {
    steps.pop_back();
    shown.clear();
  }
  if (!shown.empty()) return shown;
  std::string_view module;
  for (const auto &one : steps) {
    shown.append("/").append(one.module == module ? "" : std::string(one.module) + ":").append(one.name);
    module = one.module;
    for (const auto &[key, value] : one.keys) shown = with_key(shown, key, value);
  }
  return shown;
}

}  // namespace

int64_t Guard::now() {
  return nanoseconds(std::chrono::system_clock::now().time_since_epoch());
}

const Rights &Guard::rights(const Requester &who) {
  static const Rights unlimited;
  const auto uid = who.uid();
  if (uid && (*uid == 0 || device_.belongs_to(*uid))) return unlimited;
  const auto rules = device_.access_rules();
  if (rules == judged_by_ && who.user() == judged_user_) return rights_;
  rights_ = Rights(std::make_shared<const AccessRules>(*rules), who);
  judged_by_ = rules;
  judged_user_ = who.user();
  return rights_;
}

void Guard::judge(const Requester &who, const Asked &asked) {
  const auto &rights = this->rights(who);
  // Whoever came in may leave (RFC 8341, section 3.4.4).
  if (asked.operation == "close-session" || rights.run(asked.module, asked.operation).permits) return;
  count(&DeniedCounts::operations);
  deny("user " + who.user() + " may not run " + std::string(asked.operation), {});
}

void Guard::judge(const Requester &who, const Rights &rights, const std::vector<Change> &changes) const {
  for (const auto &change : changes) {
    if (rights.access(change.access, parse_path(change.path)).permits) continue;
    count(&DeniedCounts::data_writes);
    deny("user " + who.user() + " may not " + std::string(word_for(change.access)) + " this",
         readable_part(rights, change.path));
  }
}

void Guard::note(const Requester &who, const Asked &asked, Outcome outcome) {
  Recording recording(*this, who, asked);
  recording.outcome() = std::move(outcome);
  recording.end(nullptr);
}

RecordEntry Guard::Recording::entry() const {
  RecordEntry entry;
  entry.time = started_;
  entry.user = who_.user();
  entry.groups = who_.groups();
  entry.peer = who_.peer;
  entry.front = who_.front;
  entry.session = who_.session;
  entry.operation = asked_.operation;
  entry.target = asked_.target;
  return entry;
}

/// What may fail to be recorded must not be done first: a line that tells of the attempt stands before.
void Guard::Recording::begin() {
  if (!guard_.record_.options().required || asked_.weight != Asked::Weight::change) return;
  auto attempt = entry();
  attempt.result = "begun";
  if (guard_.record_.write(attempt)) return;
  throw RpcError({.tag = "operation-failed",
                  .message = "this cannot be recorded, and what cannot be recorded must not be done here"});
}

void Guard::Recording::end(const std::exception *error) {
  const auto fault = error == nullptr ? Fault{.tag = "done"} : fault_of(*error);
  const bool is_denied = fault.tag == "access-denied";
  const bool is_recorded = asked_.weight == Asked::Weight::change || is_denied ||
                           (asked_.weight == Asked::Weight::read && guard_.record_.options().reads);
  if (!is_recorded) return;
  auto done = entry();
  done.changes = std::move(outcome_.changes);
  done.confirm = std::move(outcome_.confirm);
  done.result = fault.tag;
  done.message = fault.message;
  done.path = fault.path;
  done.duration = now() - started_;
  guard_.record_.write(done);
}

// ---- Counters ---------------------------------------------------------------------------------------

namespace {

DeniedCounts read_counts(int descriptor) {
  DeniedCounts counts;
  std::array<uint32_t, 3> stored{};
  if (::pread(descriptor, stored.data(), sizeof stored, 0) == sizeof stored)
    counts = {stored[0], stored[1], stored[2]};
  return counts;
}

}  // namespace

DeniedCounts Guard::denied() const {
  const device::Descriptor file(
      ::open((folder_ / kCounters).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  return read_counts(file.get());
}

/// Where this user may not write it is not counted.
void Guard::count(uint32_t DeniedCounts::*counter) const {
  if (folder_.empty()) return;
  const device::Descriptor file(
      ::open((folder_ / kCounters).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666));
  if (file.get() < 0 || ::flock(file.get(), LOCK_EX | LOCK_NB) != 0) return;
  auto counts = read_counts(file.get());
  if (counts.operations + counts.data_writes + counts.notifications == 0)
    device::share_rights(folder_, file.get());
  ++(counts.*counter);
  const std::array<uint32_t, 3> stored = {counts.operations, counts.data_writes, counts.notifications};
  // What is lost here is a count.
  if (::pwrite(file.get(), stored.data(), sizeof stored, 0) < 0) return;
}

}  // namespace ymap
