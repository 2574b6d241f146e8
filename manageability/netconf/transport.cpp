// Waiting for the client, with an ear for signals.
#include "transport.hpp"

#include <fcntl.h>

#include <array>
#include <string>
#include <system_error>

namespace ymap::netconf {
namespace {

constexpr std::array<int, 3> kEndSignals = {SIGTERM, SIGINT, SIGHUP};

volatile std::sig_atomic_t ended_by = 0;
volatile std::sig_atomic_t ended_by_session = 0;

void note_signal(int signal, siginfo_t *info, void * /*context*/) {
  ended_by = signal;
  if (info != nullptr && info->si_code == SI_QUEUE) ended_by_session = info->si_value.sival_int;
}

void throw_if_ended() {
  if (ended_by == 0) return;
  throw SessionKilled("ended by signal " + std::to_string(ended_by), static_cast<uint32_t>(ended_by_session));
}

}  // namespace

Transport::Transport(int in, int out) : channel_(in, out, Channel::TooBig::to_its_end, &signals_) {
  // A file that is opened later would get the number, and the client's bytes.
  for (const int descriptor : {in, out})
    if (fcntl(descriptor, F_GETFD) < 0) throw TransportError("standard input or output is closed");
  ended_by = 0;
  ended_by_session = 0;
  signals_.check = throw_if_ended;
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);  // a limit on file sizes shall be an error of the write
  sigset_t ends;
  sigemptyset(&ends);
  for (const int signal : kEndSignals) sigaddset(&ends, signal);
  pthread_sigmask(SIG_BLOCK, &ends, &signals_.mask);
  struct sigaction action = {};
  action.sa_sigaction = note_signal;
  action.sa_flags = SA_SIGINFO;
  for (const int signal : kEndSignals) {
    sigdelset(&signals_.mask, signal);
    sigaction(signal, &action, nullptr);
  }
}

Transport::~Transport() {
  for (const int signal : kEndSignals) std::signal(signal, SIG_DFL);
  pthread_sigmask(SIG_SETMASK, &signals_.mask, nullptr);
}

std::optional<Deframer::Message> Transport::receive(std::optional<std::chrono::milliseconds> patience) {
  Stream::End end;
  if (patience) end = Stream::Clock::now() + *patience;
  try {
    return channel_.receive(end);
  } catch (const TooLate &) {
    throw TransportError("the client sends nothing", TransportError::Kind::timeout);
  } catch (const LifelineCut &) {
    throw TransportError("the device has ended its session, and with it the lock on running");
  } catch (const MessageCutOff &) {
    throw TransportError("the client went away in the middle of a message");
  } catch (const std::system_error &error) {
    throw TransportError("reading from the client failed: " + error.code().message());
  }
}

void Transport::send(std::string_view message, std::optional<std::chrono::milliseconds> patience) {
  try {
    patience ? channel_.send(message, *patience) : channel_.send(message, std::nullopt);
  } catch (const TooLate &) {
    throw TransportError("the client does not read what it subscribed to");
  } catch (const std::system_error &error) {
    if (error.code() == std::errc::broken_pipe)
      throw TransportError("the client went away before it had its answer");
    throw TransportError("writing to the client failed: " + error.code().message());
  }
}

}  // namespace ymap::netconf
