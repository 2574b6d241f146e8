/// \file
/// The text of the running configuration, kept in pieces, so that an edit prints what it changed.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "edit.hpp"

namespace device {

/// JSON (RFC 7951), see JsonText: one text, whatever pieces it was made of.
class RunningText {
 public:
  /// Of a configuration, `tree` being its first sibling.
  RunningText(const Schema &schema, const lyd_node *tree);

  /// What it is after an edit by entry; nothing if its pieces do not tell, as when the last entry goes.
  std::optional<RunningText> after(const Edited &edited) const;

  /// In order.
  std::vector<std::string_view> pieces() const;

  /// For when the text has been stored: its entries are found by their new nodes from now on.
  void settle();

 private:
  /// Some entries, one behind the other, each with a comma and a line feed behind it.
  struct Chunk {
    struct Entry {
      const lyd_node *node;
      size_t length;
    };
    std::vector<Entry> entries;
    std::string text;

    /// Puts `entry`, which is that of `node`, in the place of that of `old`; at the end if that is null. An
    /// empty entry takes the old one out.
    void put(const lyd_node *old, const lyd_node *node, std::string_view entry);
  };
  struct Move {
    const lyd_node *from, *to;  ///< either may be null
    size_t chunk;
  };

  RunningText() = default;
  void put(size_t chunk, const lyd_node *old, const lyd_node *node, std::string_view entry);
  size_t chunk_with_room();

  std::string head_, tail_;
  std::vector<std::shared_ptr<const Chunk>> chunks_;
  /// The chunk of each entry. Shared with the text before, so that a text which is not stored leaves no
  /// trace.
  std::shared_ptr<std::unordered_map<const lyd_node *, size_t>> places_ =
      std::make_shared<std::unordered_map<const lyd_node *, size_t>>();
  std::vector<Move> moves_;  ///< to be made in `places_`
};

}  // namespace device
