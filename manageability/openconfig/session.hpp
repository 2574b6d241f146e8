/// \file
/// The road of every request, whichever command it comes from.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "mapper.hpp"
#include "native_datastore.hpp"
#include "openconfig_answer.hpp"
#include "openconfig_request.hpp"
#include "parts.hpp"
#include "plugin.hpp"
#include "schema.hpp"

namespace ymap {

class Session {
 public:
  /// Loads the plug-in and the schema, with `companions` beside it. The device's `folder` is opened by the
  /// first request. Throws UsageError.
  Session(const Parts &parts, std::filesystem::path folder, Companions companions = {});

  const Schema &schema() const { return schema_; }
  const yfw::Plugin &plugin() const { return plugin_; }
  const yfw::Registration &registration() const { return plugin_.registration(); }
  yfw::NativeDatastore &datastore() { return datastore_; }

  /// The NETCONF session (see device::Sessions) that later requests are of; 0, as at first, is none. Only it
  /// may edit while it holds the lock on running.
  void act_for(uint32_t session) { datastore_.act_for(session); }

  /// Throws RpcError when the request is refused; then nothing was stored. Throws device::FolderError.
  Answer run(const Request &request);
  /// The same with another datastore in the place of the device.
  Answer run(const Request &request, yfw::NativeDatastore &datastore);

  /// The native requests that run() would send, in order; the device is not opened. Throws RpcError.
  std::vector<yfw::Datatree> translate(const Request &request);

 private:
  Schema schema_;
  yfw::Plugin plugin_;
  DeviceDatastore datastore_;
};

}  // namespace ymap
