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

namespace ymap {

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
  /// A read beside a request costs nothing that counts.
  bool is_near() const { return !folder().empty(); }

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

 private:
  device::Device &opened();

  std::filesystem::path folder_;
  std::filesystem::path models_;
  std::optional<device::Device> device_;
  uint32_t session_ = 0;
};

/// The same device for one request: its edits take the rules along that the request edits, and are only tried
/// where it says so.
class RequestDatastore : public yfw::NativeDatastore {
 public:
  /// All must outlive it.
  RequestDatastore(NativeDevice &device, const NativeDevice::RulesEdit &rules, bool test_only)
      : device_(device), rules_(rules), test_only_(test_only) {}

  void read(const yfw::Datatree &request, yfw::Datatree &answer) override { device_.read(request, answer); }
  void read_config(const yfw::Datatree &request, yfw::Datatree &answer) override {
    device_.read_config(request, answer);
  }
  void edit(const yfw::Datatree &request) override {
    if (test_only_)
      device_.test(request, rules_);
    else
      device_.edit(request, rules_);
  }

 private:
  NativeDevice &device_;
  const NativeDevice::RulesEdit &rules_;
  bool test_only_;
};

}  // namespace ymap
