/// \file
/// An XML document from outside: limited, well-formed, and read into a tree of its own.
#pragma once

#include <cstddef>
#include <iterator>
#include <memory_resource>
#include <span>
#include <string>
#include <string_view>

namespace ymap {

inline constexpr std::size_t kLargestDocument = 16U << 20;  ///< bytes
inline constexpr std::size_t kLongestTag = 64U << 10;       ///< bytes of a start tag, attributes and all
inline constexpr std::size_t kLongestNamespace = 1024;      ///< bytes of a namespace's URI
inline constexpr std::size_t kLongestPath = 4096;           ///< bytes of a path whose prefixes are kept
inline constexpr std::size_t kMostElements = 20'000;
inline constexpr std::size_t kMostAttributes = 50'000;  ///< of all elements, declarations of namespaces too
inline constexpr std::size_t kDeepestElement = 100;     ///< nesting levels
/// Line breaks and closing brackets: each begins a piece of text to the parser.
inline constexpr std::size_t kMostBreaks = 1'000'000;

/// Attribute of an element; namespace declarations are not among them.
struct XmlAttribute {
  std::string_view prefix;
  std::string_view ns;  ///< namespace URI, empty for an attribute without prefix
  std::string_view name;
  std::string_view value;
};

/// What a prefix stands for: a namespace URI.
struct XmlPrefix {
  std::string_view prefix, ns;
};

/// What a document keeps of an element.
struct XmlNode {
  std::string_view name;
  std::string_view ns;
  std::string_view text;
  std::string_view text_ns;
  std::span<const XmlPrefix> text_prefixes;
  std::span<const XmlAttribute> attributes;
  const XmlNode *first_child = nullptr;
  const XmlNode *next = nullptr;
};

class XmlElements;

/// View of an element; valid while its document lives, as all that it gives out.
class XmlElement {
 public:
  explicit XmlElement(const XmlNode *node) : node_(node) {}

  std::string_view name() const { return node_->name; }
  std::string_view ns() const { return node_->ns; }  ///< namespace URI, empty for none
  /// Character data in front of the child elements, as it stands; empty if it is blank.
  std::string_view text() const { return node_->text; }
  /// What the prefix stands for with which the text of a leaf begins ("p:WORD"): a namespace URI, empty for
  /// none. Texts in which XML sees no prefix may hold values with one, such as names of identities.
  std::string_view text_ns() const { return node_->text_ns; }
  /// Of a text that is a path ("/p:a/p:b"): what its prefixes stand for, as far as they are declared.
  std::span<const XmlPrefix> text_prefixes() const { return node_->text_prefixes; }
  XmlElements children() const;
  std::span<const XmlAttribute> attributes() const { return node_->attributes; }

 private:
  const XmlNode *node_;
};

/// Siblings.
class XmlElements {
 public:
  class Iterator {
   public:
    using difference_type = std::ptrdiff_t;
    using value_type = XmlElement;

    explicit Iterator(const XmlNode *node = nullptr) : node_(node) {}
    XmlElement operator*() const { return XmlElement(node_); }
    Iterator &operator++() {
      node_ = node_->next;
      return *this;
    }
    Iterator operator++(int) {
      const Iterator before = *this;
      ++*this;
      return before;
    }
    bool operator==(const Iterator &) const = default;

   private:
    const XmlNode *node_;
  };

  explicit XmlElements(const XmlNode *first = nullptr) : first_(first) {}

  Iterator begin() const { return Iterator(first_); }
  Iterator end() const { return Iterator(); }
  bool empty() const { return first_ == nullptr; }
  XmlElement front() const { return XmlElement(first_); }

 private:
  const XmlNode *first_;
};

inline XmlElements XmlElement::children() const {
  return XmlElements(node_->first_child);
}

class XmlDocument {
 public:
  /// Throws RpcError: too-big, or malformed-message with the reason and the line; what is well-formed XML 1.0
  /// and Namespaces in XML 1.0 is taken, but for document type declarations. UTF-8 is the encoding, whatever
  /// the declaration says (RFC 6241, section 3).
  explicit XmlDocument(std::string_view text);
  XmlDocument(const XmlDocument &) = delete;
  XmlDocument &operator=(const XmlDocument &) = delete;

  /// Throws RpcError: bad-element where an element holds text behind other elements, which no message of
  /// NETCONF has a use for.
  XmlElement root() const;
  /// The root's name and attributes, also of a document with such text.
  std::string_view root_name() const { return root_->name; }
  std::span<const XmlAttribute> root_attributes() const { return root_->attributes; }

 private:
  class Reader;

  std::pmr::monotonic_buffer_resource memory_{4096};  ///< nodes and their texts
  const XmlNode *root_ = nullptr;
  const XmlNode *mixed_ = nullptr;  ///< the first element with text behind other elements
};

/// Without leading and trailing XML white space.
std::string_view trimmed(std::string_view text);

/// Refuses a message: a malformed-message, of type rpc, with that text.
[[noreturn]] void malformed(const std::string &reason);

}  // namespace ymap
