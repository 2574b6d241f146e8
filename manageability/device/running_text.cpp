// Pieces of JSON: what is around the entries of interfaces, and the entries, some dozens together.
#include "running_text.hpp"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "libyang_versions.hpp"

namespace device {

namespace {

// An edit moves the text of one chunk, and tells the system of all.
constexpr size_t kEntriesOfChunk = 64;

constexpr std::string_view kBegin = "\n    \"interface-configuration\": [\n";
constexpr std::string_view kEndOfEntry = "\n      }";
constexpr std::string_view kBetween = ",\n";

std::string print(const lyd_node *tree, uint32_t options) {
  char *text = nullptr;
  if (lyd_print_mem(&text, tree, LYD_JSON, options) != LY_SUCCESS) throw std::bad_alloc();
  std::string printed = text;
  std::free(text);
  return printed;
}

/// As it stands in the whole: libyang prints a node alone with a list around it, one level less deep. A text in
/// JSON holds no line feed, so lines are lines of the layout.
std::string print_entry(const lyd_node *entry) {
  const std::string alone = print(entry, 0);
  std::string text;
  size_t begin = alone.find('\n', alone.find('\n') + 1) + 1;
  const size_t end = alone.rfind('\n', alone.rfind(']')) + 1;
  while (begin < end) {
    const size_t next = alone.find('\n', begin) + 1;
    text.append("  ").append(alone, begin, next - begin);
    begin = next;
  }
  text.pop_back();
  return text.append(kBetween);
}

const lyd_node *first_entry(const Schema &schema, const lyd_node *tree) {
  lyd_node *container = nullptr;
  if (tree != nullptr) libyang::find_sibling(tree, schema.interfaces()->parent, {}, &container);
  const lyd_node *node = container == nullptr ? nullptr : lyd_child(container);
  while (node != nullptr && node->schema != schema.interfaces()) node = node->next;
  return node;
}

}  // namespace

RunningText::RunningText(const Schema &schema, const lyd_node *tree) {
  // libyang prints nothing for no data, which would look like damage.
  const std::string whole = tree == nullptr ? "{}\n" : print(tree, libyang::kPrintSiblings);
  cut(schema, whole, tree);
  if (chunks_.empty()) head_ = whole;
}

void RunningText::cut(const Schema &schema, std::string_view whole, const lyd_node *tree) {
  const size_t found = whole.find(kBegin);
  if (found == std::string_view::npos) return;
  const size_t begin = found + kBegin.size();
  size_t at = begin;
  for (const lyd_node *entry = first_entry(schema, tree);
       entry != nullptr && entry->schema == schema.interfaces(); entry = entry->next) {
    const size_t end = whole.find(kEndOfEntry, at) + kEndOfEntry.size();
    const size_t chunk = chunk_with_room();
    put(chunk, nullptr, entry, std::string(whole.substr(at, end - at)).append(kBetween));
    at = end + kBetween.size();
  }
  head_ = whole.substr(0, begin);
  tail_ = whole.substr(at - kBetween.size());
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
      text.put(places_->at(entry.before), entry.before, entry.after, print_entry(entry.after));
      continue;
    }
    if (entry.before != nullptr) text.put(places_->at(entry.before), entry.before, nullptr, {});
    if (entry.after != nullptr)
      text.put(text.chunk_with_room(), nullptr, entry.after, print_entry(entry.after));
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
