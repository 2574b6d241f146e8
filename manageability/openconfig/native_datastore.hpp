/// \file
/// The emulated device as the framework's native datastore.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "device.hpp"
#include "mapper.hpp"

namespace ymap {

/// Opens the device at its first use, so that a request which is refused before touches no folder.
class DeviceDatastore : public yfw::NativeDatastore {
 public:
  /// `folder` is the device's, `models` that of the native YANG modules.
  DeviceDatastore(std::filesystem::path folder, std::filesystem::path models);

  /// Throws device::FolderError.
  void read(const yfw::Datatree &request, yfw::Datatree &answer) override;
  /// Throws yfw::NativeRefusal or device::FolderError.
  void edit(const yfw::Datatree &request) override;
  /// Tries an edit without storing it. Throws as edit() does.
  void test(const yfw::Datatree &request);

  /// The session (see device::Sessions) that later edits are made for; 0, as at first, is none.
  void act_for(uint32_t session);

 private:
  device::Device &opened();

  std::filesystem::path folder_;
  std::filesystem::path models_;
  std::optional<device::Device> device_;
  uint32_t session_ = 0;
};

/// The same datastore for requests that are only tried: it takes edits and stores none.
class TestDatastore : public yfw::NativeDatastore {
 public:
  /// `device` must outlive it.
  explicit TestDatastore(DeviceDatastore &device) : device_(device) {}

  void read(const yfw::Datatree &request, yfw::Datatree &answer) override { device_.read(request, answer); }
  void edit(const yfw::Datatree &request) override { device_.test(request); }

 private:
  DeviceDatastore &device_;
};

}  // namespace ymap
