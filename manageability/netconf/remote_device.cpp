// Native requests over NETCONF.
#include "remote_device.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <exception>
#include <optional>
#include <thread>
#include <utility>

#include "client_reply.hpp"
#include "native_reply.hpp"
#include "rpc_parameters.hpp"
#include "rpc_reply.hpp"
#include "ymap_datatree.h"

namespace ymap::netconf {
namespace {

constexpr const char *kCandidate = "candidate:1.0";
constexpr const char *kWritableRunning = "writable-running:1.0";
constexpr const char *kRollback = "rollback-on-error:1.0";
constexpr const char *kTestOnly = "validate:1.1";

/// Other sessions hold the candidate's lock for as long as an edit takes.
constexpr std::chrono::seconds kLockPatience{5};
constexpr std::chrono::seconds kRunningPatience{1};
constexpr std::chrono::milliseconds kLockPause{20};

bool is_empty(const yfw::Datatree &tree) {
  return !vidl_yfw_datatree_has_subtrees(tree.root()) || tree.root()->subtree_count == 0;
}

[[noreturn]] void not_offered(const std::string &what) {
  yfw::NativeRefusal refusal(what);
  refusal.error_tag = "operation-not-supported";
  refusal.path.emplace();
  refusal.type = "protocol";
  throw refusal;
}

[[noreturn]] void refuse(const Fault &fault, const yfw::Datatree *request) {
  yfw::NativeRefusal refusal(fault.message);
  refusal.error_tag = fault.tag;
  refusal.type = fault.type;
  refusal.session_id = fault.session_id;
  refusal.app_tag = fault.app_tag;
  refusal.path = fault.path;
  if (request != nullptr)
    refusal.node = fault.path.empty() && !fault.bad_element.empty() ? find_only(*request, fault.bad_element)
                                                                    : find_node(*request, fault.path);
  throw refusal;
}

constexpr const char *kLockLost = "the connection to the device was lost, and with it the lock on running";

ClientSession::Write write_of(const char *operation, const char *parameter, const char *datastore) {
  return [=](XmlWriter &xml) {
    if (parameter == nullptr) return xml.leaf(operation, {});
    xml.open(operation);
    xml.open(parameter);
    xml.leaf(datastore, {});
    xml.close();
    xml.close();
  };
}

constexpr const char *kNotMade = "; the edit is not made";
constexpr const char *kUnknown = "; whether the edit is made is not known: read before you repeat it";

/// Has an error say what a device that stopped in the middle of an edit leaves behind: `fate`, if it has got
/// the request.
template <typename Work>
void with_fate(const char *fate, const Work &work) {
  try {
    work();
  } catch (const ConnectionLost &lost) {
    throw ConnectionLost(std::string(lost.what()) + (lost.was_sent ? fate : kNotMade), lost.was_sent);
  } catch (const UsageError &error) {
    throw UsageError(std::string(error.what()) + fate);
  }
}

}  // namespace

RemoteDevice::RemoteDevice(ServerAddress address, std::filesystem::path models)
    : address_(std::move(address)), models_(std::move(models)) {}

/// The device's own modules are announced by their namespaces, whatever their version of YANG is.
void RemoteDevice::check_modules() const {
  std::string missing;
  for (const auto &module : device::kNativeModules) {
    if (session_->hello().offers(module.ns)) continue;
    missing.append(missing.empty() ? "" : ", ").append(module.name);
  }
  if (missing.empty()) return;
  throw UsageError("server " + session_->server() +
                   " is no device of this kind: its <hello> lacks the module" +
                   (missing.find(',') == std::string::npos ? " " : "s ") + missing);
}

ClientSession &RemoteDevice::session() {
  if (session_) return *session_;
  if (holds_lock_) {
    yfw::NativeRefusal refusal(std::string(kLockLost).append("; unlock, lock and read before you go on"));
    refusal.error_tag = "operation-failed";
    refusal.path.emplace();
    refusal.type = "protocol";
    throw refusal;
  }
  session_.emplace(address_);
  try {
    check_modules();
  } catch (const UsageError &) {
    session_.reset();
    throw;
  }
  return *session_;
}

const device::Schema &RemoteDevice::schema() {
  if (!schema_) schema_.emplace(models_);
  return *schema_;
}

uint32_t RemoteDevice::session_id() {
  return session().id();
}

void RemoteDevice::disconnect() {
  session_.reset();
  holds_lock_ = false;
}

void RemoteDevice::with_session(const std::function<void()> &work) {
  session();
  try {
    work();
  } catch (const ConnectionLost &lost) {
    if (lost.was_sent || holds_lock_) throw;
    work();
  }
}

/// A session that has failed ends at once, and with it what it held at the device.
std::vector<std::unique_ptr<XmlDocument>> RemoteDevice::call(
    const std::vector<ClientSession::Write> &writes) {
  auto &asked = session();
  try {
    return asked.call(writes);
  } catch (const UsageError &) {
    session_.reset();
    throw;
  }
}

std::unique_ptr<XmlDocument> RemoteDevice::call(const ClientSession::Write &write) {
  return std::move(call(std::vector{write}).front());
}

void RemoteDevice::fail(const std::string &what) {
  const auto server = session_->server();
  session_.reset();
  throw UsageError("server " + server + " " + what);
}

void RemoteDevice::command(const ClientSession::Write &write, const yfw::Datatree *request) {
  const auto reply = call(write);
  const auto parts = reply->root().children();
  if (const auto fault = read_errors(parts, warnings_, native_path)) refuse(*fault, request);
}

void RemoteDevice::command(const char *operation, const char *parameter, const char *datastore) {
  command(write_of(operation, parameter, datastore));
}

/// What is done on the way out, whose failure is not the caller's. False: it is not done, or not all of it.
bool RemoteDevice::attempt(const char *operation, const std::vector<ClientSession::Write> &writes) {
  if (!session_) return false;
  bool done = true;
  const auto failed = [&](const std::string &why) {
    warnings_.push_back(std::string(operation) + " at the device failed: " + why);
    done = false;
  };
  try {
    for (const auto &reply : call(writes))
      if (const auto fault = read_errors(reply->root().children(), warnings_, native_path))
        failed(fault->message);
  } catch (const std::exception &error) {
    failed(error.what());
  }
  return done;
}

// ---- Reads ------------------------------------------------------------------------------------------

void RemoteDevice::read(const yfw::Datatree &request, yfw::Datatree &answer) {
  read("get", request, answer);
}

void RemoteDevice::read_config(const yfw::Datatree &request, yfw::Datatree &answer) {
  read("get-config", request, answer);
}

/// To read twice does no harm, should the device have ended the session.
std::unique_ptr<XmlDocument> RemoteDevice::call_for_read(const ClientSession::Write &write) {
  session();
  try {
    return call(write);
  } catch (const ConnectionLost &) {
    if (holds_lock_) throw;
    return call(write);
  }
}

void RemoteDevice::read(const char *operation, const yfw::Datatree &request, yfw::Datatree &answer) {
  const bool config = std::string_view(operation) == "get-config";
  const auto write = [&](XmlWriter &xml) {
    xml.open(operation);
    if (config) {
      xml.open("source");
      xml.leaf("running", {});
      xml.close();
    }
    write_native_request(config ? Request::Kind::get_config : Request::Kind::get, request, xml);
    xml.close();
  };
  const auto reply = call_for_read(write);
  const auto parts = reply->root().children();
  if (const auto fault = read_errors(parts, warnings_, native_path)) refuse(*fault, &request);
  const auto data = data_of(parts);
  if (!data) fail("answers a read without data");
  AnswerTree sink(answer);
  read_native(schema(), request, data->children(), sink, warnings_);
}

// ---- Edits ------------------------------------------------------------------------------------------

/// How an edit can be made whole or not at all.
RemoteDevice::Road RemoteDevice::road(const yfw::Datatree &request, Purpose purpose) {
  const auto &device = session();
  const bool validates = device.offers(kTestOnly) || device.offers("validate:1.0");
  if (purpose == Purpose::test) {
    if (device.offers(kCandidate) && validates) return Road::candidate;
    if (device.offers(kWritableRunning) && device.offers(kTestOnly)) return Road::running;
    not_offered(
        "the device cannot try an edit without making it: it has neither a candidate datastore that "
        "it validates nor test-only (capabilities candidate and validate)");
  }
  if (device.offers(kCandidate)) return Road::candidate;
  if (!device.offers(kWritableRunning))
    not_offered(
        "the device lets nobody edit its configuration (no capability candidate or writable-running)");
  if (device.offers(kRollback) || count_leaves(schema(), request) <= 1) return Road::running;
  not_offered(
      "the device cannot make an edit of several leaves whole or not at all (no capability candidate "
      "or rollback-on-error); edit one leaf at a time");
}

void RemoteDevice::send_edit(const yfw::Datatree &request, Road road, Purpose purpose) {
  const bool candidate = road == Road::candidate;
  command(
      [&](XmlWriter &xml) {
        xml.open("edit-config");
        xml.open("target");
        xml.leaf(candidate ? "candidate" : "running", {});
        xml.close();
        if (!candidate && purpose == Purpose::test) xml.leaf("test-option", "test-only");
        if (session_->offers(kRollback)) xml.leaf("error-option", "rollback-on-error");
        write_native_request(Request::Kind::edit, request, xml);
        xml.close();
      },
      &request);
}

/// Where running can be edited beside the candidate, a commit would take back what others do to it meanwhile.
bool RemoteDevice::locks_running() const {
  return !holds_lock_ && session_->offers(kWritableRunning);
}

/// The candidate's lock is waited for: all who edit this way hold it for as long as that takes. That of
/// running they may hold for a moment, before they hear that the candidate's is not theirs; whoever keeps it
/// longer, has locked it.
void RemoteDevice::lock_for_edit() {
  const auto begun = Stream::Clock::now();
  const auto waits = [&](const Fault &fault, Stream::Clock::duration patience) {
    if (fault.tag != "lock-denied" || fault.session_id == 0 || fault.session_id == session_->id() ||
        Stream::Clock::now() > begun + std::min<Stream::Clock::duration>(patience, address_.patience))
      return false;
    std::this_thread::sleep_for(kLockPause);
    return true;
  };
  const auto candidate = write_of("lock", "target", "candidate");
  const auto running = write_of("lock", "target", "running");
  const auto fault_in = [&](const std::unique_ptr<XmlDocument> &reply) {
    return read_errors(reply->root().children(), warnings_, native_path);
  };
  while (true) {
    const auto replies = call(locks_running() ? std::vector{candidate, running} : std::vector{candidate});
    const auto fault = fault_in(replies.front());
    auto of_running = replies.size() > 1 ? fault_in(replies.back()) : std::nullopt;
    if (fault) {
      if (replies.size() > 1 && !of_running) attempt("unlock", {write_of("unlock", "target", "running")});
      if (!session_ || !waits(*fault, kLockPatience)) refuse(*fault, nullptr);
      continue;
    }
    while (of_running && waits(*of_running, kRunningPatience)) of_running = fault_in(call(running));
    if (!of_running) return;
    attempt("unlock", {write_of("unlock", "target", "candidate")});
    // As one who edits running itself is told.
    if (of_running->tag == "lock-denied") of_running->tag = "in-use";
    of_running->session_id = 0;
    refuse(*of_running, nullptr);
  }
}

/// Where something is left behind the end of the session takes it away (RFC 6241, section 8.3.5.2). With the
/// client's lock it goes on: what went wrong is told.
void RemoteDevice::leave_candidate(bool discards) {
  bool clean = !discards || attempt("discard-changes", {write_of("discard-changes", nullptr, nullptr)});
  if (clean && session_) {
    std::vector<ClientSession::Write> unlocks = {write_of("unlock", "target", "candidate")};
    // Others who have got the candidate's lock shall find this one free.
    if (locks_running()) unlocks.insert(unlocks.begin(), write_of("unlock", "target", "running"));
    clean = attempt("unlock", unlocks);
  }
  if (!clean && !holds_lock_) session_.reset();
}

/// Lock, edit, validate, commit, unlock: what fails on the way leaves nothing in the candidate.
void RemoteDevice::edit_candidate(const yfw::Datatree &request, Purpose purpose) {
  with_fate(kNotMade, [&] { lock_for_edit(); });
  const bool validates = session_->offers(kTestOnly) || session_->offers("validate:1.0");
  try {
    with_fate(kNotMade, [&] {
      send_edit(request, Road::candidate, purpose);
      if (validates) command(write_of("validate", "source", "candidate"), &request);
    });
    if (purpose == Purpose::edit)
      with_fate(kUnknown, [&] { command(write_of("commit", nullptr, nullptr), &request); });
  } catch (...) {
    leave_candidate(true);
    throw;
  }
  leave_candidate(purpose == Purpose::test);
}

namespace {

/// That there are none is what an edit may say.
void check_no_rules(const NativeDevice::RulesEdit &rules) {
  for (const auto &node : rules) {
    if (node.operation == device::RequestNode::Operation::remove) continue;
    yfw::NativeRefusal refusal("a device elsewhere judges by its own rules; none are kept here");
    refusal.error_tag = "operation-not-supported";
    refusal.path = "/" + std::string(kAccessModule) + ":" + kAccessTop;
    throw refusal;
  }
}

}  // namespace

NativeDevice::Rules RemoteDevice::access_rules_after(const RulesEdit &edit) {
  check_no_rules(edit);
  return {};
}

void RemoteDevice::edit(const yfw::Datatree &request, const RulesEdit &rules) {
  check_no_rules(rules);
  with_session([&] {
    if (road(request, Purpose::edit) == Road::candidate) return edit_candidate(request, Purpose::edit);
    with_fate(kUnknown, [&] { send_edit(request, Road::running, Purpose::edit); });
  });
}

void RemoteDevice::test(const yfw::Datatree &request, const RulesEdit &rules) {
  check_no_rules(rules);
  with_session([&] {
    if (!is_empty(request)) {
      if (road(request, Purpose::test) == Road::candidate) return edit_candidate(request, Purpose::test);
      return send_edit(request, Road::running, Purpose::test);
    }
    if (!session().offers(kTestOnly) && !session().offers("validate:1.0"))
      not_offered("the device does not validate its configuration (no capability validate)");
    command("validate", "source", "running");
  });
}

// ---- Sessions ---------------------------------------------------------------------------------------

namespace {

/// Refusals of operations that have no data.
template <typename Work>
void as_rpc_error(const Work &work) {
  try {
    work();
  } catch (const yfw::NativeRefusal &refusal) {
    throw RpcError({.type = refusal.type,
                    .tag = refusal.error_tag,
                    .message = refusal.what(),
                    .session_id = refusal.session_id});
  }
}

}  // namespace

std::shared_ptr<const NativeDevice::Rules> RemoteDevice::access_rules() {
  static const auto none = std::make_shared<const Rules>(Rules{{"enable-nacm", "false", true}});
  return none;
}

int RemoteDevice::lock_descriptor() const {
  if (!holds_lock_) return -1;
  if (session_) return session_->descriptor();
  // A pipe that nobody writes to any more.
  static const int hung_up = [] {
    std::array<int, 2> ends = {-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) == 0) ::close(ends[1]);
    return ends[0];
  }();
  return hung_up;
}

void RemoteDevice::lock() {
  as_rpc_error([&] { with_session([&] { command("lock", "target", "running"); }); });
  holds_lock_ = true;
}

void RemoteDevice::unlock() {
  if (holds_lock_ && !session_) {
    holds_lock_ = false;
    throw RpcError({.type = "protocol", .tag = "operation-failed", .message = kLockLost});
  }
  as_rpc_error([&] { with_session([&] { command("unlock", "target", "running"); }); });
  holds_lock_ = false;
}

std::unique_ptr<XmlDocument> RemoteDevice::monitoring() {
  if (!session().hello().offers(kMonitoringNs)) return nullptr;
  auto reply = call_for_read([](XmlWriter &xml) {
    xml.open("get");
    xml.open("filter", {{"type", "subtree"}});
    xml.open("netconf-state", {{"xmlns", std::string(kMonitoringNs)}});
    for (const char *part : {"datastores", "sessions"}) xml.leaf(part, {});
    for (int open = 0; open < 3; ++open) xml.close();
  });
  return data_of(reply->root().children()) ? std::move(reply) : nullptr;
}

void RemoteDevice::kill(uint32_t session) {
  as_rpc_error([&] {
    with_session([&] {
      command([&](XmlWriter &xml) {
        xml.open("kill-session");
        xml.leaf("session-id", std::to_string(session));
        xml.close();
      });
    });
  });
}

}  // namespace ymap::netconf
