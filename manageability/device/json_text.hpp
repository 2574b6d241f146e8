/// \file
/// Configuration in JSON (RFC 7951), laid out for people: two blanks a level, a line each leaf.
#pragma once

#include <functional>
#include <string>

#include <libyang/libyang.h>

namespace device {

/// Writes members and entries at the end of a text. libyang's own printer takes several times as long.
class JsonText {
 public:
  /// Is told of each list before its entries are written, with the first of them; true if it has written
  /// them.
  using ListHook = std::function<bool(const lyd_node *first, int level)>;

  explicit JsonText(std::string &out, ListHook hook = {}) : out_(out), hook_(std::move(hook)) {}

  /// An object of `first` and its siblings, below `parent`.
  void object(const lyd_node *first, const lyd_node *parent, int level);
  /// A list entry with its indentation.
  void entry(const lyd_node *entry, int level);
  void line(int level) { out_.append("\n").append(2 * static_cast<size_t>(level), ' '); }

 private:
  void member(const lyd_node *node, const lyd_node *parent, int level);
  void value(const lyd_node *leaf);
  void quoted(const char *text);

  std::string &out_;
  ListHook hook_;
};

}  // namespace device
