/// \file
/// The server's own data in XML, each value judged by its YANG type.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "xml_writer.hpp"

struct lys_module;
struct lysc_node;

namespace ymap::netconf {

/// Writes data of one module. Containers, list entries and leaves are named as in the module, and must be
/// written in its order.
class StateWriter {
 public:
  /// Begins below `parent`, at the top of the module if that is nullptr.
  StateWriter(const lys_module *module, const lysc_node *parent, XmlWriter &xml)
      : module_(module), open_{parent}, xml_(xml) {}

  void open(const char *name);
  void close();
  /// In canonical form; a value that is not of the leaf's type is left out: session records come from other
  /// processes.
  void leaf(const char *name, const std::string &value);
  void leaf(const char *name, uint64_t value) { leaf(name, std::to_string(value)); }

 private:
  const lys_module *module_;
  std::vector<const lysc_node *> open_;  ///< the innermost last
  XmlWriter &xml_;
};

}  // namespace ymap::netconf
