// Reads and reduces a server's hello.
#include "server_hello.hpp"

#include <algorithm>

#include "rpc_error.hpp"
#include "xml_writer.hpp"

namespace ymap::netconf {

bool ServerHello::offers(std::string_view capability) const {
  return std::ranges::any_of(capabilities, [&](const std::string &offered) {
    return offered.starts_with(capability) &&
           (offered.size() == capability.size() || offered[capability.size()] == '?');
  });
}

bool ServerHello::lists_module(const std::string &name) const {
  const auto parameter = "module=" + name;
  return std::ranges::any_of(capabilities, [&](const std::string &offered) {
    const auto at = offered.find(parameter);
    if (at == std::string::npos) return false;
    const auto end = at + parameter.size();
    return end == offered.size() || offered[end] == '&';
  });
}

ServerHello read_hello(const XmlElement &message) {
  if (message.name() != "hello" || message.ns() != kNetconfNs)
    throw UsageError("does not speak NETCONF: its first message is no hello");
  ServerHello hello;
  for (const auto &part : message.children()) {
    if (part.name() == "session-id") hello.session_id = trimmed(part.text());
    if (part.name() != "capabilities") continue;
    for (const auto &capability : part.children())
      hello.capabilities.emplace_back(trimmed(capability.text()));
  }
  return hello;
}

std::string bare_hello(const ServerHello &hello) {
  XmlWriter xml;
  xml.open("hello", {{"xmlns", std::string(kNetconfNs)}});
  xml.open("capabilities");
  for (const std::string base : {"urn:ietf:params:netconf:base:1.0", "urn:ietf:params:netconf:base:1.1"})
    if (hello.offers(base)) xml.leaf("capability", base);
  xml.close();
  xml.leaf("session-id", hello.session_id);
  xml.close();
  return xml.text();
}

}  // namespace ymap::netconf
