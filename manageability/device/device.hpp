/// \file
/// The emulated amplifier device: native configuration and live values in one folder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

struct ly_ctx;
struct lyd_node;

namespace device {

/// Node of a native request: a subtree filter (RFC 6241, section 6) or an edit.
struct RequestNode {
  enum class Operation : uint32_t {
    none = 0,
    replace = 1,
    create = 2,
    remove_existing = 3,
    remove = 4,
    merge = 5
  };
  std::string name;
  std::string ns;                    ///< namespace URI
  std::optional<std::string> value;  ///< absent or empty in a filter: selects
  Operation operation =
      Operation::none;           ///< remove_existing is NETCONF's delete: an error if there is nothing
  const void *origin = nullptr;  ///< the caller's own mark, handed back in EditError
  std::vector<RequestNode> children;
};

/// A broken, missing, unreadable or full folder: nothing that a request could mend.
struct FolderError : std::runtime_error {
  using std::runtime_error::runtime_error;
  bool no_room = false;  ///< the disk is full, or a quota or limit reached: room would mend it
  bool busy = false;     ///< another process does not come to the end of its edit
};

/// A refused edit; nothing was stored.
struct EditError : std::runtime_error {
  EditError(const std::string &message, std::string tag, std::string data_path, const void *mark)
      : std::runtime_error(message), error_tag(std::move(tag)), path(std::move(data_path)), origin(mark) {}
  std::string error_tag;  ///< RFC 6241, appendix A
  std::string path;       ///< native data path
  const void *origin;     ///< of the request node at fault
};

/// What a read cost.
struct ReadCount {
  size_t leaves = 0;  ///< native leaves given out
};

/// Frees a libyang tree with all its siblings. A tree must not outlive the device that gave it out.
struct TreeDeleter {
  void operator()(lyd_node *tree) const;
};
using Tree = std::unique_ptr<lyd_node, TreeDeleter>;

class Device {
 public:
  /// Opens the folder, which must exist; an empty one is filled with factory data. `models` is the folder of
  /// the native YANG modules. `clock` fixes the time (nanoseconds since the epoch). Throws FolderError.
  Device(std::filesystem::path folder, const std::filesystem::path &models,
         std::optional<uint64_t> clock = std::nullopt);
  ~Device();

  /// The selected data of all native modules, configuration and live values, first sibling; empty if none.
  Tree read(const std::vector<RequestNode> &filter, ReadCount *count = nullptr) const;

  /// The session (see Sessions) that later edits are made for; 0, as at first, is none.
  void act_for(uint32_t session);

  /// Applies the edit to a copy of the running configuration, validates it, and stores it: all or nothing.
  /// Concurrent edits of other processes wait for each other. Throws EditError, "in-use" while a session that
  /// this device does not act for holds the lock on running, or FolderError.
  void edit(const std::vector<RequestNode> &request);

  /// The same but for storing it: throws EditError where the edit would be refused for what it says. An edit
  /// of nothing reads what is stored again. A folder that cannot be written will do, and nobody's lock stands
  /// in the way.
  void test(const std::vector<RequestNode> &request) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace device
