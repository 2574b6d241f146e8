// Reads and reduces a server's hello.
#include "server_hello.hpp"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include "framing.hpp"
#include "rpc_error.hpp"
#include "xml_document.hpp"
#include "xml_writer.hpp"

namespace ymap::netconf {
namespace {

bool readable(int source, std::chrono::steady_clock::time_point end) {
  while (true) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
    if (left <= 0) return false;
    pollfd waiting = {source, POLLIN, 0};
    const int count = poll(&waiting, 1, static_cast<int>(left));
    if (count > 0) return true;
    if (count == 0) return false;
    if (errno != EINTR) return true;  // read() will tell
  }
}

std::string read_message(int source, std::chrono::milliseconds patience) {
  const auto end = std::chrono::steady_clock::now() + patience;
  std::string text;
  // Byte by byte, as what follows is libnetconf2's to read.
  for (char byte = 0; !text.ends_with(kEndOfMessage);) {
    if (!readable(source, end)) throw UsageError(too_late(patience));
    const auto count = read(source, &byte, 1);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0 && text.empty())
      throw UsageError(
          "gives no NETCONF session (ssh -s HOST netconf ended); YMAP_SSH=\"ssh -i KEY\" names a key");
    if (count <= 0) throw UsageError("closed the connection in the middle of its hello");
    text += byte;
    if (text.size() > kLargestDocument) throw UsageError("does not speak NETCONF: its hello has no end");
  }
  return text.substr(0, text.size() - kEndOfMessage.size());
}

}  // namespace

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

ServerHello read_hello(int source, std::chrono::milliseconds patience) {
  const auto text = read_message(source, patience);
  ServerHello hello;
  try {
    const XmlDocument document(text);
    if (document.root().name() != "hello" || document.root().ns() != kNetconfNs)
      throw UsageError("does not speak NETCONF: its first message is no hello");
    for (const auto &part : document.root().children()) {
      if (part.name() == "session-id") hello.session_id = trimmed(part.text());
      if (part.name() != "capabilities") continue;
      for (const auto &capability : part.children())
        hello.capabilities.emplace_back(trimmed(capability.text()));
    }
  } catch (const RpcError &error) {
    throw UsageError("does not speak NETCONF: " + error.fault().message);
  }
  return hello;
}

std::string too_late(std::chrono::milliseconds patience) {
  std::array<char, 32> seconds = {};
  std::snprintf(seconds.data(), seconds.size(), "%g", std::chrono::duration<double>(patience).count());
  return std::string("does not answer within ") + seconds.data() + " seconds; --timeout SECONDS waits longer";
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
  return xml.text() + std::string(kEndOfMessage);
}

}  // namespace ymap::netconf
