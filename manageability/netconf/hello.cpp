// Reads and writes hellos.
#include "hello.hpp"

#include <algorithm>

#include "rpc_error.hpp"
#include "xml_writer.hpp"

namespace ymap::netconf {
namespace {

constexpr std::string_view kBase10 = "urn:ietf:params:netconf:base:1.0";
constexpr std::string_view kBase11 = "urn:ietf:params:netconf:base:1.1";

}  // namespace

bool Hello::offers(std::string_view capability) const {
  return std::ranges::any_of(capabilities, [&](const std::string &offered) {
    return offered.starts_with(capability) &&
           (offered.size() == capability.size() || offered[capability.size()] == '?');
  });
}

bool Hello::lists_module(const std::string &name) const {
  const auto parameter = "module=" + name;
  return std::ranges::any_of(capabilities, [&](const std::string &offered) {
    const auto at = offered.find(parameter);
    if (at == std::string::npos) return false;
    const auto end = at + parameter.size();
    return end == offered.size() || offered[end] == '&';
  });
}

Hello read_hello(const XmlElement &message) {
  if (message.name() != "hello" || message.ns() != kNetconfNs)
    throw BadHello("first message is a <" + std::string(message.name()) +
                   ">; it must be a <hello> of namespace " + std::string(kNetconfNs));
  Hello hello;
  for (const auto &part : message.children()) {
    const bool own = part.ns() == kNetconfNs;
    if (own && part.name() == "session-id") {
      hello.session_id = trimmed(part.text());
    } else if (own && part.name() == "capabilities") {
      for (const auto &capability : part.children())
        hello.capabilities.emplace_back(trimmed(capability.text()));
    } else if (hello.other.empty()) {
      hello.other = part.name();
    }
  }
  return hello;
}

Framing agreed_framing(const Hello &peer) {
  if (peer.offers(kBase11)) return Framing::chunked;
  if (peer.offers(kBase10)) return Framing::end_of_message;
  throw BadHello("<hello> offers neither base:1.0 nor base:1.1");
}

std::string write_hello(const std::vector<std::string> &capabilities, uint32_t session_id) {
  XmlWriter xml(Layout::compact);
  xml.open("hello", {{"xmlns", std::string(kNetconfNs)}});
  xml.open("capabilities");
  for (const auto &capability : capabilities) xml.leaf("capability", capability);
  xml.close();
  if (session_id != 0) xml.leaf("session-id", std::to_string(session_id));
  xml.close();
  return xml.take();
}

std::vector<std::string> base_capabilities() {
  return {std::string(kBase10), std::string(kBase11)};
}

}  // namespace ymap::netconf
