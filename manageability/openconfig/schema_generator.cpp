// Writes the table of the OpenConfig module as C++, so that the tool need not compile the module at each
// start.
#include <exception>
#include <fstream>
#include <iostream>
#include <limits>
#include <string>
#include <vector>

#include "compiled_schema.hpp"
#include "hash.hpp"
#include "rpc_error.hpp"

namespace ymap {
namespace {

/// As a string literal; the modules' names and units hold neither quotes nor backslashes.
std::string literal(std::string_view text) {
  if (text.find_first_of("\"\\\n") != std::string_view::npos)
    throw UsageError("cannot write \"" + std::string(text) + "\" as a literal");
  return '"' + std::string(text) + '"';
}

/// All nodes, the children of each in a row.
struct Flat {
  explicit Flat(std::span<const SchemaNode> tops) {
    add(tops, -1);
    for (std::size_t at = 0; at < nodes.size(); ++at) {
      first_child.push_back(nodes.size());
      add(nodes[at]->children, static_cast<int>(at));
    }
  }
  void add(std::span<const SchemaNode> siblings, int parent) {
    for (const auto &node : siblings) {
      nodes.push_back(&node);
      parents.push_back(parent);
    }
  }

  std::vector<const SchemaNode *> nodes;
  std::vector<int> parents;  ///< index, -1 for none
  std::vector<std::size_t> first_child;
};

std::string number(int64_t value) {
  if (value == std::numeric_limits<int64_t>::min()) return "std::numeric_limits<int64_t>::min()";
  return std::to_string(value);
}

void write_node(const Flat &flat, std::size_t at, std::size_t first_word, std::ostream &out) {
  const auto &node = *flat.nodes[at];
  out << "    {.name = " << literal(node.name);
  if (!node.units.empty()) out << ", .units = " << literal(node.units);
  out << ", .kind = SchemaNode::Kind{" << static_cast<int>(node.kind) << "}, .is_config = " << node.is_config
      << ", .is_key = " << node.is_key << ", .type = SchemaNode::Type{" << static_cast<int>(node.type) << "}";
  if (node.fraction_digits > 0)
    out << ", .fraction_digits = " << int{node.fraction_digits} << ", .least = " << number(node.least)
        << ", .most = " << number(node.most);
  if (!node.words.empty()) out << ", .words = {kWords + " << first_word << ", " << node.words.size() << "}";
  if (flat.parents[at] >= 0) out << ", .parent = kNodes + " << flat.parents[at];
  if (!node.children.empty())
    out << ", .children = {kNodes + " << flat.first_child[at] << ", " << node.children.size() << "}";
  out << "},\n";
}

void write(const SchemaTable &table, std::string_view text, std::ostream &out) {
  const Flat flat(table.tops);
  out << "#include \"built_in_schema.hpp\"\n\nnamespace ymap {\nnamespace {\n\n"
         "constexpr std::string_view kWords[] = {\n    {},\n";
  for (const auto *node : flat.nodes)
    for (const auto word : node->words) out << "    " << literal(word) << ",\n";
  out << "};\n\nextern const SchemaNode kNodes[" << flat.nodes.size()
      << "];\nconstinit const SchemaNode kNodes[" << flat.nodes.size() << "] = {\n";
  std::size_t first_word = 1;
  for (std::size_t at = 0; at < flat.nodes.size(); ++at) {
    write_node(flat, at, first_word, out);
    first_word += flat.nodes[at]->words.size();
  }
  out << "};\n\n}  // namespace\n\nconstinit const BuiltInSchema kBuiltInSchema = {\n    "
      << device::text_hash(text) << "U,\n    {" << literal(table.module) << ", " << literal(table.ns) << ", "
      << literal(table.prefix) << ", " << literal(table.revision) << ", {kNodes, " << table.tops.size()
      << "}}};\n\n}  // namespace ymap\n";
}

void generate(const std::filesystem::path &models, const std::string &module, const char *file) {
  const CompiledSchema compiled(models, {module});
  const OwnedSchemaTable table(compiled.module());
  const auto text = Companions().folders(models).text(module);
  std::ofstream out(file);
  write(table.table(), text.value(), out);
  if (!out.flush()) throw UsageError(std::string(file) + " cannot be written");
}

}  // namespace
}  // namespace ymap

int main(int argc, char **argv) {
  if (argc != 4) {
    std::cerr << "usage: schema_generator FOLDER-OF-MODELS MODULE OUTPUT\n";
    return 2;
  }
  try {
    ymap::generate(argv[1], argv[2], argv[3]);
    return 0;
  } catch (const std::exception &error) {
    std::cerr << "schema_generator: " << error.what() << "\n";
    return 2;
  }
}
