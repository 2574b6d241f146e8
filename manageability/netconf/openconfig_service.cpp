// Requests through the mapping, warnings to the log.
#include "openconfig_service.hpp"

#include <iostream>
#include <memory>

#include "operation_parameters.hpp"
#include "printable.hpp"
#include "protocol_modules.hpp"

namespace ymap::netconf {

DataAction OpenConfigService::parse(const XmlElement &operation, const std::string &path) {
  const auto name = operation.name();
  if (name == "commit")
    return [commit = parse_commit(operation, path), this] {
      requests_.commit(*who_, commit);
      return ReplyContent();
    };
  if (name == "cancel-commit")
    return [persist_id = parse_cancel_commit(operation, path), this] {
      requests_.cancel_commit(*who_, persist_id);
      return ReplyContent();
    };
  if (name == "discard-changes")
    return [none = Parameters(operation, path, {}), this] {
      requests_.discard_candidate(*who_);
      return ReplyContent();
    };
  auto request = std::make_shared<const Request>(
      parse_operation(operation, path, requests_.schema(), features().candidate));
  return [request, this] {
    const auto answer = requests_.run(*who_, *request);
    for (const auto &warning : answer.warnings) std::cerr << "ymap: warning: " << printable(warning) << "\n";
    return content_of(requests_.schema(), *request, answer, Layout::compact);
  };
}

Features OpenConfigService::features() const {
  return managed_features(requests_.device().near() != nullptr);
}

/// Its commit that waits goes with it.
void OpenConfigService::end_session() {
  if (act_for_) act_for_(0);
  try {
    requests_.settle();
  } catch (const std::exception &error) {
    std::cerr << "ymap: error: " << printable(error.what()) << "\n";
  }
}

}  // namespace ymap::netconf
