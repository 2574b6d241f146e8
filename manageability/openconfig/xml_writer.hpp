/// \file
/// Writes XML.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ymap {

/// Indented, a line each element, for people; or without any white space between elements.
enum class Layout { indented, compact };

class XmlWriter {
 public:
  explicit XmlWriter(Layout layout = Layout::indented) : layout_(layout) {}

  struct Attribute {
    std::string name;  ///< qualified; "xmlns" and "xmlns:..." declare namespaces
    std::string value;
  };
  using Attributes = std::vector<Attribute>;

  /// `name` lives until its element is closed.
  void open(std::string_view name, const Attributes &attributes = {});
  void close();
  /// An element without children; the empty text gives an empty element.
  void leaf(std::string_view name, std::string_view text, const Attributes &attributes = {});
  /// Whole elements, already written in the same layout.
  void raw(std::string_view xml);

  /// What was written; every opened element is closed.
  const std::string &text() const { return text_; }
  /// The same, for a writer that is not needed any more.
  std::string take() { return std::move(text_); }

 private:
  void start_tag(std::string_view name, const Attributes &attributes);
  void begin_line();
  void end_line();

  Layout layout_;
  std::string text_;
  std::vector<std::string_view> open_;
};

}  // namespace ymap
