// Requests through the mapping, warnings to the log.
#include "openconfig_service.hpp"

#include <iostream>
#include <memory>

#include "printable.hpp"

namespace ymap::netconf {

DataAction OpenConfigService::parse(const XmlElement &operation, const std::string &path) {
  auto request = std::make_shared<const Request>(parse_operation(operation, path, requests_.schema()));
  return [request, this] {
    const auto answer = requests_.run(*who_, *request);
    for (const auto &warning : answer.warnings) std::cerr << "ymap: warning: " << printable(warning) << "\n";
    return content_of(requests_.schema(), *request, answer, Layout::compact);
  };
}

}  // namespace ymap::netconf
