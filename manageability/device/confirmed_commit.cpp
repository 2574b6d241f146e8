// Commits, those that are to be confirmed, and how these are taken back.
#include <libyang/libyang.h>

#include "device_impl.hpp"
#include "hash.hpp"

namespace device {
namespace {

[[noreturn]] void refuse(const char *tag, const std::string &message) {
  throw EditError(message, tag, {}, nullptr);
}

/// RFC 6241, section 8.4.1: whoever made the commit that waits may follow it up, or who knows its id.
void check_may_follow(const std::optional<PendingCommit> &waiting,
                      const std::optional<std::string> &persist_id, uint32_t session) {
  if (!waiting) {
    if (persist_id)
      refuse("invalid-value", "there is no commit that waits to be confirmed by this persist-id");
    return;
  }
  const auto of = waiting->user.empty() ? std::string() : " of " + waiting->user;
  if (persist_id) {
    if (persist_id != waiting->persist)
      refuse("invalid-value", "the commit" + of + " that waits to be confirmed has another persist-id" +
                                  (waiting->persist ? "" : ": none"));
    return;
  }
  if (waiting->persist)
    refuse("in-use", "a commit" + of + " waits to be confirmed; its persist-id is needed");
  if (waiting->session != session)
    refuse("in-use",
           "a commit" + of + " waits to be confirmed by session " + std::to_string(waiting->session));
}

}  // namespace

template <typename Change>
CommitEvent Device::Impl::commit(const Commit &commit, const Change &change) {
  const auto waiting = commits.find();
  check_may_follow(waiting, commit.persist_id, session);
  const auto &confirmation = commit.to_confirm;
  PendingCommit next = waiting.value_or(PendingCommit());
  if (confirmation) {
    next.user = commit.user;
    next.persist = confirmation->persist ? confirmation->persist : next.persist;
    next.session = next.persist ? 0 : session;
  }
  // What is to be taken back is noted before it is made; what runs already, only then for longer.
  if (confirmation && !waiting) {
    commits.begin(next, *confirmation);
  }
  try {
    if (confirmation && commit.watch) commit.watch();
    change();
  } catch (...) {
    if (confirmation && !waiting && overdue_commit().why == TakenBack::Why::never_made) commits.end();
    throw;
  }
  if (confirmation && waiting) commits.extend(next, *confirmation);
  if (!confirmation && waiting) commits.end();
  if (confirmation) return waiting ? CommitEvent::extend : CommitEvent::start;
  return waiting ? CommitEvent::complete : CommitEvent::none;
}

CommitEvent Device::edit(const std::vector<RequestNode> &request, const Commit &commit) {
  const LogScope log;
  const auto lock = impl_->lock();
  impl_->refresh();
  impl_->check_not_locked(Datastore::running);
  return impl_->commit(commit, [&] { impl_->edit(*lock, request); });
}

CommitEvent Device::commit_candidate(const Commit &commit) {
  const LogScope log;
  const auto lock = impl_->lock();
  impl_->refresh();
  impl_->check_not_locked(Datastore::running);
  impl_->check_not_locked(Datastore::candidate);
  const Tree &tree = impl_->candidate_or_running();
  const auto is_same = [&] {
    return lyd_compare_siblings(tree.get(), impl_->running.get(), LYD_COMPARE_FULL_RECURSION) == LY_SUCCESS;
  };
  return impl_->commit(commit, [&] {
    if (impl_->candidate && !is_same()) {
      if (impl_->candidate->base != impl_->base_of_candidate())
        refuse("operation-failed",
               "what runs was changed after this candidate was begun, and a commit would take that back; "
               "discard the changes and edit again");
      Edited edited(impl_->schema, tree, {}, Edited::Scope::everything);
      impl_->store(*lock, edited, std::nullopt);
    } else if (commit.to_confirm) {
      // What is to be confirmed takes the place of what was, also where it is the same.
      impl_->edit(*lock, {});
    }
    impl_->candidate_file.remove();
  });
}

std::optional<PendingCommit> Device::pending_commit() const {
  return impl_->commits.may_wait() ? impl_->commits.find() : std::nullopt;
}

TakenBack Device::Impl::overdue_commit() const {
  TakenBack found;
  if (!commits.may_wait()) return found;
  if (const auto waiting = commits.find()) found = {commits.due(*waiting, session), *waiting};
  return found;
}

bool Device::commit_is_overdue() const {
  return impl_->overdue_commit().why != TakenBack::Why::not_yet;
}

TakenBack Device::take_back_overdue() {
  const auto lock = impl_->lock();
  auto found = impl_->overdue_commit();
  if (found.why == TakenBack::Why::never_made)
    impl_->commits.end();
  else if (found.why != TakenBack::Why::not_yet)
    impl_->commits.take_back(*lock);
  return found;
}

void Device::wait_for_commit() const {
  impl_->commits.wait();
}

PendingCommit Device::Impl::commit_to_end(const std::optional<std::string> &persist_id) const {
  const auto waiting = commits.find();
  check_may_follow(waiting, persist_id, session);
  if (!waiting) refuse("operation-failed", "no commit waits to be confirmed");
  return *waiting;
}

void Device::confirm_commit(const std::optional<std::string> &persist_id) {
  const auto lock = impl_->lock();
  impl_->commit_to_end(persist_id);
  impl_->commits.end();
}

TakenBack Device::cancel_commit(const std::optional<std::string> &persist_id) {
  const auto lock = impl_->lock();
  TakenBack taken = {TakenBack::Why::cancelled, impl_->commit_to_end(persist_id)};
  impl_->check_not_locked(Datastore::running);
  impl_->commits.take_back(*lock);
  return taken;
}

}  // namespace device
