// From a server's XML to answers and faults.
#include "client_reply.hpp"

#include <map>

#include "datatree.hpp"
#include "openconfig_answer.hpp"
#include "rpc_error.hpp"
#include "server_channel.hpp"

namespace ymap::netconf {
namespace {

class DataReader {
 public:
  explicit DataReader(const Schema &schema) : schema_(schema) {}

  Answer read(const XmlElements &elements) {
    yfw::Datatree tree;
    add(elements, nullptr, tree, tree.root(), {});
    auto answer = openconfig_answer(schema_, tree.root());
    validate(schema_, answer);
    answer.warnings.insert(answer.warnings.begin(), foreign_.begin(), foreign_.end());
    return answer;
  }

 private:
  void add(const XmlElements &elements, const SchemaNode *schema_parent, yfw::Datatree &tree,
           vidl_yfw_datatree *parent, const std::string &parent_path) {
    for (const auto &element : elements) {
      const auto path = step(parent_path, schema_.module_name(), element.name());
      if (element.ns() != schema_.ns()) {
        foreign_.push_back("left out " + path + ": the model has no element of namespace \"" +
                           std::string(element.ns()) + "\" there");
        continue;
      }
      const auto *node = schema_.child(schema_parent, element.name());
      if (node == nullptr || !node->is_leaf()) {
        add(element.children(), node, tree, tree.add(parent, element.name(), schema_.ns()), path);
        continue;
      }
      // Prefixes of identities mean something in the server's text only. A wrong value stays as it is, to be
      // named.
      const auto value = trimmed(element.text());
      const auto checked = schema_.check_value(node, value, element.text_ns());
      tree.add(parent, element.name(), schema_.ns(), checked.text ? std::string_view(*checked.text) : value);
    }
  }

  const Schema &schema_;
  std::vector<std::string> foreign_;
};

/// An XPath with a prefix before each name (RFC 6241, section 4.3) as the instance path that faults have
/// here: the module's name at the first step alone. What the prefixes stand for is
/// not looked up: servers write the module's own prefix or its name. A path of another module stays as it is.
std::string instance_path(const Schema &schema, std::string_view path) {
  const auto colon = path.find(':');
  if (!path.starts_with('/') || colon == std::string_view::npos) return std::string(path);
  const auto name = path.substr(1, colon - 1);
  const auto prefix = path.substr(1, colon);
  if (name != schema.prefix() && name != schema.module_name()) return std::string(path);
  std::string found = "/" + std::string(schema.module_name()) + ":";
  char quote = '\0';
  for (auto at = colon + 1; at < path.size(); ++at) {
    const char character = path[at];
    if (quote != '\0') {
      if (character == quote) quote = '\0';
    } else if (character == '\'' || character == '"') {
      quote = character;
    }
    found += character;
    const bool name_follows = quote == '\0' && (character == '/' || character == '[');
    if (name_follows && path.compare(at + 1, prefix.size(), prefix) == 0) at += prefix.size();
  }
  return found;
}

/// One <rpc-error>, and whether it is but a warning.
struct ReadError {
  Fault fault;
  bool warning = false;
};

ReadError read_error(const Schema &schema, const XmlElement &element) {
  ReadError error;
  const std::map<std::string_view, std::string *> texts = {{"error-type", &error.fault.type},
                                                           {"error-tag", &error.fault.tag},
                                                           {"error-app-tag", &error.fault.app_tag},
                                                           {"error-message", &error.fault.message}};
  for (const auto &part : element.children()) {
    const auto text = texts.find(part.name());
    if (text != texts.end()) *text->second = trimmed(part.text());
    if (part.name() == "error-path") error.fault.path = instance_path(schema, trimmed(part.text()));
    if (part.name() == "error-severity") error.warning = trimmed(part.text()) == "warning";
  }
  if (error.fault.tag.empty()) error.fault.tag = "operation-failed";
  if (error.fault.message.empty()) error.fault.message = "the server gives no reason";
  return error;
}

std::string in_words(const Fault &fault) {
  return fault.tag + (fault.path.empty() ? "" : " at " + fault.path) + ": " + fault.message;
}

[[noreturn]] void bad_reply(const std::string &what) {
  throw BadMessage("its <rpc-reply> " + what);
}

}  // namespace

void check_reply(const XmlElement &reply, uint64_t id) {
  const auto expected = std::to_string(id);
  std::optional<std::string> given;
  for (const auto &attribute : reply.attributes())
    if (attribute.ns.empty() && attribute.name == "message-id") given = std::string(attribute.value);
  if (!given) bad_reply("has no message-id; the request had \"" + expected + "\"");
  if (*given != expected)
    bad_reply("is for \"" + *given + "\"; the request had the message-id \"" + expected + "\"");

  if (!reply.text().empty()) bad_reply("holds text; it may hold elements only");
  const auto parts = reply.children();
  if (parts.empty()) bad_reply("is empty");
  std::string_view result;
  for (const auto &part : parts) {
    const bool known = part.ns() == kNetconfNs &&
                       (part.name() == "ok" || part.name() == "data" || part.name() == "rpc-error");
    if (!known)
      bad_reply("holds a <" + std::string(part.name()) + "> of namespace \"" + std::string(part.ns()) +
                "\"; it may hold ok, data and rpc-error");
    if (!result.empty())
      bad_reply("holds <" + std::string(part.name()) + "> after <" + std::string(result) + ">");
    if (part.name() != "rpc-error") result = part.name();
  }
}

Answer read_data(const Schema &schema, const XmlElements &data) {
  return DataReader(schema).read(data);
}

std::optional<Fault> read_errors(const Schema &schema, const XmlElements &reply,
                                 std::vector<std::string> &warnings) {
  std::optional<Fault> fault;
  for (const auto &element : reply) {
    if (element.name() != "rpc-error") continue;
    const auto error = read_error(schema, element);
    if (error.warning) {
      warnings.push_back(in_words(error.fault));
    } else if (fault) {
      fault->message += "; " + in_words(error.fault);
    } else {
      fault = error.fault;
    }
  }
  return fault;
}

}  // namespace ymap::netconf
