/// \file
/// Instance paths in XML, where they are XPaths: every name has its prefix, for NETCONF has no default
/// namespace in them.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "xml_writer.hpp"

namespace ymap {

/// A text in XML, and the declarations of the prefixes in it.
struct XPath {
  std::string text;
  XmlWriter::Attributes declared;
};

/// Of an instance path, as faults have it; one with a module that nobody here knows stays as it is.
XPath xpath_of(const std::string &path);

/// The name of the module that a prefix stands for; empty if it is not known.
using ModuleOf = std::function<std::string(std::string_view prefix)>;

/// The other way. A path with other prefixes stays as it is.
std::string instance_path(std::string_view xpath, const ModuleOf &module_of);

/// The name of the module of a namespace; empty if nobody here knows it.
std::string_view module_of_namespace(std::string_view ns);

}  // namespace ymap
