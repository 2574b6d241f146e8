/// \file
/// What the device keeps in its own models, and the access rules beside that, in messages: XML to requests of
/// the device, and its answers to XML.
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "device.hpp"
#include "operation_parameters.hpp"
#include "xml_document.hpp"
#include "xml_writer.hpp"

namespace ymap {

/// The elements of a subtree filter (RFC 6241, section 6). Texts are the document's, which must live as long.
/// Throws RpcError.
std::vector<device::RequestNode> native_filter(const XmlElements &elements);

/// A filter that selects everything.
std::vector<device::RequestNode> native_filter_of_all();

/// The elements of an edit, the same way. What stands where and which values hold is for the device to say.
std::vector<device::RequestNode> native_edit(const XmlElements &elements, DefaultOperation operation);

/// Whether an element at the top is that of the access rules; in a filter the empty namespace is any.
bool is_of_rules(const XmlElement &element, bool is_filter);
/// The access rules in a filter or an edit, as above; others are passed over. `texts` owns what the messages
/// do not have as it is needed: paths by the names of modules.
std::vector<device::RequestNode> rules_filter(const XmlElements &elements, std::deque<std::string> &texts);
std::vector<device::RequestNode> rules_edit(const XmlElements &elements, DefaultOperation operation,
                                            std::deque<std::string> &texts);

/// Writes what the device gives out as compact XML. Names and namespaces must outlive the object.
class XmlAnswer : public device::AnswerSink {
 public:
  void open(const char *name, const char *ns) override;
  void leaf(const char *name, const char *ns, const char *value) override;
  void close() override;
  std::string take() { return xml_.take(); }

 protected:
  /// With more attributes.
  void write_leaf(const char *name, const std::string &value, const XmlWriter::Attributes &attributes) {
    xml_.leaf(name, value, attributes);
  }

 private:
  XmlWriter::Attributes declared(std::string_view ns) const;

  XmlWriter xml_{Layout::compact};
  std::vector<std::string_view> namespaces_;  ///< of the open elements
};

}  // namespace ymap
