/// \file
/// The candidate configuration (RFC 6241, section 8.3) as sessions share it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "folder.hpp"

namespace device {

/// What is known of a candidate without reading it.
struct Candidate {
  uint32_t session = 0;  ///< that has it locked, and takes it along when it goes; 0: none
  uint64_t base = 0;     ///< hash of the text of what ran when it was begun
  uint64_t content = 0;  ///< hash of its own text
  bool operator==(const Candidate &) const = default;
};

/// A file that is there while the candidate is edited. Functions throw FolderError.
class CandidateFile {
 public:
  explicit CandidateFile(const Folder &folder) : folder_(folder) {}

  /// Nothing if there is none, or one that somebody left behind with his lock.
  std::optional<Candidate> find() const;
  /// Its text, and in `candidate` what it is of; nothing as find().
  std::optional<std::string> read(Candidate &candidate) const;

  // Under the folder's lock:

  /// Puts the hash into `candidate`.
  void store(Candidate &candidate, const std::vector<std::string_view> &pieces) const;
  void remove() const { folder_.remove(Folder::kCandidate); }

 private:
  std::optional<Candidate> head(std::string_view text) const;

  const Folder &folder_;
};

}  // namespace device
