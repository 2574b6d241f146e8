/// \file
/// The emulated device's own models as a server's data.
#pragma once

#include <filesystem>

#include "data_service.hpp"
#include "device.hpp"

namespace ymap::netconf {

/// Serves running, and with a candidate datastore that too: one for each session, of which one at a time may
/// have the lock.
class NativeService : public DataService {
 public:
  /// Throws device::FolderError.
  NativeService(const std::filesystem::path &folder, const std::filesystem::path &models,
                Candidate candidate);

  DataAction parse(const XmlElement &operation, const std::string &path) override;
  Candidate candidate() const override { return candidate_; }
  void check_lockable(device::Datastore datastore) const override;
  void act_for(SessionControl &session) override;

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

  device::Device device_;
  Candidate candidate_;
  SessionControl *session_ = nullptr;
};

}  // namespace ymap::netconf
