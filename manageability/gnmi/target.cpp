// Unary requests.
#include "target.hpp"

#include <libyang/libyang.h>

#include <iostream>

#include "get_request.hpp"
#include "printable.hpp"
#include "set_request.hpp"
#include "status.hpp"

namespace ymap::telemetry {
namespace {

/// What a collector that asks for one amplifier after another finds in one reading.
constexpr std::chrono::milliseconds kFreshEnough(100);
constexpr std::chrono::seconds kUserLifetime(10);
constexpr std::size_t kMostUsers = 1000;

constexpr const char *kVersion = "0.10.0";  ///< of gNMI

int64_t now() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

}  // namespace

const Requester &Target::requester(const Caller &caller) {
  const auto time = Clock::now();
  auto known = known_.find(caller.user);
  if (known == known_.end() || time - known->second.since > kUserLifetime) {
    if (known_.size() >= kMostUsers) known_.clear();
    known = known_.insert_or_assign(caller.user, Known{Requester::of_user(caller.user, "gnmi"), time}).first;
  }
  auto &who = known->second.who;
  who.peer = caller.peer;
  return who;
}

grpc::Status Target::capabilities(const ::gnmi::CapabilityRequest & /*request*/,
                                  ::gnmi::CapabilityResponse &response) const {
  const auto &schema = session_.schema();
  auto &model = *response.add_supported_models();
  model.set_name(std::string(schema.module_name()));
  if (const auto *organization = schema.yang().modules().front()->org) model.set_organization(organization);
  model.set_version(std::string(schema.revision()));
  for (const auto encoding : {::gnmi::JSON, ::gnmi::JSON_IETF, ::gnmi::PROTO})
    response.add_supported_encodings(encoding);
  response.set_gnmi_version(kVersion);
  return grpc::Status::OK;
}

grpc::Status Target::get(const Caller &caller, const ::gnmi::GetRequest &request,
                         ::gnmi::GetResponse &response) {
  try {
    const auto &who = requester(caller);
    session_.guard().run(who, {"get"}, [&](Outcome &) {
      const GetQuery query(session_.schema(), request);
      session_.settle();
      auto reading = readings_.read(query.amplifiers(), kFreshEnough, Clock::now());
      response = query.answer(*readable(session_.schema(), session_.guard().rights(who), std::move(reading)));
    });
    return grpc::Status::OK;
  } catch (const std::exception &error) {
    return status_of(error);
  }
}

grpc::Status Target::set(const Caller &caller, const ::gnmi::SetRequest &request,
                         ::gnmi::SetResponse &response) {
  try {
    const auto edit = edit_of(session_.schema(), request);
    for (const auto &warning : session_.run(requester(caller), edit).warnings)
      std::cerr << "ymap: warning: " << printable(warning) << "\n";
    readings_.forget();
    response = set_response(request, now());
    return grpc::Status::OK;
  } catch (const std::exception &error) {
    return status_of(error);
  }
}

}  // namespace ymap::telemetry
