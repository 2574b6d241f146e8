/// \file
/// What a device consists of.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "candidate_file.hpp"
#include "device.hpp"
#include "edit.hpp"
#include "folder.hpp"
#include "pending_commit.hpp"
#include "running_text.hpp"
#include "sessions.hpp"
#include "yang.hpp"

namespace device {

struct Device::Impl {
  Impl(std::filesystem::path path, const std::filesystem::path &models, std::optional<uint64_t> fixed_clock,
       Guest kept)
      : guest(std::move(kept)), schema(models, guest), folder(std::move(path)), clock(fixed_clock) {}

  /// The folder's lock, which is one for all who hold the result.
  std::shared_ptr<const Descriptor> lock();
  /// Brings `running` up to date with the folder.
  void refresh();
  void check_not_locked(Datastore datastore) const;
  /// Stores what `edited` leaves, under the folder's lock; `text` is its text, if that is known.
  void store(const Descriptor &lock, Edited &edited, std::optional<RunningText> text);
  /// An edit of what runs, in the steps that stand around it in each.
  void edit(const Descriptor &lock, const std::vector<RequestNode> &request);
  /// `is_valid`: it was validated before.
  Tree parse(const std::string &text, bool is_valid) const;
  uint64_t label_of(const std::vector<std::string_view> &parts) const;

  /// The candidate as it is on disk; what runs if it is not edited.
  const Tree &candidate_or_running();
  uint64_t base_of_candidate() const;
  TakenBack overdue_commit() const;
  PendingCommit commit_to_end(const std::optional<std::string> &persist_id) const;
  /// Makes a commit, `change` being what it does to what runs.
  template <typename Change>
  CommitEvent commit(const Commit &commit, const Change &change);

  /// The request, behind what an edit of the guest's container begins with where none is stored: then it is
  /// made in `room`.
  const std::vector<RequestNode> &begun(const std::vector<RequestNode> &request, const Tree &tree,
                                        std::vector<RequestNode> &room) const;

  std::vector<PlainNode> guest_after(const Tree &tree, const std::vector<RequestNode> &request,
                                     Edited::Check check) const;

  const Guest guest;
  Schema schema;  // outlives the trees
  Folder folder;
  CandidateFile candidate_file{folder};
  PendingCommits commits{folder};
  std::weak_ptr<const Descriptor> held;
  std::optional<uint64_t> clock;
  Tree running;
  uint64_t changes = 0;                ///< of `running`
  std::optional<Version> version;      ///< of `running`, if the file can be told by it
  std::optional<std::string> loaded;   ///< what `running` was read from, if it cannot
  std::optional<RunningText> pieces;   ///< the text of `running`; made by the first edit
  std::optional<Candidate> candidate;  ///< that `candidate_tree` is of
  Tree candidate_tree;
  std::shared_ptr<const std::vector<PlainNode>> guest_data;  ///< of `running`, once it was asked for
  uint32_t session = 0;
};

}  // namespace device
