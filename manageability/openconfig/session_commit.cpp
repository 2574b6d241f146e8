// The candidate's way to what runs, and the way back of what nobody confirms.
#include <chrono>
#include <exception>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "native_refusal.hpp"
#include "session.hpp"

namespace ymap {
namespace {

using device::CommitEvent;
using device::Datastore;
using device::TakenBack;

/// Why a commit was taken back, for people.
std::string words(const TakenBack &taken) {
  const auto &commit = taken.commit;
  const auto whose = "the commit of " + (commit.user.empty() ? std::string("a user") : commit.user);
  switch (taken.why) {
    case TakenBack::Why::timeout:
      return whose + " was not confirmed within " + std::to_string(commit.timeout.count()) + " seconds";
    case TakenBack::Why::session_end:
      return whose + " was not confirmed before session " + std::to_string(commit.session) + " ended";
    case TakenBack::Why::restart:
      return whose + " was not confirmed before the machine was started again";
    case TakenBack::Why::half_way:
      return whose + " was taken back by a process that ended before it could say why";
    default:
      return {};
  }
}

}  // namespace

void note_taken_back(Guard &guard, const TakenBack &taken, std::vector<Change> changes) {
  auto whose = Requester::of_user(taken.commit.user, "confirmed commit");
  whose.session = taken.commit.session;
  guard.note(whose, {"rollback", Asked::Weight::change, words(taken)},
             {std::move(changes), taken.why == TakenBack::Why::timeout ? "timeout" : "cancel"});
}

Leaves Session::everything_in(Datastore datastore) {
  auto all = configuration(datastore, {});
  all.values.merge(leaves_of_rules(datastore).values);
  return all;
}

void Session::note_commit(CommitEvent event, const device::Commit &commit, Outcome &outcome) {
  switch (event) {
    case CommitEvent::none:
      return;
    case CommitEvent::complete:
      outcome.confirm = "complete";
      return;
    case CommitEvent::start:
    case CommitEvent::extend:
      outcome.confirm = (event == CommitEvent::start ? "start " : "extend ") +
                        std::to_string(commit.to_confirm->timeout.count());
  }
}

/// Rules that are changed now would be back with what else is taken back.
void Session::check_rules_may_change() {
  const auto waiting = device_->near()->state().pending_commit();
  if (!waiting) return;
  throw RpcError({.type = "protocol",
                  .tag = "in-use",
                  .message = "a commit of " + waiting->user +
                             " waits to be confirmed, and rules that are changed now would go back with it; "
                             "confirm or cancel it first"});
}

/// What is edited while a commit waits goes with that, should it be taken back.
void Session::warn_of_commit(Answer &answer) {
  auto *near = device_->near();
  const auto waiting = near == nullptr ? std::nullopt : near->state().pending_commit();
  if (!waiting) return;
  const auto left = std::chrono::ceil<std::chrono::seconds>(waiting->time_left());
  answer.warnings.push_back("a commit of " + waiting->user + " waits to be confirmed; if it is not, within " +
                            std::to_string(left.count()) + " seconds, this edit is taken back too");
}

/// The same, for somebody who may not know what stands elsewhere in the device.
RpcError Session::told_to(const Rights &rights, const RpcError &error) const {
  if (rights.can_read_all_of(schema_.module_name()) || error.fault().path.empty()) return error;
  auto fault = error.fault();
  fault.path.clear();
  fault.message = "what is there is not valid";
  return RpcError(std::move(fault));
}

/// Rights are asked for on what becomes different in running (RFC 8341, section 3.2.8), and nobody changes
/// either until it is done.
void Session::commit(const Requester &who, const device::Commit &commit) {
  settle();
  guard_.run(who, {"commit", Asked::Weight::change}, [&](Outcome &outcome) {
    auto &near = *device_->near();
    const auto transaction = near.transaction();
    const auto &rights = guard_.rights(who);
    const auto before = everything_in(Datastore::running);
    outcome.changes = changes_between(before, everything_in(Datastore::candidate));
    if (!rights.are_unlimited()) guard_.judge(who, rights, outcome.changes);
    auto made = commit;
    made.user = who.user();
    made.watch = watch_commits_;
    try {
      note_commit(as_rpc_error([&] { return near.commit_candidate(made); }), made, outcome);
    } catch (const RpcError &error) {
      throw told_to(rights, error);
    }
  });
}

void Session::confirm_commit(const Requester &who, const std::optional<std::string> &persist_id) {
  settle();
  guard_.run(who, {"commit", Asked::Weight::change}, [&](Outcome &outcome) {
    as_rpc_error([&] { device_->near()->confirm_commit(persist_id); });
    note_commit(CommitEvent::complete, {}, outcome);
  });
}

void Session::cancel_commit(const Requester &who, const std::optional<std::string> &persist_id) {
  settle();
  guard_.run(who, {"cancel-commit", Asked::Weight::change}, [&](Outcome &outcome) {
    const auto before = everything_in(Datastore::running);
    as_rpc_error([&] { return device_->near()->cancel_commit(persist_id); });
    outcome = {changes_between(before, everything_in(Datastore::running)), "cancel"};
  });
}

void Session::discard_candidate(const Requester &who) {
  settle();
  guard_.run(who, {"discard-changes", Asked::Weight::change},
             [&](Outcome & /*outcome*/) { as_rpc_error([&] { device_->near()->discard_candidate(); }); });
}

/// Whoever may only read leaves it to the others. What cannot be read does not keep it from being taken back:
/// perhaps that is why.
void Session::settle() {
  auto *near = device_->near();
  if (near == nullptr || !device::commit_may_wait(device_->folder())) return;
  if (!near->state().commit_is_overdue()) {
    // Somebody must be there, whatever became of who was; a request is not refused for it.
    try {
      if (watch_commits_) watch_commits_();
    } catch (const RpcError &) {
    }
    return;
  }
  const auto everything = [&]() -> std::optional<Leaves> {
    try {
      return everything_in(Datastore::running);
    } catch (const std::exception &) {
      return std::nullopt;
    }
  };
  try {
    const auto before = everything();
    const auto taken = near->take_back_overdue();
    if (taken.why == TakenBack::Why::not_yet || taken.why == TakenBack::Why::never_made) return;
    const auto after = everything();
    note_taken_back(guard_, taken,
                    before && after ? changes_between(*before, *after) : std::vector<Change>());
  } catch (const device::FolderError &error) {
    if (!error.no_rights) throw;
  }
}

}  // namespace ymap
