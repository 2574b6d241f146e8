// XML out, indented and escaped.
#include "xml_writer.hpp"

#include <algorithm>

namespace ymap {
namespace {

void escape(std::string_view text, std::string &out) {
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
        out += "&quot;";
        break;
      // As it stands a parser would read it as a line feed.
      case '\r':
        out += "&#13;";
        break;
      default:
        out += character;
    }
  }
}

}  // namespace

void XmlWriter::start_tag(std::string_view name, const Attributes &attributes) {
  indent();
  text_.append("<").append(name);
  for (const auto &[attribute, value] : attributes) {
    text_.append(" ").append(attribute).append("=\"");
    escape(value, text_);
    text_ += '"';
  }
}

void XmlWriter::open(std::string_view name, const Attributes &attributes) {
  start_tag(name, attributes);
  text_ += ">\n";
  open_.emplace_back(name);
}

void XmlWriter::close() {
  const std::string name = open_.back();
  open_.pop_back();
  indent();
  text_.append("</").append(name).append(">\n");
}

void XmlWriter::leaf(std::string_view name, std::string_view text, const Attributes &attributes) {
  start_tag(name, attributes);
  if (text.empty()) {
    text_ += "/>\n";
    return;
  }
  text_ += '>';
  escape(text, text_);
  text_.append("</").append(name).append(">\n");
}

void XmlWriter::raw(std::string_view xml) {
  while (!xml.empty()) {
    const auto line = xml.substr(0, xml.find('\n'));
    indent();
    text_.append(line) += '\n';
    xml.remove_prefix(std::min(line.size() + 1, xml.size()));
  }
}

}  // namespace ymap
