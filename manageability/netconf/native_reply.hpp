/// \file
/// What a native NETCONF server answers, against what it was asked.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "datatree.hpp"
#include "device.hpp"
#include "xml_document.hpp"
#include "yang.hpp"

namespace ymap::netconf {

/// Gives out what `filter`, a native subtree filter, selects of `data`, the content of <data>; the rest is
/// left out. So is, with a warning each, what is broken: values that are none of their leaf's, entries
/// without their keys, leaves that stand twice, elements and texts in the wrong place. `schema` knows the
/// device's modules.
void read_native(const device::Schema &schema, const yfw::Datatree &filter, const XmlElements &data,
                 device::AnswerSink &sink, std::vector<std::string> &warnings);

/// The node of a native request that an instance path names (see native_path()); nullptr if it has none.
const vidl_yfw_datatree *find_node(const yfw::Datatree &request, std::string_view path);

/// The only node of that name; nullptr if there is none, or several.
const vidl_yfw_datatree *find_only(const yfw::Datatree &request, std::string_view name);

/// How many leaves of a native edit are not keys of its entries; `schema` as above.
std::size_t count_leaves(const device::Schema &schema, const yfw::Datatree &edit);

}  // namespace ymap::netconf
