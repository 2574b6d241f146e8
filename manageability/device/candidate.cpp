// The candidate configuration: edits apart from what runs.
#include <algorithm>

#include "device_impl.hpp"
#include "hash.hpp"
#include "native_filter.hpp"

namespace device {

uint64_t Device::Impl::base_of_candidate() const {
  return text_hash(folder.load().text);
}

const Tree &Device::Impl::candidate_or_running() {
  const auto found = candidate_file.find();
  if (found && found == candidate) return candidate_tree;
  candidate.reset();
  candidate_tree.reset();
  if (found) {
    Candidate read;
    const auto text = candidate_file.read(read);
    if (!text)
      throw EditError(
          "the candidate datastore is damaged, as by a machine that went down; discard the changes",
          "operation-failed", {}, nullptr);
    candidate_tree = parse(*text, true);
    candidate = read;
    return candidate_tree;
  }
  refresh();
  return running;
}

void Device::edit_candidate(const std::vector<RequestNode> &request) {
  const LogScope log;
  const auto lock = impl_->lock();
  impl_->check_not_locked(Datastore::candidate);
  const Tree &before = impl_->candidate_or_running();
  std::vector<RequestNode> room;
  Edited edited(impl_->schema, before, impl_->begun(request, before, room), Edited::Scope::everything,
                Edited::Check::each_node);
  Candidate made = impl_->candidate.value_or(Candidate());
  if (!impl_->candidate) made.base = impl_->base_of_candidate();
  const auto held = Sessions::lock_state(impl_->folder.path(), Datastore::candidate);
  made.session = held ? held->holder : 0;
  impl_->candidate_file.store(made, RunningText(impl_->schema, edited.all()).pieces());
  edited.commit(impl_->candidate_tree);
  impl_->candidate = made;
}

bool Device::candidate_is_edited() const {
  return impl_->candidate_file.find().has_value();
}

ReadCount Device::read_candidate(const std::vector<RequestNode> &filter, AnswerSink &sink) const {
  const LogScope log;
  ReadCount count;
  const Tree &tree = impl_->candidate_or_running();
  give_selected(bind_filter(impl_->schema, filter), tree.get(), sink, count);
  return count;
}

void Device::validate_candidate(const std::vector<RequestNode> &request) const {
  const LogScope log;
  const Tree &tree = impl_->candidate_or_running();
  std::vector<RequestNode> room;
  const Edited edited(impl_->schema, tree, impl_->begun(request, tree, room), Edited::Scope::everything);
}

std::vector<std::pair<std::string, std::string>> Device::candidate_differences() const {
  const LogScope log;
  const Tree &tree = impl_->candidate_or_running();
  std::vector<std::pair<std::string, std::string>> found;
  if (!impl_->candidate) return found;
  impl_->refresh();
  const auto look = [&](const Tree &one, const Tree &other) {
    for (const lyd_node *node = one.get(); node != nullptr; node = node->next) {
      const lyd_node *same = other.get();
      while (same != nullptr && same->schema != node->schema) same = same->next;
      if (same != nullptr && lyd_compare_single(node, same, LYD_COMPARE_FULL_RECURSION) == LY_SUCCESS)
        continue;
      std::pair<std::string, std::string> top(node->schema->name, node->schema->module->ns);
      if (std::ranges::find(found, top) == found.end()) found.push_back(std::move(top));
    }
  };
  look(tree, impl_->running);
  look(impl_->running, tree);
  return found;
}

void Device::discard_candidate() {
  const auto lock = impl_->lock();
  impl_->check_not_locked(Datastore::candidate);
  impl_->candidate_file.remove();
}

}  // namespace device
