/// \file
/// Writes indented XML.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace ymap {

class XmlWriter {
 public:
  struct Attribute {
    std::string name;  ///< qualified; "xmlns" and "xmlns:..." declare namespaces
    std::string value;
  };
  using Attributes = std::vector<Attribute>;

  void open(std::string_view name, const Attributes &attributes = {});
  void close();
  /// An element without children; the empty text gives an empty element.
  void leaf(std::string_view name, std::string_view text, const Attributes &attributes = {});
  /// Whole elements, already written, one or more lines.
  void raw(std::string_view xml);

  /// What was written; every opened element is closed.
  const std::string &text() const { return text_; }

 private:
  void start_tag(std::string_view name, const Attributes &attributes);
  void indent() { text_.append(2 * open_.size(), ' '); }

  std::string text_;
  std::vector<std::string> open_;
};

}  // namespace ymap
