// Users from metadata, certificates and options.
#include "identity.hpp"

#include <grpc/grpc_security_constants.h>

#include <optional>
#include <string_view>
#include <utility>

namespace ymap::telemetry {
namespace {

std::string_view text(const grpc::string_ref &reference) {
  return {reference.data(), reference.size()};
}

/// "ipv4:192.0.2.1:50123", "ipv6:%5B2001:db8::1%5D:50123" and "unix:" without what tells connections apart.
std::string address_of(std::string_view peer) {
  const auto scheme = peer.substr(0, peer.find(':'));
  if (scheme != "ipv4" && scheme != "ipv6") return {};
  peer.remove_prefix(scheme.size() + 1);
  peer = peer.substr(0, peer.rfind(':'));
  constexpr std::string_view open = "%5B", close = "%5D";
  if (peer.starts_with(open)) peer.remove_prefix(open.size());
  if (peer.ends_with(close)) peer.remove_suffix(close.size());
  return std::string(peer);
}

/// The user's part of an e-mail address, else a DNS name, else the common name.
std::optional<std::string> user_of_certificate(const grpc::AuthContext &connection) {
  if (!connection.IsPeerAuthenticated()) return std::nullopt;
  for (const auto *property :
       {GRPC_PEER_EMAIL_PROPERTY_NAME, GRPC_PEER_DNS_PROPERTY_NAME, GRPC_X509_CN_PROPERTY_NAME}) {
    const auto values = connection.FindPropertyValues(property);
    if (values.empty()) continue;
    auto name = text(values.front());
    if (property == std::string_view(GRPC_PEER_EMAIL_PROPERTY_NAME)) name = name.substr(0, name.find('@'));
    if (!name.empty()) return std::string(name);
  }
  return std::nullopt;
}

std::optional<std::string> metadatum(const grpc::ServerContextBase &context, const char *name) {
  const auto &metadata = context.client_metadata();
  const auto found = metadata.find(name);
  return found == metadata.end() ? std::nullopt : std::optional(std::string(text(found->second)));
}

}  // namespace

Identification::Identification(const std::string &pam_service, bool has_certificates, std::string other_user)
    : passwords_(pam_service.empty() ? nullptr : std::make_unique<Passwords>(pam_service)),
      has_certificates_(has_certificates),
      other_user_(std::move(other_user)) {}

void Identification::set_other_user(std::string user) {
  const std::lock_guard lock(mutex_);
  other_user_ = std::move(user);
}

void Identification::identify(const grpc::ServerContextBase &context, const Done &done) {
  Caller caller = {.user = {}, .peer = address_of(context.peer())};
  const auto name = passwords_ ? metadatum(context, "username") : std::nullopt;
  if (name) {
    caller.user = *name;
    const auto password = metadatum(context, "password").value_or("");
    passwords_->judge(*name, password, caller.peer,
                      [done, caller](const grpc::Status &status) { done(status, caller); });
    return;
  }
  const auto connection = context.auth_context();
  if (auto user = has_certificates_ ? user_of_certificate(*connection) : std::nullopt) {
    caller.user = std::move(*user);
    return done(grpc::Status::OK, caller);
  }
  {
    const std::lock_guard lock(mutex_);
    caller.user = other_user_;
  }
  if (!caller.user.empty()) return done(grpc::Status::OK, caller);
  done({grpc::StatusCode::UNAUTHENTICATED, std::string("the request names no user: ") +
                                               (passwords_ ? "metadata username and password are missing"
                                                           : "the client's certificate has no name")},
       caller);
}

}  // namespace ymap::telemetry
