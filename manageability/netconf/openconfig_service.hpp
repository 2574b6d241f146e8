/// \file
/// The OpenConfig model as a server's data.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>

#include "data_service.hpp"
#include "session.hpp"

namespace ymap::netconf {

class OpenConfigService : public DataService {
 public:
  /// `requests` must outlive the object. `act_for` tells its device whose requests it runs, 0 for nobody's.
  OpenConfigService(Session &requests, std::function<void(uint32_t session)> act_for)
      : requests_(requests), act_for_(std::move(act_for)) {}

  DataAction parse(const XmlElement &operation, const std::string &path) override;
  void act_for(SessionControl &session, const Requester &who) override {
    who_ = &who;
    if (act_for_) act_for_(session.id());
  }
  Features features() const override;
  void settle() override { requests_.settle(); }
  void end_session() override;
  Guard &guard() override { return requests_.guard(); }
  bool judges_requests() const override { return true; }

 private:
  Session &requests_;
  const Requester *who_ = nullptr;
  std::function<void(uint32_t session)> act_for_;
};

}  // namespace ymap::netconf
