// From a server's XML to answers and faults.
#include "client_reply.hpp"

#include <charconv>
#include <map>

#include "datatree.hpp"
#include "openconfig_answer.hpp"
#include "rpc_error.hpp"
#include "server_channel.hpp"
#include "xpath.hpp"
#include "yang.hpp"

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

/// One <rpc-error>, and whether it is but a warning.
struct ReadError {
  Fault fault;
  bool warning = false;
};

/// The session that holds a lock, where an <error-info> tells one.
uint32_t holder(const XmlElement &info) {
  uint32_t id = 0;
  for (const auto &part : info.children()) {
    const auto text = trimmed(part.text());
    if (part.name() == "session-id") std::from_chars(text.data(), text.data() + text.size(), id);
  }
  return id;
}

ReadError read_error(const XmlElement &element, const PathReader &read_path) {
  ReadError error;
  const std::map<std::string_view, std::string *> texts = {{"error-type", &error.fault.type},
                                                           {"error-tag", &error.fault.tag},
                                                           {"error-app-tag", &error.fault.app_tag},
                                                           {"error-message", &error.fault.message}};
  for (const auto &part : element.children()) {
    const auto text = texts.find(part.name());
    if (text != texts.end()) *text->second = trimmed(part.text());
    if (part.name() == "error-path") error.fault.path = read_path(trimmed(part.text()));
    if (part.name() == "error-info") {
      error.fault.session_id = holder(part);
      for (const auto &info : part.children())
        if (info.name() == "bad-element") error.fault.bad_element = trimmed(info.text());
    }
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
  if (!given) {
    // So it may be where the server could not read that much of the request.
    std::vector<std::string> words;
    const auto fault =
        read_errors(reply.children(), words, [](std::string_view path) { return std::string(path); });
    bad_reply("has no message-id; the request had \"" + expected + "\"" +
              (fault ? "; it says " + in_words(*fault) : ""));
  }
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

std::optional<XmlElement> data_of(const XmlElements &reply) {
  for (const auto &part : reply)
    if (part.name() == "data") return part;
  return std::nullopt;
}

std::optional<Fault> read_errors(const XmlElements &reply, std::vector<std::string> &warnings,
                                 const PathReader &read_path) {
  std::optional<Fault> fault;
  for (const auto &element : reply) {
    if (element.name() != "rpc-error") continue;
    const auto error = read_error(element, read_path);
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

PathReader openconfig_paths(const Schema &schema) {
  return [&schema](std::string_view xpath) {
    return instance_path(xpath, [&](std::string_view prefix) {
      const bool own = prefix == schema.prefix() || prefix == schema.module_name();
      return std::string(own ? schema.module_name() : std::string_view());
    });
  };
}

std::string native_path(std::string_view xpath) {
  return instance_path(xpath, [](std::string_view prefix) {
    for (const auto &module : device::kNativeModules)
      if (prefix == module.prefix || prefix == module.name) return std::string(module.name);
    return std::string();
  });
}

}  // namespace ymap::netconf
