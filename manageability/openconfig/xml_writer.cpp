// XML out, laid out and escaped.
#include "xml_writer.hpp"

#include <algorithm>

namespace ymap {
namespace {

/// In an attribute's value white space other than blanks would be read as blanks (XML 1.0, section 3.3.3).
void escape(std::string_view text, bool is_attribute, std::string &out) {
  for (const char character : text) {
    switch (character) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += is_attribute ? "&quot;" : "\"";
        break;
      // As it stands a parser would read it as a line feed.
      case '\r':
        out += "&#13;";
        break;
      case '\n':
        out += is_attribute ? "&#10;" : "\n";
        break;
      case '\t':
        out += is_attribute ? "&#9;" : "\t";
        break;
      default:
        out += character;
    }
  }
}

}  // namespace

void XmlWriter::begin_line() {
  if (layout_ == Layout::indented) text_.append(2 * open_.size(), ' ');
}

void XmlWriter::end_line() {
  if (layout_ == Layout::indented) text_ += '\n';
}

void XmlWriter::start_tag(std::string_view name, const Attributes &attributes) {
  begin_line();
  text_.append("<").append(name);
  for (const auto &[attribute, value] : attributes) {
    text_.append(" ").append(attribute).append("=\"");
    escape(value, true, text_);
    text_ += '"';
  }
}

void XmlWriter::open(std::string_view name, const Attributes &attributes) {
  start_tag(name, attributes);
  text_ += '>';
  end_line();
  open_.emplace_back(name);
}

void XmlWriter::close() {
  const auto name = open_.back();
  open_.pop_back();
  begin_line();
  text_.append("</").append(name) += '>';
  end_line();
}

void XmlWriter::leaf(std::string_view name, std::string_view text, const Attributes &attributes) {
  start_tag(name, attributes);
  if (text.empty()) {
    text_ += "/>";
  } else {
    text_ += '>';
    escape(text, false, text_);
    text_.append("</").append(name) += '>';
  }
  end_line();
}

void XmlWriter::raw(std::string_view xml) {
  if (layout_ == Layout::compact) {
    text_ += xml;
    return;
  }
  while (!xml.empty()) {
    const auto line = xml.substr(0, xml.find('\n'));
    begin_line();
    text_ += line;
    end_line();
    xml.remove_prefix(std::min(line.size() + 1, xml.size()));
  }
}

}  // namespace ymap
