// Judges elements by the rules, whatever model they are of.
#include "readable_part.hpp"

#include "xml_document.hpp"
#include "xml_writer.hpp"
#include "xpath.hpp"

namespace ymap::netconf {
namespace {

/// Every leaf that stands in front may be a key: rules name those that are.
PathStep step_of(const XmlElement &element) {
  PathStep step = {module_of_namespace(element.ns()), element.name()};
  for (const auto &child : element.children())
    if (child.children().empty()) step.keys.emplace_back(child.name(), child.text());
  return step;
}

class Copier {
 public:
  explicit Copier(const Rights &rights) : rights_(rights) {}

  void copy(const XmlElements &elements, std::string_view parent_ns) {
    for (const auto &element : elements) {
      path_.push_back(step_of(element));
      if (rights_.can_read(path_)) copy(element, parent_ns);
      path_.pop_back();
    }
  }
  std::string take() { return xml_.take(); }

 private:
  void copy(const XmlElement &element, std::string_view parent_ns) {
    XmlWriter::Attributes attributes;
    if (element.ns() != parent_ns) attributes.push_back({"xmlns", std::string(element.ns())});
    // The prefix of an identity.
    const auto text = element.text();
    if (!element.text_ns().empty())
      attributes.push_back(
          {"xmlns:" + std::string(text.substr(0, text.find(':'))), std::string(element.text_ns())});
    if (element.children().empty()) return xml_.leaf(element.name(), text, attributes);
    xml_.open(element.name(), attributes);
    copy(element.children(), element.ns());
    xml_.close();
  }

  const Rights &rights_;
  XmlWriter xml_{Layout::compact};
  DataPath path_;
};

}  // namespace

std::string readable_part(std::string xml, const Rights &rights) {
  const bool all =
      rights.can_read_all_of("ietf-netconf-monitoring") && rights.can_read_all_of("ietf-yang-library");
  if (all || xml.empty()) return xml;
  const XmlDocument document("<data>" + xml + "</data>");
  Copier copier(rights);
  copier.copy(document.root().children(), {});
  return copier.take();
}

}  // namespace ymap::netconf
