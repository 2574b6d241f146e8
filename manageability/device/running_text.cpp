// Pieces of JSON: what is around the entries of interfaces, and the entries, some dozens together.
#include "running_text.hpp"

#include <algorithm>
#include <utility>

#include "json_text.hpp"

namespace device {

namespace {

// An edit moves the text of one chunk, and tells the system of all.
constexpr size_t kEntriesOfChunk = 64;

constexpr int kLevelOfEntry = 3;  ///< of the text
constexpr std::string_view kBetween = ",\n";

std::string entry_text(const lyd_node *entry) {
  std::string text;
  JsonText(text).entry(entry, kLevelOfEntry);
  return text.append(kBetween);
}

}  // namespace

RunningText::RunningText(const Schema &schema, const lyd_node *tree) {
  std::string text;
  const auto take_entries = [&](const lyd_node *first, int) {
    if (first->schema != schema.interfaces()) return false;
    head_ = std::exchange(text, {});
    for (const lyd_node *entry = first; entry != nullptr && entry->schema == first->schema;
         entry = entry->next)
      put(chunk_with_room(), nullptr, entry, entry_text(entry));
    return true;
  };
  if (tree == nullptr)
    text = "{}";
  else
    JsonText(text, take_entries).object(tree, nullptr, 0);
  text += '\n';
  (chunks_.empty() ? head_ : tail_) = std::move(text);
  settle();
}

void RunningText::Chunk::put(const lyd_node *old, const lyd_node *node, std::string_view entry) {
  size_t offset = 0;
  auto place = entries.begin();
  for (; place != entries.end() && (old == nullptr || place->node != old); ++place) offset += place->length;
  text.replace(offset, place == entries.end() ? 0 : place->length, entry);
  if (place == entries.end())
    entries.push_back({node, entry.size()});
  else if (entry.empty())
    entries.erase(place);
  else
    *place = {node, entry.size()};
}

void RunningText::put(size_t chunk, const lyd_node *old, const lyd_node *node, std::string_view entry) {
  // Alone in the hands of this text it need not be copied.
  auto own = chunks_[chunk].use_count() == 1 ? std::const_pointer_cast<Chunk>(chunks_[chunk])
                                             : std::make_shared<Chunk>(*chunks_[chunk]);
  own->put(old, node, entry);
  chunks_[chunk] = std::move(own);
  moves_.push_back({old, entry.empty() ? nullptr : node, chunk});
}

size_t RunningText::chunk_with_room() {
  if (chunks_.empty() || chunks_.back()->entries.size() >= kEntriesOfChunk)
    chunks_.push_back(std::make_shared<Chunk>());
  return chunks_.size() - 1;
}

std::optional<RunningText> RunningText::after(const Edited &edited) const {
  if (chunks_.empty()) return std::nullopt;
  RunningText text = *this;
  for (const Edited::Entry &entry : edited.entries()) {
    if (entry.keeps_place()) {
      text.put(places_->at(entry.before), entry.before, entry.after, entry_text(entry.after));
      continue;
    }
    if (entry.before != nullptr) text.put(places_->at(entry.before), entry.before, nullptr, {});
    if (entry.after != nullptr)
      text.put(text.chunk_with_room(), nullptr, entry.after, entry_text(entry.after));
  }
  const bool any =
      std::ranges::any_of(text.chunks_, [](const auto &chunk) { return !chunk->entries.empty(); });
  if (!any) return std::nullopt;
  return text;
}

std::vector<std::string_view> RunningText::pieces() const {
  std::vector<std::string_view> all = {head_};
  for (const auto &chunk : chunks_) {
    if (!chunk->text.empty()) all.emplace_back(chunk->text);
  }
  if (chunks_.empty()) return all;
  all.back().remove_suffix(kBetween.size());
  all.emplace_back(tail_);
  return all;
}

void RunningText::settle() {
  for (const Move &move : moves_) {
    if (move.from != nullptr) places_->erase(move.from);
  }
  for (const Move &move : moves_) {
    if (move.to != nullptr) places_->insert_or_assign(move.to, move.chunk);
  }
  moves_.clear();
}

}  // namespace device
