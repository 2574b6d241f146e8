/// \file
/// Edits of the running configuration, as the system tells of them.
#pragma once

#include <filesystem>

#include "folder.hpp"

namespace device {

class RunningWatch {
 public:
  /// Of the folder, which must exist. Where the system does not tell there is no descriptor.
  explicit RunningWatch(const std::filesystem::path &folder);

  /// Becomes readable when something happens in the folder; -1 if it cannot be told.
  int descriptor() const { return events_.get(); }
  /// Reads what has happened; whether it may have been an edit.
  bool changed() const;

 private:
  Descriptor events_;
};

}  // namespace device
