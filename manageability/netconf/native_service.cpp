// Operations on the device's own data.
#include "native_service.hpp"

#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "native_parser.hpp"
#include "operation_parameters.hpp"
#include "rpc_error.hpp"
#include "schema.hpp"
#include "session.hpp"
#include "xpath.hpp"
#include "yang.hpp"

namespace ymap::netconf {
namespace {

using device::Datastore;
using device::RequestNode;

/// The last name of an instance path, without its module and keys; empty for none.
std::string last_name(const std::string &path) {
  std::string::size_type begin = 0;
  char quote = '\0';
  for (std::string::size_type at = 0; at < path.size(); ++at) {
    if (quote != '\0' ? path[at] == quote : path[at] == '\'' || path[at] == '"')
      quote = quote == '\0' ? path[at] : '\0';
    else if (quote == '\0' && path[at] == '/')
      begin = at + 1;
  }
  const auto step = path.substr(begin, path.find('[', begin) - begin);
  const auto colon = step.find(':');
  return colon == std::string::npos ? step : step.substr(colon + 1);
}

Fault fault_of(const device::EditError &error) {
  Fault fault = {.tag = error.error_tag, .message = error.what(), .path = error.path};
  if (fault.tag == "in-use") fault.type = "protocol";
  if (fault.tag.ends_with("-element") || fault.tag == "unknown-namespace")
    fault.bad_element = last_name(error.path);
  if (fault.tag == "unknown-namespace" && error.origin != nullptr)
    fault.bad_namespace = *static_cast<const std::string_view *>(error.origin);
  return fault;
}

/// Errors name the namespace of the element at fault.
void mark_origins(std::vector<RequestNode> &nodes) {
  for (auto &node : nodes) {
    node.origin = &node.ns;
    mark_origins(node.children);
  }
}

/// What `filter` is to select, as a request; everything if there is none.
std::vector<RequestNode> selection(const std::optional<XmlElement> &filter) {
  return filter ? native_filter(filter->children()) : native_filter_of_all();
}

std::shared_ptr<const std::vector<RequestNode>> edit_of(const XmlElement &config,
                                                        DefaultOperation operation) {
  auto request = std::make_shared<std::vector<RequestNode>>(native_edit(config.children(), operation));
  mark_origins(*request);
  return request;
}

ReplyContent elements(XmlAnswer &answer) {
  return {ReplyContent::Kind::elements, answer.take()};
}

}  // namespace

NativeService::NativeService(const std::filesystem::path &folder, const std::filesystem::path &models,
                             Candidate candidate, Record::Options record)
    : rules_(folder, models),
      guard_(rules_, record),
      device_(folder, models, std::nullopt, access_guest()),
      candidate_(candidate) {}

/// By the name where the namespace is left out.
DataPath path_of_top(const RequestNode &node) {
  for (const auto &top : device::kTopNodes)
    if (top.name == node.name && (node.ns.empty() || node.ns == top.ns))
      return {{module_of_namespace(top.ns), top.name}};
  return {{module_of_namespace(node.ns), node.name}};
}

std::vector<Change> NativeService::changes_of(const std::vector<RequestNode> &request) const {
  std::vector<Change> changes;
  for (const auto &node : request) {
    const auto path = path_of_top(node);
    changes.push_back({step({}, path.front().module, path.front().name)});
  }
  return changes;
}

void NativeService::check_writes(const std::vector<RequestNode> &request) {
  guard_.judge(*who_, guard_.rights(*who_), changes_of(request));
}

std::vector<RequestNode> NativeService::readable(std::vector<RequestNode> filter) {
  const auto &rights = guard_.rights(*who_);
  std::erase_if(filter, [&](const RequestNode &node) { return !rights.can_read(path_of_top(node)); });
  return filter;
}

void NativeService::act_for(SessionControl &session, const Requester &who) {
  who_ = &who;
  device_.act_for(session.id());
}

DataAction NativeService::parse(const XmlElement &operation, const std::string &path) {
  struct Row {
    std::string_view name;
    DataAction (NativeService::*parse)(const XmlElement &operation, const std::string &path);
  };
  static constexpr std::array<Row, 6> rows = {{
      {"get", &NativeService::parse_get},
      {"get-config", &NativeService::parse_get_config},
      {"edit-config", &NativeService::parse_edit_config},
      {"validate", &NativeService::parse_validate},
      {"commit", &NativeService::parse_commit},
      {"discard-changes", &NativeService::parse_discard},
  }};
  for (const auto &row : rows)
    if (row.name == operation.name()) return (this->*row.parse)(operation, path);
  not_supported("operation " + std::string(operation.name()) + " is not supported", path);
}

DataAction NativeService::parse_get(const XmlElement &operation, const std::string &path) {
  const Parameters parameters(operation, path, {"filter", "with-defaults"});
  check_with_defaults(parameters);
  return [this, filter = selection(subtree_filter(parameters))] {
    XmlAnswer answer;
    device_.read(readable(filter), answer);
    return elements(answer);
  };
}

DataAction NativeService::parse_get_config(const XmlElement &operation, const std::string &path) {
  const Parameters parameters(operation, path, {"source", "filter", "with-defaults"});
  const auto source = parameters.datastore("source", candidate_);
  check_with_defaults(parameters);
  return [this, source, filter = selection(subtree_filter(parameters))] {
    XmlAnswer answer;
    if (source == Datastore::candidate)
      device_.read_candidate(readable(filter), answer);
    else
      device_.read(readable(filter), answer, device::Device::Content::configuration);
    return elements(answer);
  };
}

template <typename Work>
DataAction NativeService::edit(Work work) {
  return [work = std::move(work)]() -> ReplyContent {
    try {
      work();
      return {};
    } catch (const device::EditError &error) {
      throw RpcError(fault_of(error));
    }
  };
}

DataAction NativeService::parse_edit_config(const XmlElement &operation, const std::string &path) {
  const EditParameters parameters(operation, path, candidate_);
  const auto request = edit_of(parameters.config, parameters.default_operation);
  return edit([this, request, target = parameters.target, test_only = parameters.test_only] {
    check_writes(*request);
    if (target == Datastore::running) {
      if (test_only) return device_.test(*request);
      device_.edit(*request);
      changes_ = changes_of(*request);
      return;
    }
    if (test_only) return device_.validate_candidate(*request);
    device_.edit_candidate(*request);
  });
}

DataAction NativeService::parse_validate(const XmlElement &operation, const std::string &path) {
  const ValidateParameters parameters(operation, path, candidate_);
  std::shared_ptr<const std::vector<RequestNode>> request;
  if (parameters.config) request = edit_of(*parameters.config, DefaultOperation::replace);
  return edit([this, request, source = parameters.source] {
    if (request) return device_.test(*request);
    if (source == Datastore::running) return device_.test({});
    device_.validate_candidate();
  });
}

DataAction NativeService::parse_commit(const XmlElement &operation, const std::string &path) {
  const Parameters none(operation, path, {});
  return edit([this] {
    const auto transaction = device_.transaction();
    std::vector<Change> changes;
    for (const auto &[name, ns] : device_.candidate_differences())
      changes.push_back({step({}, module_of_namespace(ns), name)});
    guard_.judge(*who_, guard_.rights(*who_), changes);
    device_.commit_candidate();
    changes_ = std::move(changes);
  });
}

DataAction NativeService::parse_discard(const XmlElement &operation, const std::string &path) {
  const Parameters none(operation, path, {});
  return edit([this] { device_.discard_candidate(); });
}

/// Whoever may only read leaves it to the others.
void NativeService::settle() {
  if (!device_.commit_is_overdue()) return;
  try {
    const auto taken = device_.take_back_overdue();
    if (taken.why == device::TakenBack::Why::not_yet || taken.why == device::TakenBack::Why::never_made)
      return;
    const auto &top = device::kTopNodes[1];
    note_taken_back(guard_, taken, {{step({}, module_of_namespace(top.ns), top.name)}});
  } catch (const device::FolderError &error) {
    if (!error.no_rights) throw;
  }
}

}  // namespace ymap::netconf
