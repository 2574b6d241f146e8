/// \file
/// The device as the framework's native datastore.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "device.hpp"
#include "mapper.hpp"
#include "sessions.hpp"

namespace ymap {

class FolderDevice;

/// A device that speaks the native models, wherever it is.
class NativeDevice : public yfw::NativeDatastore {
 public:
  /// An edit of the access rules, see Request::rules.
  using RulesEdit = std::vector<device::RequestNode>;
  using Rules = std::vector<device::PlainNode>;

  /// An edit that is of the access rules too, in one transaction.
  virtual void edit(const yfw::Datatree &request, const RulesEdit &rules) = 0;
  void edit(const yfw::Datatree &request) final { edit(request, {}); }
  /// Tries an edit without storing it; one of nothing tries what is stored. Throws as edit() does.
  virtual void test(const yfw::Datatree &request, const RulesEdit &rules) = 0;

  /// The access rules, children of their container: the same object as long as they are the same.
  virtual std::shared_ptr<const Rules> access_rules() = 0;
  /// What an edit would make of them. Throws as edit().
  virtual Rules access_rules_after(const RulesEdit &edit) = 0;
  /// Whether the device is this user's, who may do all.
  virtual bool belongs_to(uid_t user) = 0;
  /// Where more is kept about the device; empty for a device elsewhere.
  virtual std::filesystem::path folder() const = 0;
  /// Itself, where it is in a folder here: then a read beside a request costs nothing that counts, and there
  /// is a candidate configuration. Else null.
  virtual FolderDevice *near() { return nullptr; }

  /// What was wrong with the answers since the last call, and no reason to refuse the request.
  virtual std::vector<std::string> take_warnings() { return {}; }
};

/// Builds the framework's tree of what a device gives out.
class AnswerTree : public device::AnswerSink {
 public:
  explicit AnswerTree(yfw::Datatree &tree) : tree_(tree), open_{tree.root()} {}

  void open(const char *name, const char *ns) override { open_.push_back(tree_.add(open_.back(), name, ns)); }
  void leaf(const char *name, const char *ns, const char *value) override {
    tree_.add(open_.back(), name, ns, value);
  }
  void close() override { open_.pop_back(); }

 private:
  yfw::Datatree &tree_;
  std::vector<vidl_yfw_datatree *> open_;  ///< the innermost last
};

/// The emulated device. Opens it at its first use, so that a request which is refused before touches no
/// folder.
class FolderDevice : public NativeDevice {
 public:
  /// `folder` is the device's, `models` that of the native YANG modules.
  FolderDevice(std::filesystem::path folder, std::filesystem::path models);

  /// Throws device::FolderError.
  void read(const yfw::Datatree &request, yfw::Datatree &answer) override;
  /// Throws yfw::NativeRefusal or device::FolderError.
  void edit(const yfw::Datatree &request, const RulesEdit &rules) override;
  void test(const yfw::Datatree &request, const RulesEdit &rules) override;
  std::shared_ptr<const Rules> access_rules() override;
  Rules access_rules_after(const RulesEdit &edit) override;
  bool belongs_to(uid_t user) override;

  /// The session (see device::Sessions) that later edits are made for; 0, as at first, is none. Only it may
  /// edit while it holds the lock on running.
  void act_for(uint32_t session);

  std::filesystem::path folder() const override { return folder_; }
  FolderDevice *near() override { return this; }

  /// An edit of what runs that is to be confirmed as a commit is. Throw as edit().
  device::CommitEvent edit_to_confirm(const yfw::Datatree &request, const RulesEdit &rules,
                                      const device::Commit &commit);
  device::CommitEvent commit_candidate(const device::Commit &commit);
  device::TakenBack cancel_commit(const std::optional<std::string> &persist_id);
  void confirm_commit(const std::optional<std::string> &persist_id);
  void edit_candidate(const yfw::Datatree &request, const RulesEdit &rules);
  void test_candidate(const yfw::Datatree &request, const RulesEdit &rules);
  void discard_candidate();
  /// What an edit makes of the candidate's access rules; nothing of them without one.
  Rules candidate_rules(const RulesEdit &edit = {});
  /// Throws device::FolderError.
  void read_candidate(const yfw::Datatree &request, yfw::Datatree &answer);
  const device::Device &state() { return opened(); }
  bool commit_is_overdue() { return device::commit_may_wait(folder_) && opened().commit_is_overdue(); }
  device::TakenBack take_back_overdue() { return opened().take_back_overdue(); }
  std::shared_ptr<const void> transaction() { return opened().transaction(); }

 private:
  device::Device &opened();

  std::filesystem::path folder_;
  std::filesystem::path models_;
  std::optional<device::Device> device_;
  uint32_t session_ = 0;
};

/// The same device for one request: what that says beside the data goes along.
class RequestDatastore : public yfw::NativeDatastore {
 public:
  struct Manner {
    device::Datastore datastore = device::Datastore::running;  ///< candidate: of a device that is near
    bool test_only = false;
    const device::Commit *commit = nullptr;  ///< of an edit that is to be confirmed, likewise
  };
  /// For reads. The device must outlive it.
  RequestDatastore(NativeDevice &device, device::Datastore datastore)
      : device_(device), manner_{.datastore = datastore} {}
  /// All must outlive it.
  RequestDatastore(NativeDevice &device, const NativeDevice::RulesEdit &rules, Manner manner)
      : device_(device), rules_(&rules), manner_(manner) {}

  void read(const yfw::Datatree &request, yfw::Datatree &answer) override { device_.read(request, answer); }
  void read_config(const yfw::Datatree &request, yfw::Datatree &answer) override;
  void edit(const yfw::Datatree &request) override;

  /// What the edit was to a commit.
  device::CommitEvent event() const { return event_; }

 private:
  NativeDevice &device_;
  const NativeDevice::RulesEdit *rules_ = nullptr;
  Manner manner_;
  device::CommitEvent event_ = device::CommitEvent::none;
};

}  // namespace ymap
