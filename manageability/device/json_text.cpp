// libyang's data as text.
#include "json_text.hpp"

#include <cstring>

namespace device {

namespace {

bool is_array(const lyd_node *node) {
  return (node->schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
}

/// RFC 7951, section 6.
bool is_bare(LY_DATA_TYPE type) {
  switch (type) {
    case LY_TYPE_INT8:
    case LY_TYPE_INT16:
    case LY_TYPE_INT32:
    case LY_TYPE_UINT8:
    case LY_TYPE_UINT16:
    case LY_TYPE_UINT32:
    case LY_TYPE_BOOL:
      return true;
    default:
      return false;
  }
}

}  // namespace

void JsonText::object(const lyd_node *first, const lyd_node *parent, int level) {
  out_ += '{';
  for (const lyd_node *node = first; node != nullptr;) {
    if (node != first) out_ += ',';
    line(level + 1);
    member(node, parent, level + 1);
    const lysc_node *schema = node->schema;
    const bool array = is_array(node);
    do node = node->next;
    while (array && node != nullptr && node->schema == schema);
  }
  line(level);
  out_ += '}';
}

void JsonText::entry(const lyd_node *entry, int level) {
  out_.append(2 * static_cast<size_t>(level), ' ');
  if (entry->schema->nodetype == LYS_LEAFLIST)
    value(entry);
  else
    object(lyd_child(entry), entry, level);
}

void JsonText::member(const lyd_node *node, const lyd_node *parent, int level) {
  const lysc_node *schema = node->schema;
  out_ += '"';
  if (parent == nullptr || parent->schema->module != schema->module)
    out_.append(schema->module->name).append(":");
  out_.append(schema->name).append("\": ");
  if (schema->nodetype == LYS_CONTAINER) return object(lyd_child(node), node, level);
  if (!is_array(node)) return value(node);
  out_ += "[\n";
  if (!hook_ || !hook_(node, level + 1)) {
    for (const lyd_node *one = node; one != nullptr && one->schema == schema; one = one->next) {
      if (one != node) out_ += ",\n";
      entry(one, level + 1);
    }
  }
  line(level);
  out_ += ']';
}

void JsonText::value(const lyd_node *leaf) {
  const auto *term = reinterpret_cast<const lyd_node_term *>(leaf);
  const lysc_type *type = term->value.realtype;
  if (type->basetype == LY_TYPE_UNION) type = term->value.subvalue->value.realtype;
  if (type->basetype == LY_TYPE_EMPTY)
    out_ += "[null]";
  else if (is_bare(type->basetype))
    out_ += lyd_get_value(leaf);
  else
    quoted(lyd_get_value(leaf));
}

/// YANG's strings hold no control characters but these.
void JsonText::quoted(const char *text) {
  out_ += '"';
  while (*text != '\0') {
    const size_t plain = std::strcspn(text, "\"\\\t\n\r");
    out_.append(text, plain);
    text += plain;
    if (*text == '\0') break;
    switch (*text) {
      case '\t':
        out_ += "\\t";
        break;
      case '\n':
        out_ += "\\n";
        break;
      case '\r':
        out_ += "\\r";
        break;
      default:
        out_.append("\\").append(1, *text);
    }
    ++text;
  }
  out_ += '"';
}

}  // namespace device
