/// \file
/// The emulated device's own models as a server's data.
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "data_service.hpp"
#include "device.hpp"

namespace ymap::netconf {

/// Serves running, and with a candidate datastore that too. The access rules are of the managed model; here
/// they say of each node at the top whether a user may read or write it, with all that is below.
class NativeService : public DataService {
 public:
  /// Throws device::FolderError.
  NativeService(const std::filesystem::path &folder, const std::filesystem::path &models, Candidate candidate,
                Record::Options record);

  DataAction parse(const XmlElement &operation, const std::string &path) override;
  Features features() const override { return {.candidate = candidate_}; }
  void settle() override;
  /// Of nodes at the top: that something below is another.
  std::vector<Change> take_changes() override { return std::exchange(changes_, {}); }
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
  std::vector<Change> changes_of(const std::vector<device::RequestNode> &request) const;
  void check_writes(const std::vector<device::RequestNode> &request);
  std::vector<device::RequestNode> readable(std::vector<device::RequestNode> filter);

  FolderDevice rules_;  ///< of the same folder
  Guard guard_;
  device::Device device_;
  Candidate candidate_;
  const Requester *who_ = nullptr;
  std::vector<Change> changes_;
};

}  // namespace ymap::netconf
