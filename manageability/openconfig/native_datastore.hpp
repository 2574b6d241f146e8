/// \file
/// The emulated device as the framework's native datastore.
#pragma once

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

 private:
  device::Device &opened();

  std::filesystem::path folder_;
  std::filesystem::path models_;
  std::optional<device::Device> device_;
};

}  // namespace ymap
