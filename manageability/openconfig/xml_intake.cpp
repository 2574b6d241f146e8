// One pass over the tags of a text, without a tree.
#include "xml_intake.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <vector>

#include "rpc_error.hpp"
#include "xml_document.hpp"

namespace ymap {
namespace {

constexpr std::string_view kWhite = " \t\r\n";

[[noreturn]] void too_big(const std::string &reason) {
  throw RpcError({.type = "rpc", .tag = "too-big", .message = reason});
}

/// A stretch of text in which tags are not tags.
struct Opaque {
  std::string_view begin, end;
  bool is_content;
};
constexpr std::array<Opaque, 3> kOpaque = {
    {{"<!--", "-->", false}, {"<![CDATA[", "]]>", true}, {"<?", "?>", false}}};

/// End of the tag that begins at `begin`: the position of its '>', or npos. Quoted values may hold '>'.
std::size_t end_of_tag(std::string_view xml, std::size_t begin) {
  char quote = '\0';
  for (std::size_t at = begin; at < xml.size(); ++at) {
    const char character = xml[at];
    if (quote != '\0') {
      if (character == quote) quote = '\0';
    } else if (character == '"' || character == '\'') {
      quote = character;
    } else if (character == '>') {
      return at;
    }
  }
  return std::string_view::npos;
}

/// Of a name's first character; libyang passes over blanks in front of it, which XML does not allow.
bool begins_name(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return std::isalpha(byte) != 0 || character == '_' || character == ':' || byte >= 0x80;
}

class Intake {
 public:
  explicit Intake(std::string_view xml) : xml_(xml) {}

  std::string run() {
    while ((at_ = xml_.find('<', at_)) != std::string_view::npos) {
      const auto rest = xml_.substr(at_);
      const auto opaque =
          std::ranges::find_if(kOpaque, [&](const Opaque &row) { return rest.starts_with(row.begin); });
      // An unfinished construct ends the pass and is left for the parser to report.
      if (!(opaque != kOpaque.end() ? skip(*opaque) : take_tag())) break;
    }
    copy_to(xml_.size());
    return std::move(prepared_);
  }

 private:
  /// An element that is not closed yet.
  struct Open {
    std::string_view name;
    bool has_child = false;
    std::optional<std::size_t> text = {};  ///< where in `prepared_` its text begins
  };

  void copy_to(std::size_t end) {
    prepared_.append(xml_.substr(copied_, end - copied_));
    copied_ = end;
  }

  bool skip(const Opaque &opaque) {
    check_text(at_);
    const auto end = xml_.find(opaque.end, at_ + opaque.begin.size());
    if (end == std::string_view::npos) return false;
    const auto next = end + opaque.end.size();
    if (opaque.is_content) {
      note_text(at_);
    } else {
      copy_to(at_);
      copied_ = next;
    }
    at_ = text_begin_ = next;
    return true;
  }

  bool take_tag() {
    if (xml_.substr(at_).starts_with("<!"))
      malformed("a document type declaration is not allowed in a NETCONF message");
    check_text(at_);
    const auto end = end_of_tag(xml_, at_);
    if (std::min(end, xml_.size()) - at_ > kLongestTag)
      too_big("a tag of the message is longer than " + std::to_string(kLongestTag) + " bytes");
    if (end == std::string_view::npos) return false;
    const bool is_end = xml_[at_ + 1] == '/';
    const char first = xml_[at_ + (is_end ? 2 : 1)];
    if (!begins_name(first)) refuse_here("a tag must begin with the name of its element");
    if (is_end) {
      if (!open_.empty()) open_.pop_back();
    } else {
      take_start_tag(end);
    }
    at_ = text_begin_ = end + 1;
    return true;
  }

  void take_start_tag(std::size_t end) {
    if (!open_.empty()) add_child(open_.back());
    if (++elements_ > kMostElements)
      too_big("the message has more than " + std::to_string(kMostElements) + " elements");
    const bool is_empty = xml_[end - 1] == '/';
    const auto stop = is_empty ? end - 1 : end;
    const auto end_of_name = std::min(xml_.substr(0, stop).find_first_of(kWhite, at_), stop);
    const bool says_default = declare_none(end_of_name, stop);
    if (elements_ == 1 && !says_default && end_of_name > at_ + 1) {
      copy_to(end_of_name);
      prepared_.append(" xmlns=\"").append(kNoNamespace).append("\"");
    }
    if (is_empty) return;
    if (open_.size() == kDeepestElement)
      malformed("elements are nested deeper than " + std::to_string(kDeepestElement) + " levels");
    open_.push_back({xml_.substr(at_ + 1, end_of_name - at_ - 1)});
  }

  /// Puts kNoNamespace where an attribute from `begin` on declares none as the default. Tells whether there
  /// is a declaration of the default.
  bool declare_none(std::size_t begin, std::size_t end) {
    const auto tags = xml_.substr(0, end);
    bool says_default = false;
    for (auto at = begin; (at = tags.find_first_not_of(kWhite, at)) < end;) {
      const auto equals = tags.find('=', at);
      const auto open = equals == std::string_view::npos ? equals : tags.find_first_of("'\"", equals);
      const auto close = open == std::string_view::npos ? open : tags.find(tags[open], open + 1);
      if (close >= end) break;
      const auto name = tags.substr(at, std::min(tags.find_first_of(kWhite, at), equals) - at);
      if (kWhite.find(tags[at - 1]) == std::string_view::npos)
        refuse_here("there must be a blank in front of attribute " + std::string(name));
      const bool is_empty = close == open + 1;
      if (name.starts_with("xmlns:") && is_empty)
        malformed("prefix " + std::string(name.substr(6)) +
                  " is declared for no namespace; only the default may be none");
      if (name == "xmlns") {
        says_default = true;
        if (is_empty) {
          copy_to(close);
          prepared_.append(kNoNamespace);
        }
      }
      at = close + 1;
    }
    return says_default;
  }

  [[noreturn]] void refuse_here(const std::string &reason) const {
    const auto line = 1 + std::ranges::count(xml_.substr(0, at_), '\n');
    not_well_formed(reason + ". Line number " + std::to_string(line) + ".");
  }

  /// The text since the last tag, up to `end`.
  void check_text(std::size_t end) {
    const auto text = xml_.substr(text_begin_, end - text_begin_);
    if (text.find("]]>") != std::string_view::npos) refuse_here("\"]]>\" must not stand in a text");
    if (!trimmed(text).empty()) note_text(text_begin_);
  }

  void note_text(std::size_t begin) {
    if (open_.empty()) return;
    auto &element = open_.back();
    if (element.has_child) refuse_mixed_content(element);
    if (element.text) return;
    copy_to(begin);
    element.text = prepared_.size();
  }

  void add_child(Open &parent) {
    parent.has_child = true;
    if (!parent.text) return;
    copy_to(at_);
    prepared_.insert(*parent.text, std::string("<text xmlns=\"").append(kLeadingText).append("\">"));
    prepared_.append("</text>");
    parent.text.reset();
  }

  [[noreturn]] static void refuse_mixed_content(const Open &element) {
    const std::string name(element.name.substr(element.name.find(':') + 1));
    throw RpcError({.type = "protocol",
                    .tag = "bad-element",
                    .message = "element " + name + " holds text beside elements",
                    .bad_element = name});
  }

  std::string_view xml_;
  std::string prepared_;
  std::size_t at_ = 0;
  std::size_t copied_ = 0;      ///< up to here `xml_` is in `prepared_`, or left out of it
  std::size_t text_begin_ = 0;  ///< behind the last tag
  std::size_t elements_ = 0;
  std::vector<Open> open_;
};

}  // namespace

void malformed(const std::string &reason) {
  throw RpcError({.type = "rpc", .tag = "malformed-message", .message = reason});
}

void not_well_formed(const std::string &reason) {
  malformed("not well-formed XML: " + reason);
}

std::string prepared_xml(std::string_view xml) {
  if (xml.size() > kLargestDocument)
    too_big("the message is larger than " + std::to_string(kLargestDocument >> 20U) + " MiB");
  if (xml.find('\0') != std::string_view::npos) malformed("the message contains a NUL character");
  return Intake(xml).run();
}

}  // namespace ymap
