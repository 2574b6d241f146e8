/// \file
/// OpenConfig data in XML and JSON.
#pragma once

#include <string>
#include <string_view>

#include "device.hpp"
#include "openconfig_answer.hpp"
#include "xml_writer.hpp"

struct lyd_node;

namespace ymap {

/// Of a leaf (RFC 7950, section 9): a decimal without needless zeros.
std::string_view canonical_value(const DataNode &leaf);

/// Elements in canonical form (RFC 7950, section 9): decimals without needless zeros, identities with a
/// prefix that is declared beside them.
void write_data(const Schema &schema, const Data &data, XmlWriter &xml);
/// The same as a text of its own; the empty text for no data.
std::string xml_of(const Schema &schema, const Data &data, Layout layout = Layout::indented);

/// As libyang prints it (RFC 7951); the empty text for no data.
std::string json_of(const Schema &schema, const Data &data);

/// The data in libyang, not validated. Must not outlive the schema.
device::Tree libyang_data(const Schema &schema, const Data &data);

/// libyang's data and its siblings in compact XML; the empty text for no data.
std::string print_data(const lyd_node *data);

}  // namespace ymap
