/// \file
/// The one place where requests are judged before they run, and recorded after.
#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "access_rules.hpp"
#include "change_record.hpp"
#include "changes.hpp"
#include "native_datastore.hpp"
#include "rpc_error.hpp"

namespace ymap {

/// What somebody asks for.
struct Asked {
  /// Whether it is recorded: always, where reads are, or where it is refused access only.
  enum class Weight : uint8_t { change, read, none };
  std::string_view operation;
  Weight weight = Weight::read;
  std::string target = {};  ///< see RecordEntry
  std::string_view module = "ietf-netconf";
};

/// What work tells of itself, for the record.
struct Outcome {
  std::vector<Change> changes = {};
  std::string confirm = {};  ///< see RecordEntry
};

/// How often access was denied at a device (RFC 8341, section 3.4.1).
struct DeniedCounts {
  uint32_t operations = 0, data_writes = 0, notifications = 0;
};

class Guard {
 public:
  /// The record and the counters are kept in the folder of `device`, which must outlive the object.
  Guard(NativeDevice &device, Record::Options options)
      : device_(device), folder_(device.folder()), record_(folder_, options) {}

  /// Of whoever asks, by the rules as they are now; valid until the next call.
  const Rights &rights(const Requester &who);

  /// Judges the action, does `work`, and records what became of it. `work` may fill in what it did.
  /// Throws RpcError: access-denied, or operation-failed where it cannot be recorded but must be; and as
  /// `work`.
  template <typename Work>
  auto run(const Requester &who, const Asked &asked, const Work &work) {
    Recording recording(*this, who, asked);
    try {
      judge(who, asked);
      recording.begin();
      using Result = std::invoke_result_t<Work, Outcome &>;
      if constexpr (std::is_void_v<Result>) {
        work(recording.outcome());
        recording.end(nullptr);
      } else {
        auto result = work(recording.outcome());
        recording.end(nullptr);
        return result;
      }
    } catch (const std::exception &error) {
      recording.end(&error);
      throw;
    }
  }

  /// Records something that is not asked for, such as a session that begins or ends.
  void note(const Requester &who, const Asked &asked, Outcome outcome = {});

  /// Throws RpcError: access-denied at the first change that the user may not make.
  void judge(const Requester &who, const Rights &rights, const std::vector<Change> &changes) const;

  /// Where the record and the counters are; empty for nowhere.
  const std::filesystem::path &folder() const { return folder_; }
  DeniedCounts denied() const;
  void count_denied_notification() const { count(&DeniedCounts::notifications); }

 private:
  class Recording {
   public:
    Recording(Guard &guard, const Requester &who, const Asked &asked)
        : guard_(guard), who_(who), asked_(asked) {}
    Outcome &outcome() { return outcome_; }
    void begin();
    void end(const std::exception *error);

   private:
    RecordEntry entry() const;

    Guard &guard_;
    const Requester &who_;
    const Asked &asked_;
    Outcome outcome_;
    int64_t started_ = now();
  };

  static int64_t now();
  void judge(const Requester &who, const Asked &asked);
  void count(uint32_t DeniedCounts::*counter) const;

  NativeDevice &device_;
  std::filesystem::path folder_;
  Record record_;
  Rights rights_;
  std::shared_ptr<const NativeDevice::Rules> judged_by_;  ///< what `rights_` are by
  std::string judged_user_;
};

}  // namespace ymap
