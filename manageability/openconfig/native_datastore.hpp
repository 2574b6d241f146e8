/// \file
/// The device as the framework's native datastore.
#pragma once

#include <cstdint>
#include <filesystem>
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
  /// Tries an edit without storing it; one of nothing tries what is stored. Throws as edit() does.
  virtual void test(const yfw::Datatree &request) = 0;
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
  void edit(const yfw::Datatree &request) override;
  void test(const yfw::Datatree &request) override;

  /// The session (see device::Sessions) that later edits are made for; 0, as at first, is none. Only it may
  /// edit while it holds the lock on running.
  void act_for(uint32_t session);

  const std::filesystem::path &folder() const { return folder_; }

 private:
  device::Device &opened();

  std::filesystem::path folder_;
  std::filesystem::path models_;
  std::optional<device::Device> device_;
  uint32_t session_ = 0;
};

/// The same device for requests that are only tried: it takes edits and stores none.
class TestDatastore : public yfw::NativeDatastore {
 public:
  /// `device` must outlive it.
  explicit TestDatastore(NativeDevice &device) : device_(device) {}

  void read(const yfw::Datatree &request, yfw::Datatree &answer) override { device_.read(request, answer); }
  void read_config(const yfw::Datatree &request, yfw::Datatree &answer) override {
    device_.read_config(request, answer);
  }
  void edit(const yfw::Datatree &request) override { device_.test(request); }

 private:
  NativeDevice &device_;
};

}  // namespace ymap
