/// \file
/// The emulated amplifier device: native configuration and live values in one folder.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct lyd_node;

namespace device {

/// Node of a native request: a subtree filter (RFC 6241, section 6) or an edit. Its texts are the caller's.
struct RequestNode {
  enum class Operation : uint32_t {
    none = 0,
    replace = 1,
    create = 2,
    remove_existing = 3,
    remove = 4,
    merge = 5,
    stated = 0x100  ///< by default operation "none": an error if there is nothing; what is there stays
  };
  /// Where the entry of a list goes whose order is the user's (RFC 7950, section 7.8.6); before and after an
  /// anchor.
  enum class Insert : uint8_t { as_it_is, first, last, before, after };
  std::string_view name;
  std::string_view ns;                    ///< namespace URI; empty in a filter: any
  std::optional<std::string_view> value;  ///< absent or empty in a filter: selects
  Operation operation =
      Operation::none;           ///< remove_existing is NETCONF's delete: an error if there is nothing
  const void *origin = nullptr;  ///< the caller's own mark, handed back in EditError
  std::vector<RequestNode> children;
  Insert insert = Insert::as_it_is;
  std::string_view anchor = {};  ///< the other entry's keys as a predicate; of a leaf-list the other value
};

/// A broken, missing, unreadable or full folder: nothing that a request could mend.
struct FolderError : std::runtime_error {
  using std::runtime_error::runtime_error;
  bool no_room = false;    ///< the disk is full, or a quota or limit reached: room would mend it
  bool no_rights = false;  ///< this user may not do it, or nobody on this file system
  bool busy = false;       ///< another process does not come to the end of its edit
};

/// A refused edit; nothing was stored.
struct EditError : std::runtime_error {
  EditError(const std::string &message, std::string tag, std::string data_path, const void *mark)
      : std::runtime_error(message), error_tag(std::move(tag)), path(std::move(data_path)), origin(mark) {}
  std::string error_tag;  ///< RFC 6241, appendix A
  std::string path;       ///< native data path
  const void *origin;     ///< of the request node at fault
};

/// That a commit is to be confirmed (RFC 6241, section 8.4).
struct Confirmation {
  std::chrono::seconds timeout{600};
  /// Then whoever knows it may confirm from another session; else only that of the commit, as long as it
  /// lives.
  std::optional<std::string> persist = {};
};

/// What a commit says.
struct Commit {
  std::optional<Confirmation> to_confirm = {};
  std::optional<std::string> persist_id = {};  ///< of the commit that this one confirms or goes on with
  std::string user = {};                       ///< who makes it
  /// Called when a way back is prepared, before anything is changed: somebody must be there to take it. May
  /// throw.
  std::function<void()> watch = {};
};

/// What a commit was to one that is to be confirmed.
enum class CommitEvent : uint8_t { none, start, extend, complete };

/// A commit that waits to be confirmed.
struct PendingCommit {
  uint32_t session = 0;  ///< that alone may confirm; 0 with `persist`
  std::string user = {};
  std::optional<std::string> persist = {};
  std::chrono::seconds timeout{0};
  std::chrono::nanoseconds deadline{0};  ///< since the start of the machine
  std::string boot = {};                 ///< which start that was
  uint64_t inode = 0;                    ///< with `modified`, of the file of what ran before
  int64_t modified = 0;
  std::chrono::nanoseconds time_left() const;
};

/// What became of a commit that waited.
struct TakenBack {
  enum class Why : uint8_t { not_yet, never_made, timeout, session_end, restart, cancelled, half_way };
  Why why = Why::not_yet;
  PendingCommit commit = {};
};

/// What a read cost.
struct ReadCount {
  size_t leaves = 0;  ///< native leaves given out
};

/// Takes an answer node by node, in the order of the data, keys first. Texts are valid during the call.
class AnswerSink {
 public:
  virtual ~AnswerSink() = default;
  /// Begins a container or a list entry; close() ends it.
  virtual void open(const char *name, const char *ns) = 0;
  virtual void leaf(const char *name, const char *ns, const char *value) = 0;
  virtual void close() = 0;
};

/// Frees a libyang tree with all its siblings.
struct TreeDeleter {
  void operator()(lyd_node *tree) const;
};
using Tree = std::unique_ptr<lyd_node, TreeDeleter>;

/// A node of data that has no schema, such as live data, which is made for one reading.
struct PlainNode {
  const char *name;
  std::string value = {};
  bool is_leaf = false;
  bool is_key = false;
  std::vector<PlainNode> children = {};
};

/// A container of somebody else's model that the device keeps with its configuration, in the same
/// transactions, and gives no meaning. Without one stored it has the factory's content: the first edit begins
/// with that.
struct Guest {
  std::string module, ns, top;
  std::vector<std::string> others = {};  ///< modules that its values name
  std::vector<std::filesystem::path> folders =
      {};                               ///< where modules are found that are not beside the device's
  std::vector<PlainNode> factory = {};  ///< children of `top`
};

/// Whether a commit may wait to be confirmed in the folder: to ask costs nothing that counts.
bool commit_may_wait(const std::filesystem::path &folder);

class Device {
 public:
  /// Opens the folder, which must exist; an empty one is filled with factory data. `models` is the folder of
  /// the native YANG modules. `clock` fixes the time (nanoseconds since the epoch). Throws FolderError.
  Device(std::filesystem::path folder, const std::filesystem::path &models,
         std::optional<uint64_t> clock = std::nullopt, Guest guest = {});
  ~Device();

  /// The children of the guest's container as they are stored or, by default, in the factory. The same object
  /// as long as they are the same; its names must not outlive the device.
  std::shared_ptr<const std::vector<PlainNode>> guest() const;
  /// What they would be after an edit. Throws as edit().
  std::vector<PlainNode> guest_after(const std::vector<RequestNode> &request) const;

  /// A number that is another one, in this object, whenever what runs may be.
  uint64_t version() const;

  enum class Content { all, configuration };
  /// Gives out the selected data of all native modules, configuration and live values.
  ReadCount read(const std::vector<RequestNode> &filter, AnswerSink &sink,
                 Content content = Content::all) const;

  /// The session (see Sessions) that later edits are made for; 0, as at first, is none.
  void act_for(uint32_t session);

  /// Applies the edit to a copy of what it touches, validates that, and stores all: all or nothing.
  /// Concurrent edits of other processes wait for each other. Throws EditError, "in-use" while a session that
  /// this device does not act for holds the lock on running, or FolderError.
  void edit(const std::vector<RequestNode> &request);

  /// The same but for storing it: throws EditError where the edit would be refused for what it says. An edit
  /// of nothing reads what is stored again. A folder that cannot be written will do, and nobody's lock stands
  /// in the way.
  void test(const std::vector<RequestNode> &request) const;

  // The candidate configuration (RFC 6241, section 8.3) of all sessions: it is what runs until it is edited,
  // and again when its edits are committed or discarded, or when the session goes that had it locked. All
  // that change it throw EditError, "in-use" while a session that this device does not act for has it locked.

  /// Applies the edit if each of its nodes may stand there; whether they go together is for later. Throws
  /// EditError.
  void edit_candidate(const std::vector<RequestNode> &request);
  bool candidate_is_edited() const;
  /// Gives out the selected configuration.
  ReadCount read_candidate(const std::vector<RequestNode> &filter, AnswerSink &sink) const;
  /// Throws EditError where the candidate, with `request` applied to it, is not valid.
  void validate_candidate(const std::vector<RequestNode> &request = {}) const;
  void discard_candidate();
  /// See guest() and guest_after().
  std::vector<PlainNode> candidate_guest(const std::vector<RequestNode> &request = {}) const;

  /// Puts the candidate in the place of what runs, unless that has changed meanwhile, and with it confirms
  /// the commit that waits. Throws as edit(); the candidate is then as it was.
  CommitEvent commit_candidate(const Commit &commit = {});
  /// An edit of what runs that is to be confirmed as a commit is.
  CommitEvent edit(const std::vector<RequestNode> &request, const Commit &commit);

  std::optional<PendingCommit> pending_commit() const;
  /// Whether the commit that waits is no longer to be waited for.
  bool commit_is_overdue() const;
  /// Takes it back then. Throws FolderError.
  TakenBack take_back_overdue();
  /// What waits stays, if it is this session's or of this id; nothing else is committed.
  void confirm_commit(const std::optional<std::string> &persist_id);
  /// Waits until the commit that waits may be overdue, or is no longer the one that it was. Throws
  /// FolderError.
  void wait_for_commit() const;
  /// Takes back the commit that waits, where who asks could confirm it. Throws EditError.
  TakenBack cancel_commit(const std::optional<std::string> &persist_id);

  /// While the result lives nobody else edits, and this object's edits are under the same lock. Throws
  /// FolderError.
  std::shared_ptr<const void> transaction();
  /// Nodes at the top, name and namespace, of which the candidate is other than what runs.
  std::vector<std::pair<std::string, std::string>> candidate_differences() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace device
