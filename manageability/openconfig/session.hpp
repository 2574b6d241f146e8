/// \file
/// The road of every request, whichever command it comes from.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "guard.hpp"
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
  /// Loads the plug-in and the schema, with `companions` beside it. Throws UsageError.
  Session(const Parts &parts, std::unique_ptr<NativeDevice> device, Companions companions = {},
          Record::Options record = {});
  /// With the emulated device in `folder`, which the first request opens.
  Session(const Parts &parts, std::filesystem::path folder);

  const Schema &schema() const { return schema_; }
  const yfw::Plugin &plugin() const { return plugin_; }
  const yfw::Registration &registration() const { return plugin_.registration(); }
  NativeDevice &device() { return *device_; }
  /// Judges and records what is no request for data, too.
  Guard &guard() { return guard_; }

  /// Throws RpcError when the request is refused, access-denied among others; then nothing was stored. Throws
  /// device::FolderError, and UsageError where a device elsewhere does not answer.
  Answer run(const Requester &who, const Request &request);
  /// The same with another datastore in the place of the device; nobody judges it.
  Answer run(const Request &request, yfw::NativeDatastore &datastore);

  /// The native requests that run() would send, in order; the device is not asked. Throws RpcError.
  std::vector<yfw::Datatree> translate(const Request &request);

 private:
  Answer read(const Rights &rights, const Request &request);
  Answer edit(const Requester &who, const Rights &rights, const Request &request,
              std::vector<Change> &changes);
  Leaves configuration_touched_by(const Request &request);
  Leaves leaves_of_rules();
  Answer with_device_warnings(Answer answer);
  RpcError with_device_warnings(const RpcError &error);

  Schema schema_;
  yfw::Plugin plugin_;
  std::unique_ptr<NativeDevice> device_;
  Guard guard_;
};

}  // namespace ymap
