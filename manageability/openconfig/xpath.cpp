// Prefixes and modules of the names on paths.
#include "xpath.hpp"

#include <algorithm>
#include <array>
#include <optional>

#include "access_rules.hpp"
#include "rpc_parameters.hpp"
#include "yang.hpp"
#include "ymap_types.h"

namespace ymap {
namespace {

/// Beside those of the protocol and of the device.
constexpr std::array<ProtocolModule, 3> kOtherModules = {{
    {"openconfig-optical-amplifier", "oc-opt-amp", YMAP_NS_OPENCONFIG},
    {kAccessModule, "nacm", kAccessNs},
    {"ietf-yang-library", "yanglib", "urn:ietf:params:xml:ns:yang:ietf-yang-library"},
}};

/// The first module that has this name, or namespace.
template <typename Member>
std::optional<ProtocolModule> find_module(std::string_view text, Member member) {
  const auto *other = std::ranges::find(kOtherModules, text, member);
  if (other != kOtherModules.end()) return *other;
  const auto *protocol = std::ranges::find(kProtocolModules, text, member);
  if (protocol != kProtocolModules.end()) return *protocol;
  for (const auto &native : device::kNativeModules) {
    const ProtocolModule module = {native.name, native.prefix, native.ns};
    if (module.*member == text) return module;
  }
  return std::nullopt;
}

/// Position after the predicate that begins at `begin`. Its quoted value may hold brackets, and in double
/// quotes quotes of both kinds: then it ends with the last one, as the model has no second list below.
std::size_t end_of_predicate(const std::string &path, std::size_t begin) {
  const auto quote = path.find_first_of("'\"", begin);
  if (quote == std::string::npos) return path.size();
  const std::string end = std::string(1, path[quote]) + "]";
  const auto found = path[quote] == '"' ? path.rfind(end) : path.find(end, quote + 1);
  return found == std::string::npos || found <= quote ? path.size() : found + end.size();
}

/// The predicate as XPath takes it, which knows no escapes in a literal.
std::string xpath_predicate(std::string_view predicate) {
  const auto first = predicate.find('"');
  const auto last = predicate.rfind('"');
  if (predicate.find('\'') == std::string_view::npos || first == last) return std::string(predicate);
  const auto value = predicate.substr(first + 1, last - first - 1);
  if (value.find('"') == std::string_view::npos) return std::string(predicate);
  std::string pieces;
  for (const char character : value)
    pieces += character == '"' ? std::string("\", '\"', \"") : std::string(1, character);
  return std::string(predicate.substr(0, first)) + "concat(\"" + pieces + "\")]";
}

void declare(const ProtocolModule &module, XmlWriter::Attributes &declared) {
  const auto name = "xmlns:" + std::string(module.prefix);
  if (std::ranges::find(declared, name, &XmlWriter::Attribute::name) == declared.end())
    declared.push_back({name, std::string(module.ns)});
}

}  // namespace

XPath xpath_of(const std::string &path) {
  std::optional<ProtocolModule> module;
  XPath xpath;
  for (std::size_t at = 0; at < path.size();) {
    if (path[at] == '[' && module) {
      const auto end = end_of_predicate(path, at);
      xpath.text.append("[")
          .append(module->prefix)
          .append(":")
          .append(xpath_predicate(path.substr(at + 1, end - at - 1)));
      at = end;
      continue;
    }
    const auto end = std::min(path.find_first_of("/[", at + 1), path.size());
    auto name = std::string_view(path).substr(at + 1, end - at - 1);
    if (const auto colon = name.find(':'); colon != std::string_view::npos) {
      module = find_module(name.substr(0, colon), &ProtocolModule::name);
      name.remove_prefix(colon + 1);
      if (module) declare(*module, xpath.declared);
    }
    if (!module) return {path, {}};
    xpath.text.append("/").append(module->prefix).append(":").append(name);
    at = end;
  }
  return xpath;
}

std::string instance_path(std::string_view xpath, const ModuleOf &module_of) {
  std::string path;
  std::string module;
  char quote = '\0';
  for (std::size_t at = 0; at < xpath.size(); ++at) {
    const char character = xpath[at];
    path += character;
    if (quote != '\0' || character == '\'' || character == '"') {
      if (quote == '\0')
        quote = character;
      else if (character == quote)
        quote = '\0';
      continue;
    }
    if (character != '/' && character != '[') continue;
    const auto name = xpath.substr(at + 1, xpath.find_first_of("/[]='\"", at + 1) - at - 1);
    const auto colon = name.find(':');
    if (colon == std::string_view::npos) {
      if (path.size() == 1) return std::string(xpath);
      continue;
    }
    const auto found = module_of(name.substr(0, colon));
    if (found.empty()) return std::string(xpath);
    // Keys are of their list's module.
    if (found != module) path.append(found).append(":");
    module = found;
    at += colon + 1;
  }
  return path;
}

std::string_view module_of_namespace(std::string_view ns) {
  const auto module = find_module(ns, &ProtocolModule::ns);
  return module ? module->name : std::string_view();
}

}  // namespace ymap
