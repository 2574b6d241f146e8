// OpenConfig data out.
#include "data_writer.hpp"

#include <cstdlib>
#include <memory>

#include "libyang_versions.hpp"

namespace ymap {
namespace {

std::string printed(const lyd_node *data, LYD_FORMAT format, uint32_t options) {
  if (data == nullptr) return {};
  char *text = nullptr;
  lyd_print_mem(&text, data, format, libyang::kPrintSiblings | options);
  const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
  return text == nullptr ? std::string() : std::string(text);
}

class DataWriter {
 public:
  DataWriter(const Schema &schema, XmlWriter &xml) : schema_(schema), xml_(xml) {}

  void write(const Data &siblings, bool is_top) {
    for (const auto &node : siblings) {
      if (node.schema->is_leaf()) {
        write_leaf(node);
        continue;
      }
      xml_.open(node.schema->name, is_top ? own_namespace("xmlns") : XmlWriter::Attributes{});
      write(node.children, false);
      xml_.close();
    }
  }

 private:
  XmlWriter::Attributes own_namespace(std::string name) const {
    return {{std::move(name), std::string(schema_.ns())}};
  }

  void write_leaf(const DataNode &leaf) {
    const auto name = leaf.schema->name;
    if (leaf.schema->type != SchemaNode::Type::identity) return xml_.leaf(name, canonical_value(leaf));
    const std::string prefix(schema_.prefix());
    xml_.leaf(name, prefix + ":" + leaf.value, own_namespace("xmlns:" + prefix));
  }

  const Schema &schema_;
  XmlWriter &xml_;
};

}  // namespace

std::string_view canonical_value(const DataNode &leaf) {
  std::string_view value = leaf.value;
  if (leaf.schema->fraction_digits == 0) return value;
  const auto point = value.find('.');
  while (value.ends_with('0') && value.size() > point + 2) value.remove_suffix(1);
  return value;
}

void write_data(const Schema &schema, const Data &data, XmlWriter &xml) {
  DataWriter(schema, xml).write(data, true);
}

std::string xml_of(const Schema &schema, const Data &data, Layout layout) {
  XmlWriter xml(layout);
  write_data(schema, data, xml);
  return xml.take();
}

device::Tree libyang_data(const Schema &schema, const Data &data) {
  lyd_node *tree = nullptr;
  if (!data.empty())
    lyd_parse_data_mem(schema.yang().context(), xml_of(schema, data).c_str(), LYD_XML, LYD_PARSE_ONLY, 0,
                       &tree);
  return device::Tree(tree);
}

std::string json_of(const Schema &schema, const Data &data) {
  return printed(libyang_data(schema, data).get(), LYD_JSON, 0);
}

std::string print_data(const lyd_node *data) {
  return printed(data, LYD_XML, LYD_PRINT_SHRINK);
}

}  // namespace ymap
