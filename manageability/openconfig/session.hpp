/// \file
/// The road of every request, whichever command it comes from.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
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

/// Records that a commit was taken back that nobody confirmed, and what that changed.
void note_taken_back(Guard &guard, const device::TakenBack &taken, std::vector<Change> changes);

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

  // Of a device that is near. They throw as run().

  /// Puts the candidate in the place of what runs.
  void commit(const Requester &who, const device::Commit &commit);
  /// Confirms the commit that waits, and commits nothing else.
  void confirm_commit(const Requester &who, const std::optional<std::string> &persist_id);
  void cancel_commit(const Requester &who, const std::optional<std::string> &persist_id);
  void discard_candidate(const Requester &who);
  /// Takes back a commit that has waited for its confirmation in vain. Every request begins with it.
  void settle();
  /// `watch` is called before a commit is made that waits, and while one does: somebody must be there to call
  /// settle() when it is overdue, whatever becomes of this process. Throws where nobody can be.
  void watch_commits(std::function<void()> watch) { watch_commits_ = std::move(watch); }

  /// The native requests that run() would send, in order; the device is not asked. Throws RpcError.
  std::vector<yfw::Datatree> translate(const Request &request);

 private:
  Answer read(const Rights &rights, const Request &request);
  Answer edit(const Requester &who, const Rights &rights, const Request &request, Outcome &outcome);
  Leaves configuration(device::Datastore datastore, const std::vector<std::string> &amplifiers);
  std::shared_ptr<const Leaves> configuration_touched_by(const Request &request);
  Leaves leaves_of_rules(device::Datastore datastore);
  std::vector<Change> changes_asked(const Request &request, const Leaves &before, const Leaves &rules_before);
  Leaves everything_in(device::Datastore datastore);
  void check_rules_may_change();
  RpcError told_to(const Rights &rights, const RpcError &error) const;
  void warn_of_commit(Answer &answer);
  void note_commit(device::CommitEvent event, const device::Commit &commit, Outcome &outcome);
  Answer with_device_warnings(Answer answer);
  RpcError with_device_warnings(const RpcError &error);

  Schema schema_;
  yfw::Plugin plugin_;
  std::unique_ptr<NativeDevice> device_;
  Guard guard_;
  std::function<void()> watch_commits_;
  /// The last reading for the record, which is that before the next edit where nobody made one meanwhile.
  struct Reading {
    std::vector<std::string> amplifiers;
    uint64_t version = 0;  ///< see device::Device
    std::shared_ptr<const Leaves> leaves;
  };
  std::optional<Reading> last_;
};

}  // namespace ymap
