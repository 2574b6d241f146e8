/// \file
/// Requests and answers as short texts, and folders to work in.
///
///     if:interface-configurations{interface-configuration{active=act interface-name=Ots0/0/0/0}}
///
/// A prefix (if, cfg, oper, pm) names the module and holds for what is below; a value with blanks, or an
/// empty one, stands in quotation marks; an edit operation follows its node as !create, !replace, !delete,
/// !remove.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "device.hpp"

namespace device::test {

/// Throws std::invalid_argument. Each node's origin points to its name in `text`, which must outlive the
/// result.
std::vector<RequestNode> request(const char *text);

/// What the device answers to a filter, in the same notation.
std::string read(const Device &device, const char *filter, ReadCount *count = nullptr);

/// The same of the candidate configuration.
std::string read_candidate(const Device &device, const char *filter);

/// An empty folder that any user may enter; removed at the end.
class Workplace {
 public:
  Workplace();
  ~Workplace();
  const std::filesystem::path &path() const { return path_; }
  std::filesystem::path running() const { return path_ / "running.json"; }
  std::string running_text() const;
  void write(const char *file, const std::string &text) const;
  std::vector<std::string> files() const;  ///< sorted

 private:
  std::filesystem::path path_;
};

/// Gives up the rights of root, which no permission stops, while it lives.
class Unprivileged {
 public:
  Unprivileged();
  ~Unprivileged();
  bool held() const { return held_; }

 private:
  bool held_;
};

/// Runs `work` in a process of its own, which ends with 0, or with 1 if it threw.
pid_t in_process(const std::function<void()> &work);

/// Waits for the process: its exit status, or the signal that ended it.
int exit_status(pid_t child);

/// Runs `work` in a process that is killed when it is about to make its system call number `call`: how the
/// process ended, as exit_status(). Nothing where the system lets nobody follow a process.
std::optional<int> killed_before_call(int call, const std::function<void()> &work);

/// The message of the FolderError that `work` throws.
std::string folder_error(const std::function<void()> &work);

/// 2026-11-22T12:00:07Z: seven seconds into a bucket.
inline constexpr uint64_t kNow = 1'795'348'807'000'000'000;

}  // namespace device::test
