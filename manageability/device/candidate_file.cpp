// The file of the candidate: a line about it, then its text.
#include "candidate_file.hpp"

#include <string_view>

#include "fixed_number.hpp"
#include "hash.hpp"
#include "sessions.hpp"

namespace device {
namespace {

// One line, always as long.
constexpr std::string_view kSession = "candidate of session ";
constexpr std::string_view kBase = ", on ";
constexpr std::string_view kContent = ", content ";
constexpr size_t kHeadSize = kSession.size() + kBase.size() + kContent.size() + 3 * kFixedDigits + 1;

}  // namespace

std::optional<Candidate> CandidateFile::head(std::string_view text) const {
  const auto session = take_fixed_number(text, kSession);
  const auto base = session ? take_fixed_number(text, kBase) : std::nullopt;
  const auto content = base ? take_fixed_number(text, kContent) : std::nullopt;
  if (!content || !text.starts_with('\n')) return std::nullopt;
  const Candidate found = {static_cast<uint32_t>(*session), *base, *content};
  if (found.session == 0) return found;
  const auto lock = Sessions::lock_state(folder_.path(), Datastore::candidate);
  return lock && lock->holder == found.session ? std::optional(found) : std::nullopt;
}

std::optional<Candidate> CandidateFile::find() const {
  const auto text = folder_.text_of(Folder::kCandidate, kHeadSize);
  return text ? head(*text) : std::nullopt;
}

// It need not outlive the machine; one that is torn is none.
std::optional<std::string> CandidateFile::read(Candidate &candidate) const {
  auto text = folder_.text_of(Folder::kCandidate);
  const auto found = text ? head(*text) : std::nullopt;
  if (!found) return std::nullopt;
  text->erase(0, kHeadSize);
  if (text_hash(*text) != found->content) return std::nullopt;
  candidate = *found;
  return text;
}

void CandidateFile::store(Candidate &candidate, const std::vector<std::string_view> &pieces) const {
  std::string text;
  for (const std::string_view piece : pieces) text += piece;
  candidate.content = text_hash(text);
  const auto line = fixed_number(kSession, candidate.session) + fixed_number(kBase, candidate.base) +
                    fixed_number(kContent, candidate.content) + "\n";
  folder_.replace(Folder::kCandidate, {line, text}, Folder::Durability::of_process);
}

}  // namespace device
