// The file of the candidate: a line about it, then its text.
#include "candidate_file.hpp"

#include <array>
#include <charconv>
#include <string_view>
#include <system_error>

#include "hash.hpp"
#include "sessions.hpp"

namespace device {
namespace {

// One line, always as long.
constexpr std::string_view kSession = "candidate of session ";
constexpr std::string_view kBase = ", on ";
constexpr std::string_view kContent = ", content ";
constexpr size_t kDigits = 16;
constexpr size_t kHeadSize = kSession.size() + kBase.size() + kContent.size() + 3 * kDigits + 1;

/// Takes `word` and the number behind it from the front of `text`.
bool take_number(std::string_view &text, std::string_view word, auto &number) {
  if (!text.starts_with(word) || text.size() < word.size() + kDigits) return false;
  const char *begin = text.data() + word.size();
  const auto read = std::from_chars(begin, begin + kDigits, number, 16);
  text.remove_prefix(word.size() + kDigits);
  return read.ec == std::errc() && read.ptr == begin + kDigits;
}

std::string number_text(std::string_view word, uint64_t number) {
  std::array<char, kDigits> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + kDigits, number, 16).ptr;
  const auto count = static_cast<size_t>(end - digits.data());
  return std::string(word) + std::string(kDigits - count, '0') + std::string(digits.data(), count);
}

}  // namespace

std::optional<Candidate> CandidateFile::head(std::string_view text) const {
  Candidate found;
  if (!take_number(text, kSession, found.session) || !take_number(text, kBase, found.base) ||
      !take_number(text, kContent, found.content) || !text.starts_with('\n'))
    return std::nullopt;
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
  const auto line = number_text(kSession, candidate.session) + number_text(kBase, candidate.base) +
                    number_text(kContent, candidate.content) + "\n";
  folder_.replace(Folder::kCandidate, {line, text}, Folder::Durability::of_process);
}

}  // namespace device
