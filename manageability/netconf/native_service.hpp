/// \file
/// The emulated device's own models as a server's data.
#pragma once

#include <filesystem>

#include "data_service.hpp"
#include "device.hpp"

namespace ymap::netconf {

/// Serves running, and with a candidate datastore that too: one for each session, of which one at a time may
/// have the lock. The access rules are of the managed model; here they say of each node at the top whether a
/// user may read or write it, with all that is below.
class NativeService : public DataService {
 public:
  /// Throws device::FolderError.
  NativeService(const std::filesystem::path &folder, const std::filesystem::path &models,
                Candidate candidate);

  DataAction parse(const XmlElement &operation, const std::string &path) override;
  Candidate candidate() const override { return candidate_; }
  void check_lockable(device::Datastore datastore) const override;
  void act_for(SessionControl &session, const Requester &who) override;
  Guard &guard() override { return guard_; }

 private:
  DataAction parse_get(const XmlElement &operation, const std::string &path);
  DataAction parse_get_config(const XmlElement &operation, const std::string &path);
  DataAction parse_edit_config(const XmlElement &operation, const std::string &path);
  DataAction parse_validate(const XmlElement &operation, const std::string &path);
  DataAction parse_commit(const XmlElement &operation, const std::string &path);
  DataAction parse_discard(const XmlElement &operation, const std::string &path);

  /// Runs what may end in a device::EditError, which becomes an RpcError.
  template <typename Work>
  static DataAction edit(Work work);
  void check_candidate_not_locked() const;
  void check_writes(const std::vector<device::RequestNode> &request);
  std::vector<device::RequestNode> readable(std::vector<device::RequestNode> filter);

  FolderDevice rules_;  ///< of the same folder
  Guard guard_;
  device::Device device_;
  Candidate candidate_;
  SessionControl *session_ = nullptr;
  const Requester *who_ = nullptr;
};

}  // namespace ymap::netconf
