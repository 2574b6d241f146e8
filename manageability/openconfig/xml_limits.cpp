// Counts tags, attributes and levels of a text.
#include "xml_limits.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

#include "rpc_error.hpp"
#include "xml_document.hpp"

namespace ymap {
namespace {

[[noreturn]] void too_big(const std::string &reason) {
  throw RpcError({.type = "rpc", .tag = "too-big", .message = reason});
}

/// A stretch of text in which tags are not tags.
struct Opaque {
  std::string_view begin, end;
};
constexpr std::array<Opaque, 3> kOpaque = {{{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}}};

class Limits {
 public:
  explicit Limits(std::string_view xml) : xml_(xml) {}

  void check() {
    while ((at_ = xml_.find('<', at_)) != std::string_view::npos) {
      const auto rest = xml_.substr(at_);
      const auto opaque =
          std::ranges::find_if(kOpaque, [&](const Opaque &row) { return rest.starts_with(row.begin); });
      // An unfinished construct ends the pass and is left for the parser to report.
      if (!(opaque != kOpaque.end() ? skip(*opaque) : take_tag())) break;
    }
  }

 private:
  bool skip(const Opaque &opaque) {
    const auto end = xml_.find(opaque.end, at_ + opaque.begin.size());
    at_ = end + opaque.end.size();
    return end != std::string_view::npos;
  }

  bool take_tag() {
    const bool is_end = xml_.substr(at_).starts_with("</");
    if (xml_.substr(at_).starts_with("<!"))
      malformed("a document type declaration is not allowed in a NETCONF message");
    const auto begin = at_;
    at_ = end_of_tag();
    if (at_ - begin > kLongestTag)
      too_big("a tag of the message is longer than " + std::to_string(kLongestTag) + " bytes");
    if (attributes_ > kMostAttributes)
      too_big("the message has more than " + std::to_string(kMostAttributes) + " attributes");
    if (at_ == xml_.size()) return false;
    if (is_end) {
      depth_ -= std::min<std::size_t>(depth_, 1);
    } else {
      if (++elements_ > kMostElements)
        too_big("the message has more than " + std::to_string(kMostElements) + " elements");
      if (xml_[at_ - 1] != '/' && ++depth_ > kDeepestElement)
        malformed("elements are nested deeper than " + std::to_string(kDeepestElement) + " levels");
    }
    return true;
  }

  /// The position of the '>' of the tag at `at_`, or of the end of all; counts its attributes on the way.
  /// Quoted values may hold anything.
  std::size_t end_of_tag() {
    for (auto at = at_ + 1; at < xml_.size(); ++at) {
      const char character = xml_[at];
      if (character == '>') return at;
      if (character == '=') ++attributes_;
      if (character != '"' && character != '\'') continue;
      at = xml_.find(character, at + 1);
      if (at == std::string_view::npos) break;
    }
    return xml_.size();
  }

  std::string_view xml_;
  std::size_t at_ = 0;
  std::size_t elements_ = 0;
  std::size_t attributes_ = 0;
  std::size_t depth_ = 0;
};

}  // namespace

void check_limits(std::string_view xml) {
  if (xml.size() > kLargestDocument)
    too_big("the message is larger than " + std::to_string(kLargestDocument >> 20U) + " MiB");
  const auto is_break = [](char character) {
    return character == '\n' || character == '\r' || character == ']';
  };
  if (xml.size() > kMostBreaks &&
      static_cast<std::size_t>(std::ranges::count_if(xml, is_break)) > kMostBreaks)
    too_big("the message has more than " + std::to_string(kMostBreaks) + " line breaks and brackets");
  if (xml.find('\0') != std::string_view::npos) malformed("the message contains a NUL character");
  Limits(xml).check();
}

}  // namespace ymap
