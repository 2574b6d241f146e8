/// \file
/// An XML document from outside: size and depth are limited, elements are read without a schema.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct lyd_node;
struct lyd_node_opaq;

namespace ymap {

inline constexpr std::size_t kLargestDocument = 16U << 20;  ///< bytes
inline constexpr std::size_t kLongestTag = 64U << 10;       ///< bytes of a start tag, attributes and all
inline constexpr std::size_t kMostElements = 20'000;
inline constexpr std::size_t kDeepestElement = 100;  ///< nesting levels

/// Attribute of an element; namespace declarations are not among them.
struct XmlAttribute {
  std::string prefix;
  std::string ns;  ///< namespace URI, empty for an attribute without prefix
  std::string name;
  std::string value;
};

/// View of an element; valid while its document lives.
class XmlElement {
 public:
  explicit XmlElement(const lyd_node *node);

  std::string_view name() const;
  std::string_view ns() const;    ///< namespace URI, empty for none
  std::string_view text() const;  ///< character data as it stands, empty behind child elements, or if blank
  std::vector<XmlElement> children() const;
  std::vector<XmlAttribute> attributes() const;
  /// The prefixes in scope at the element, as libyang's LY_VALUE_XML prefix data.
  const void *prefixes() const;

 private:
  const lyd_node_opaq *node_;
};

class XmlDocument {
 public:
  /// Checks the limits first. Throws RpcError: too-big, or malformed-message with the reason and the line.
  explicit XmlDocument(std::string_view text);
  ~XmlDocument();
  XmlDocument(const XmlDocument &) = delete;
  XmlDocument &operator=(const XmlDocument &) = delete;

  XmlElement root() const;

 private:
  struct TreeDeleter {
    void operator()(lyd_node *tree) const;
  };
  std::unique_ptr<lyd_node, TreeDeleter> tree_;
};

/// Without leading and trailing XML white space.
std::string_view trimmed(std::string_view text);

}  // namespace ymap
