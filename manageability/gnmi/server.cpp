// Starts, listens to signals, and ends.
#include "server.hpp"

#include <grpcpp/ext/proto_server_reflection_plugin.h>
#include <grpcpp/health_check_service_interface.h>
#include <grpcpp/resource_quota.h>
#include <grpcpp/server.h>
#include <grpcpp/server_builder.h>
#include <sys/stat.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <thread>

#include "credentials.hpp"
#include "identity.hpp"
#include "printable.hpp"
#include "rpc_error.hpp"
#include "service.hpp"

namespace ymap::telemetry {
namespace {

/// Larger than any request of use: an edit of all amplifiers is some kilobytes.
constexpr int kLargestRequest = 1 << 20;
constexpr int kMostStreamsOfAConnection = 1000;
/// Of gRPC for all connections together; beyond it they wait.
constexpr std::size_t kMostMemory = std::size_t{256} << 20;
/// Until a peer that is gone without a word is noticed.
constexpr int kKeepaliveMilliseconds = 60'000;
/// Clients that ask more often whether the server is there are sent away.
constexpr int kShortestPingMilliseconds = 5'000;

constexpr std::chrono::milliseconds kTimeToDrain(700);
/// A PAM module may take longer than that.
constexpr std::chrono::milliseconds kTimeToEnd(900);

void check(const Options &options) {
  const auto address = listening_address(options.listen);
  if (options.insecure && !options.certificate.empty())
    throw UsageError("--insecure is without TLS, and --certificate is for it; give one of them");
  if (options.insecure && !options.client_ca.empty())
    throw UsageError("--insecure is without TLS, and --client-ca is for it; give one of them");
  if (options.insecure && !is_local(address))
    throw UsageError("--insecure is for a loopback address or a Unix socket, and " + address + " is neither");
  if (!options.insecure && options.certificate.empty())
    throw UsageError(
        "TLS needs --certificate and --key; --insecure does without, on a loopback address or a Unix socket");
  if (!options.pam.empty() && ::geteuid() != 0)
    throw UsageError("--pam needs root: only root may have other users' passwords judged");
  if (!options.pam.empty() && (options.pam.find('/') != std::string::npos ||
                               !(std::filesystem::exists("/etc/pam.d/" + options.pam) ||
                                 std::filesystem::exists("/usr/lib/pam.d/" + options.pam))))
    throw UsageError("there is no PAM service " + options.pam + " in /etc/pam.d");
  if (options.client_ca.empty() && options.pam.empty() && options.as_user.empty())
    throw UsageError(
        "nobody could be told from another: give --client-ca, --pam, or with --as the user that all are");
  check_certificates(options);
}

sigset_t handled_signals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const auto signal : {SIGTERM, SIGINT, SIGHUP}) ::sigaddset(&signals, signal);
  return signals;
}

/// A server in the foreground says what it does; the service manager has it in the log.
void say(const std::string &text) {
  std::cerr << "ymap: " << printable(text) << "\n";
}

std::string described(const Options &options, const std::string &address, int port) {
  const bool is_unix = address.starts_with("unix:");
  const auto where = is_unix ? address : address.substr(0, address.rfind(':')) + ":" + std::to_string(port);
  std::string users;
  const auto add = [&](const std::string &text) { users += (users.empty() ? "" : ", else ") + text; };
  if (!options.pam.empty()) add("by PAM service " + options.pam);
  if (!options.client_ca.empty()) add("by their certificates");
  if (!options.as_user.empty()) add("all as " + options.as_user);
  return "serves gNMI on " + where + (options.insecure ? ", without TLS" : ", with TLS") +
         "; users: " + users;
}

class RunningServer {
 public:
  RunningServer(Session &session, const Options &options)
      : service_(session, identification_,
                 {options.most_subscriptions, std::chrono::seconds(options.most_stalled)}),
        identification_(options.pam, !options.client_ca.empty(), options.as_user) {
    grpc::EnableDefaultHealthCheckService(true);
    grpc::reflection::InitProtoReflectionServerBuilderPlugin();
    grpc::ServerBuilder builder;
    const auto address = listening_address(options.listen);
    builder.AddListeningPort(address, credentials_of(options), &port_);
    builder.RegisterService(&service_);
    builder.SetMaxReceiveMessageSize(kLargestRequest);
    grpc::ResourceQuota quota("ymap");
    quota.Resize(kMostMemory);
    builder.SetResourceQuota(quota);
    builder.AddChannelArgument(GRPC_ARG_MAX_CONCURRENT_STREAMS, kMostStreamsOfAConnection);
    builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_TIME_MS, kKeepaliveMilliseconds);
    builder.AddChannelArgument(GRPC_ARG_HTTP2_MIN_RECV_PING_INTERVAL_WITHOUT_DATA_MS,
                               kShortestPingMilliseconds);
    builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_PERMIT_WITHOUT_CALLS, 1);
    // A port that another server has is that one's.
    builder.AddChannelArgument(GRPC_ARG_ALLOW_REUSEPORT, 0);
    // On a Unix socket whoever may open it is let in.
    const auto mask = ::umask(0177);
    server_ = builder.BuildAndStart();
    ::umask(mask);
    if (!server_) throw UsageError("cannot listen on " + address + ": it is in use, or not of this machine");
    server_->GetHealthCheckService()->SetServingStatus(::gnmi::gNMI::service_full_name(), true);
    say(described(options, address, port_));
  }

  ~RunningServer() {
    // Streams are told why; what is left after that is cut.
    server_->GetHealthCheckService()->Shutdown();
    service_.close();
    server_->Shutdown(std::chrono::system_clock::now() + kTimeToDrain);
    server_->Wait();
  }
  RunningServer(const RunningServer &) = delete;
  RunningServer &operator=(const RunningServer &) = delete;

  void take_over(const Options &options) {
    identification_.set_other_user(options.as_user);
    service_.limit(options.most_subscriptions);
  }

 private:
  Service service_;
  Identification identification_;  ///< judges until the end, and tells the service
  int port_ = 0;
  std::unique_ptr<grpc::Server> server_;
};

/// What is read again while the server runs; the rest is for its next start.
void reload(RunningServer &server, Options &options) {
  Options fresh;
  try {
    if (parse_again(options, fresh)) return say("the options from before hold");
    check(fresh);
  } catch (const UsageError &error) {
    return say(std::string(error.what()) + "; the options from before hold");
  }
  const bool needs_start = fresh.listen != options.listen || fresh.certificate != options.certificate ||
                           fresh.key != options.key || fresh.client_ca != options.client_ca ||
                           fresh.insecure != options.insecure || fresh.pam != options.pam ||
                           fresh.device != options.device || fresh.most_stalled != options.most_stalled;
  server.take_over(fresh);
  options.as_user = fresh.as_user;
  options.most_subscriptions = fresh.most_subscriptions;
  say(needs_start ? "options are read again; addresses, files, PAM and the device only at the next start"
                  : "options and certificates are read again");
}

}  // namespace

int serve(Session &session, const Options &given) {
  Options options = given;
  check(options);
  // Before there are threads, which inherit it.
  const auto signals = handled_signals();
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  {
    RunningServer server(session, options);
    ::sd_notify(0, "READY=1");
    int signal = 0;
    while (::sigwait(&signals, &signal) == 0 && signal == SIGHUP) {
      ::sd_notify(0, "RELOADING=1");
      reload(server, options);
      ::sd_notify(0, "READY=1");
    }
    ::sd_notify(0, "STOPPING=1");
    std::thread([] {
      std::this_thread::sleep_for(kTimeToEnd);
      std::_Exit(0);
    }).detach();
  }
  return 0;
}

}  // namespace ymap::telemetry
