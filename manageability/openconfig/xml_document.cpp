// XML from outside, read by expat.
#include "xml_document.hpp"

#include <expat.h>

#include <algorithm>
#include <exception>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "printable.hpp"
#include "rpc_error.hpp"
#include "xml_limits.hpp"

namespace ymap {
namespace {

/// Between the parts of a name in expat's callbacks: no character of XML.
constexpr char kSeparator = '\f';

/// Where a parser stands.
struct Place {
  std::size_t byte = 0;
  std::size_t line = 0;  ///< from 1 on
};

/// From some release on expat has functions of 64 bits for it, and warns of the others.
template <typename Parser>
Place place_of(Parser parser) {
  if constexpr (requires { XML_GetCurrentByteIndex64(parser); })
    return {static_cast<std::size_t>(XML_GetCurrentByteIndex64(parser)),
            static_cast<std::size_t>(XML_GetCurrentLineNumber64(parser))};
  else
    return {static_cast<std::size_t>(XML_GetCurrentByteIndex(parser)),
            static_cast<std::size_t>(XML_GetCurrentLineNumber(parser))};
}

struct Name {
  std::string_view ns, local, prefix;
};

constexpr std::string_view kXmlNs = "http://www.w3.org/XML/1998/namespace";

/// A name as expat gives it: "local", "ns local" or "ns local prefix".
Name name_of(std::string_view text) {
  const auto first = text.find(kSeparator);
  if (first == std::string_view::npos) return {{}, text, {}};
  const auto rest = text.substr(first + 1);
  const auto second = std::min(rest.find(kSeparator), rest.size());
  return {text.substr(0, first), rest.substr(0, second), rest.substr(std::min(second + 1, rest.size()))};
}

}  // namespace

/// Builds the tree in the callbacks of expat. Whatever they throw stops the parser and is thrown by read().
class XmlDocument::Reader {
 public:
  explicit Reader(XmlDocument &document)
      : document_(document), parser_(XML_ParserCreateNS("UTF-8", kSeparator)) {
    if (parser_ == nullptr) throw std::bad_alloc();
    auto *parser = parser_.get();
    XML_SetReturnNSTriplet(parser, XML_TRUE);
    XML_SetUserData(parser, this);
    XML_SetElementHandler(
        parser,
        [](void *self, const XML_Char *name, const XML_Char **attributes) {
          guarded(self, [&](Reader &reader) { reader.open(name, attributes); });
        },
        [](void *self, const XML_Char *) { guarded(self, [](Reader &reader) { reader.close(); }); });
    XML_SetCharacterDataHandler(parser, [](void *self, const XML_Char *text, int length) {
      guarded(self, [&](Reader &reader) { reader.text_.append(text, static_cast<std::size_t>(length)); });
    });
    XML_SetNamespaceDeclHandler(
        parser,
        [](void *self, const XML_Char *prefix, const XML_Char *ns) {
          guarded(self, [&](Reader &reader) { reader.declare(prefix, ns); });
        },
        [](void *self, const XML_Char *prefix) {
          guarded(self, [&](Reader &reader) { reader.end_declaration(prefix); });
        });
  }

  /// `lines` stand in front of the text.
  void read(std::string_view text, std::size_t lines) {
    auto *parser = parser_.get();
    const auto status = XML_Parse(parser, text.data(), static_cast<int>(text.size()), XML_TRUE);
    if (failure_) std::rethrow_exception(failure_);
    if (status == XML_STATUS_OK) return;
    const auto error = XML_GetErrorCode(parser);
    if (error == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
    if (error == XML_ERROR_NO_ELEMENTS && open_.empty())
      malformed("the message holds no element; it must be one");
    const auto place = place_of(parser);
    if (error == XML_ERROR_JUNK_AFTER_DOC_ELEMENT &&
        text.substr(std::min(place.byte, text.size())).starts_with('<'))
      malformed("the message holds several root elements; it must be one");
    const auto reason = error == XML_ERROR_NO_ELEMENTS
                            ? "element " + shortened(open_.back().node->name) + " has no end"
                            : std::string(XML_ErrorString(error));
    malformed("not well-formed XML: " + reason + ". Line number " + std::to_string(lines + place.line) + ".");
  }

 private:
  struct ParserDeleter {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
  };

  /// An element whose end tag is still to come.
  struct Open {
    XmlNode *node;
    XmlNode *last_child = nullptr;
  };

  template <typename Work>
  static void guarded(void *self, const Work &work) {
    auto &reader = *static_cast<Reader *>(self);
    if (reader.failure_) return;
    try {
      work(reader);
    } catch (...) {
      reader.failure_ = std::current_exception();
      XML_StopParser(reader.parser_.get(), XML_FALSE);
    }
  }

  template <typename Item>
  std::span<Item> allocate(std::size_t count) {
    static_assert(std::is_trivially_destructible_v<Item>);
    auto *items = static_cast<Item *>(document_.memory_.allocate(count * sizeof(Item), alignof(Item)));
    std::uninitialized_default_construct_n(items, count);
    return {items, count};
  }

  std::string_view kept(std::string_view text) {
    if (text.empty()) return {};
    const auto copy = allocate<char>(text.size());
    std::ranges::copy(text, copy.begin());
    return {copy.data(), copy.size()};
  }

  /// Most elements are of the namespace of the one before, and so are attributes.
  std::string_view kept_ns(std::string_view ns, std::string_view &last) {
    if (ns != last) last = kept(ns);
    return last;
  }

  void declare(const XML_Char *prefix, const XML_Char *ns) {
    const std::string_view uri = ns == nullptr ? std::string_view() : ns;
    if (uri.size() > kLongestNamespace)
      throw RpcError({.type = "rpc",
                      .tag = "too-big",
                      .message = "the name of a namespace is longer than " +
                                 std::to_string(kLongestNamespace) + " bytes"});
    prefixes_[prefix == nullptr ? "" : prefix].push_back(kept(uri));
  }

  void end_declaration(const XML_Char *prefix) { prefixes_[prefix == nullptr ? "" : prefix].pop_back(); }

  void open(const XML_Char *text, const XML_Char **attributes) {
    auto *node = allocate<XmlNode>(1).data();
    const auto name = name_of(text);
    node->name = kept(name.local);
    node->ns = kept_ns(name.ns, last_ns_);
    std::size_t count = 0;
    while (attributes[2 * count] != nullptr) ++count;
    const auto kept_attributes = allocate<XmlAttribute>(count);
    for (std::size_t at = 0; at < count; ++at) {
      const auto own = name_of(attributes[2 * at]);
      auto &attribute = kept_attributes[at];
      attribute = {kept(own.prefix), kept_ns(own.ns, last_attribute_ns_), kept(own.local),
                   kept(attributes[2 * at + 1])};
      // What needs no declaration keeps its prefix in the name.
      if (own.ns == kXmlNs) attribute = {{}, {}, kept("xml:" + std::string(own.local)), attribute.value};
    }
    node->attributes = kept_attributes;

    if (open_.empty()) {
      document_.root_ = node;
    } else {
      take_text();
      auto &parent = open_.back();
      (parent.last_child == nullptr ? parent.node->first_child : parent.last_child->next) = node;
      parent.last_child = node;
    }
    open_.push_back({node});
  }

  void close() {
    take_text();
    open_.pop_back();
  }

  /// What was read since the last tag, into the element that is open.
  void take_text() {
    if (text_.empty()) return;
    const auto &element = open_.back();
    const auto value = trimmed(text_);
    if (!value.empty() && element.last_child == nullptr) {
      element.node->text = kept(text_);
      const auto colon = value.find(':');
      if (colon != std::string_view::npos)
        element.node->text_ns = declared(value.substr(0, colon)).value_or("");
      if (value.front() == '/' && value.size() <= kLongestPath)
        element.node->text_prefixes = prefixes_of(value);
    } else if (!value.empty() && document_.mixed_ == nullptr) {
      document_.mixed_ = element.node;
    }
    text_.clear();
  }

  /// What the prefix stands for here.
  std::optional<std::string_view> declared(std::string_view prefix) const {
    const auto found = prefixes_.find(prefix);
    if (found == prefixes_.end() || found->second.empty()) return std::nullopt;
    return found->second.back();
  }

  std::span<const XmlPrefix> prefixes_of(std::string_view path) {
    std::vector<XmlPrefix> found;
    for (auto colon = path.find(':'); colon != std::string_view::npos; colon = path.find(':', colon + 1)) {
      const auto begin = path.find_last_of("/[", colon) + 1;
      const auto prefix = path.substr(begin, colon - begin);
      const auto ns = declared(prefix);
      if (ns && std::ranges::find(found, prefix, &XmlPrefix::prefix) == found.end())
        found.push_back({kept(prefix), *ns});
    }
    const auto all = allocate<XmlPrefix>(found.size());
    std::ranges::copy(found, all.begin());
    return all;
  }

  XmlDocument &document_;
  std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter> parser_;
  std::vector<Open> open_;
  std::string text_;
  std::string_view last_ns_;
  std::string_view last_attribute_ns_;
  std::map<std::string, std::vector<std::string_view>, std::less<>> prefixes_;  ///< the innermost last
  std::exception_ptr failure_;
};

XmlDocument::XmlDocument(std::string_view text) {
  constexpr std::string_view byte_order_mark = "\xef\xbb\xbf";
  check_limits(text);
  if (text.starts_with(byte_order_mark)) text.remove_prefix(byte_order_mark.size());
  const auto whole = trimmed(text);
  if (whole.empty()) malformed("the message is empty; it must be one element");
  // White space comes in front of declarations where messages end with a marker and a line feed.
  const auto lines = std::count(text.data(), whole.data(), '\n');
  Reader(*this).read(whole, static_cast<std::size_t>(lines));
}

XmlElement XmlDocument::root() const {
  if (mixed_ != nullptr) {
    const std::string name(mixed_->name);
    throw RpcError({.type = "protocol",
                    .tag = "bad-element",
                    .message = "element " + shortened(name) + " holds text beside elements",
                    .bad_element = name});
  }
  return XmlElement(root_);
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view white = " \t\r\n";
  const auto first = text.find_first_not_of(white);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(white) - first + 1);
}

void malformed(const std::string &reason) {
  throw RpcError({.type = "rpc", .tag = "malformed-message", .message = reason});
}

}  // namespace ymap
