/// \file
/// Who a connection is.
#pragma once

#include <grpcpp/server_context.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "passwords.hpp"
#include "target.hpp"

namespace ymap::telemetry {

/// Looked for in this order: user name and password in the metadata, where PAM judges them; the client's
/// certificate; the user that stands for all others.
class Identification {
 public:
  /// `pam_service` may be empty: then passwords are not read.
  Identification(const std::string &pam_service, bool has_certificates, std::string other_user);

  /// Of those who are nobody otherwise; empty: they are refused.
  void set_other_user(std::string user);

  /// Calls `done`, perhaps later and on another thread, with a status that is not OK where there is nobody.
  using Done = std::function<void(const grpc::Status &status, const Caller &caller)>;
  void identify(const grpc::ServerContextBase &context, const Done &done);

 private:
  std::unique_ptr<Passwords> passwords_;
  bool has_certificates_;
  std::mutex mutex_;
  std::string other_user_;
};

}  // namespace ymap::telemetry
