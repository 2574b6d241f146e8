// The table of the OpenConfig module, and values judged by it.
#include "schema.hpp"

#include <algorithm>
#include <charconv>
#include <system_error>

#include "built_in_schema.hpp"
#include "hash.hpp"

namespace ymap {
namespace {

bool is_printable_ascii(std::string_view text) {
  return std::ranges::all_of(text, [](char character) { return character >= ' ' && character <= '~'; });
}

bool is_number(std::string_view digits) {
  return !digits.empty() &&
         std::ranges::all_of(digits, [](char character) { return character >= '0' && character <= '9'; });
}

/// Of the common form, "-12.5": the value with all its fraction digits; nothing for all other forms, right or
/// wrong, and for values out of range.
std::optional<std::string> common_decimal(const SchemaNode &leaf, std::string_view value) {
  constexpr std::size_t surely_fits = 15;  // digits of an int64_t
  const bool negative = value.starts_with('-');
  auto whole = value.substr(negative ? 1 : 0);
  std::string_view fraction;
  if (const auto point = whole.find('.'); point != std::string_view::npos) {
    fraction = whole.substr(point + 1);
    whole = whole.substr(0, point);
    if (!is_number(fraction) || fraction.size() > leaf.fraction_digits) return std::nullopt;
  }
  if (!is_number(whole) || (whole.size() > 1 && whole.front() == '0')) return std::nullopt;
  if (whole.size() + leaf.fraction_digits > surely_fits) return std::nullopt;

  std::string digits =
      std::string(whole).append(fraction).append(leaf.fraction_digits - fraction.size(), '0');
  int64_t scaled = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), scaled);
  if (negative && scaled == 0) return std::nullopt;
  if (negative) scaled = -scaled;
  if (scaled < leaf.least || scaled > leaf.most) return std::nullopt;
  return std::string(negative ? "-" : "").append(digits.insert(whole.size(), "."));
}

/// Prefixes have no blanks in front of them.
bool is_name_character(char character) {
  return character > ' ';
}

/// As the plug-in writes it, of the values that the table alone can tell to hold.
std::optional<std::string> common_value(const SchemaNode &leaf, std::string_view value,
                                        std::optional<std::string_view> prefix_ns, std::string_view own_ns) {
  constexpr std::size_t most_digits = 19;  // that an unsigned integer of 64 bits always has room for
  switch (leaf.type) {
    case SchemaNode::Type::text:
      if (is_printable_ascii(value)) return std::string(value);
      break;
    case SchemaNode::Type::decimal:
      return common_decimal(leaf, value);
    case SchemaNode::Type::unsigned_integer:
      if (is_number(value) && value.size() <= most_digits && (value.size() == 1 || value.front() != '0'))
        return std::string(value);
      break;
    case SchemaNode::Type::identity:
      if (const auto colon = value.find(':');
          colon != std::string_view::npos && prefix_ns == own_ns && is_name_character(value.front()))
        value.remove_prefix(colon + 1);
      [[fallthrough]];
    case SchemaNode::Type::boolean:
      if (std::ranges::find(leaf.words, value) != leaf.words.end()) return std::string(value);
      break;
    case SchemaNode::Type::other:
      break;
  }
  return std::nullopt;
}

/// The same leaf in libyang.
const lysc_node *compiled(const SchemaNode &node, const CompiledSchema &yang) {
  const auto *parent = node.parent == nullptr ? nullptr : compiled(*node.parent, yang);
  return libyang::find_child(parent, yang.module(), node.name);
}

}  // namespace

Schema::Schema(const std::filesystem::path &models, const std::string &module, Companions companions)
    : models_(models), module_(module), companions_(std::move(companions)), table_(kBuiltInSchema.table) {
  const auto text = companions_.folders(models_).text(module);
  if (module == table_.module && text && device::text_hash(*text) == kBuiltInSchema.text_hash) return;
  own_table_.emplace(yang().module());
  table_ = own_table_->table();
}

const CompiledSchema &Schema::yang() const {
  if (!yang_) yang_.emplace(models_, std::vector{module_}, companions_);
  return *yang_;
}

const SchemaNode *Schema::child(const SchemaNode *parent, std::string_view name) const {
  for (const auto &node : children(parent))
    if (node.name == name) return &node;
  return nullptr;
}

CheckedValue Schema::check_value(const SchemaNode *leaf, std::string_view value,
                                 std::optional<std::string_view> prefix_ns) const {
  // What is a value's end to libyang; XML cannot have it, JSON can.
  if (value.find('\0') != std::string_view::npos) return {std::nullopt, "The value holds a zero byte.", {}};
  if (auto text = common_value(*leaf, value, prefix_ns, ns())) return {std::move(text), {}, {}};
  return ymap::check_value(compiled(*leaf, yang()), value, prefix_ns);
}

std::string step(const std::string &path, std::string_view module, std::string_view name) {
  std::string longer = path + "/";
  if (path.empty()) longer.append(module).append(":");
  return longer.append(name);
}

std::string with_key(const std::string &path, std::string_view key, std::string_view value) {
  const char quote = value.find('\'') == std::string_view::npos ? '\'' : '"';
  std::string longer = path + "[";
  longer.append(key).append("=") += quote;
  longer.append(value) += quote;
  return longer + "]";
}

}  // namespace ymap
