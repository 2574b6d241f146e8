/// \file
/// A device elsewhere, whose NETCONF server speaks the native models.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "client_session.hpp"
#include "native_datastore.hpp"
#include "yang.hpp"

namespace ymap::netconf {

/// Opens its session at its first use, and again where the device has ended it between two requests. Beside
/// what the base classes say functions throw UsageError where the device does not answer, or is none; that of
/// an edit tells whether it is made.
class RemoteDevice : public NativeDevice {
 public:
  /// `models` is the folder of the native YANG modules, by which answers are judged.
  RemoteDevice(ServerAddress address, std::filesystem::path models);

  /// One <get> with the request as its filter.
  void read(const yfw::Datatree &request, yfw::Datatree &answer) override;
  /// One <get-config> of running.
  void read_config(const yfw::Datatree &request, yfw::Datatree &answer) override;
  /// Through the candidate datastore where there is one, else in running, by one <edit-config> that the
  /// device undoes where it fails.
  void edit(const yfw::Datatree &request, const RulesEdit &rules) override;
  /// By the device's own validation; refused where it has none.
  void test(const yfw::Datatree &request, const RulesEdit &rules) override;
  // Rights are the device's affair: who may log in there, and what its server then lets him do. Those here
  // are switched off.
  std::shared_ptr<const Rules> access_rules() override;
  Rules access_rules_after(const RulesEdit &edit) override;
  bool belongs_to(uid_t /*user*/) override { return true; }
  std::filesystem::path folder() const override { return {}; }
  std::vector<std::string> take_warnings() override { return std::exchange(warnings_, {}); }

  /// The id of the session at the device, which is opened for it.
  uint32_t session_id();
  /// Ends the session, and frees what it held.
  void disconnect();

  // Of the device, for this session (RFC 6241, sections 7.5, 7.6 and 7.9). Throw RpcError too.
  void lock();
  void unlock();
  void kill(uint32_t session);
  /// Of the connection while it holds the lock; -1 without. Of one that is lost its peer has hung up.
  int lock_descriptor() const;
  /// What the device tells of its sessions and locks, an <rpc-reply>; nullptr if it does not.
  std::unique_ptr<XmlDocument> monitoring();

 private:
  enum class Road { candidate, running };
  enum class Purpose { edit, test };

  ClientSession &session();
  void check_modules() const;
  const device::Schema &schema();
  std::vector<std::unique_ptr<XmlDocument>> call(const std::vector<ClientSession::Write> &writes);
  std::unique_ptr<XmlDocument> call(const ClientSession::Write &write);
  [[noreturn]] void fail(const std::string &what);
  /// A call that has no answer but <ok/>. `request`: of which errors tell a node.
  void command(const ClientSession::Write &write, const yfw::Datatree *request = nullptr);
  void command(const char *operation, const char *parameter = nullptr, const char *datastore = nullptr);
  std::unique_ptr<XmlDocument> call_for_read(const ClientSession::Write &write);
  void read(const char *operation, const yfw::Datatree &request, yfw::Datatree &answer);
  /// `work` again on a new session if the device had ended the one before without having got anything.
  void with_session(const std::function<void()> &work);
  Road road(const yfw::Datatree &request, Purpose purpose);
  void send_edit(const yfw::Datatree &request, Road road, Purpose purpose);
  void lock_for_edit();
  void edit_candidate(const yfw::Datatree &request, Purpose purpose);
  void leave_candidate(bool discards);
  bool locks_running() const;
  bool attempt(const char *operation, const std::vector<ClientSession::Write> &writes);

  ServerAddress address_;
  std::filesystem::path models_;
  std::optional<ClientSession> session_;
  std::optional<device::Schema> schema_;
  std::vector<std::string> warnings_;
  bool holds_lock_ = false;  ///< on running, by lock()
};

}  // namespace ymap::netconf
