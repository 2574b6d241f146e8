// Messages through ssh.
#include "server_channel.hpp"

#include <poll.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <system_error>

#include "printable.hpp"
#include "rpc_error.hpp"

namespace ymap::netconf {
namespace {

/// A server's end must show as an error and not end the tool; a closed pipe on standard output does.
class WithoutSigpipe {
 public:
  WithoutSigpipe() : before_(std::signal(SIGPIPE, SIG_IGN)) {}
  ~WithoutSigpipe() { std::signal(SIGPIPE, before_); }
  WithoutSigpipe(const WithoutSigpipe &) = delete;
  WithoutSigpipe &operator=(const WithoutSigpipe &) = delete;

 private:
  void (*before_)(int);
};

/// Empty for a message that nobody asked for.
std::string milliseconds_since(Stream::Clock::time_point begin) {
  if (begin == Stream::Clock::time_point()) return {};
  std::array<char, 32> text = {};
  const std::chrono::duration<double, std::milli> passed = Stream::Clock::now() - begin;
  std::snprintf(text.data(), text.size(), " after %.1f ms", passed.count());
  return text.data();
}

}  // namespace

ServerChannel::ServerChannel(const Destination &destination, std::chrono::milliseconds patience,
                             MessageLog log)
    : server_(destination.text()),
      log_(log),
      patience_(patience),
      ssh_(destination),
      channel_(ssh_.from_server(), ssh_.to_server(), Channel::TooBig::at_once) {}

void ServerChannel::give_up() const {
  std::array<char, 32> seconds = {};
  std::snprintf(seconds.data(), seconds.size(), "%g", std::chrono::duration<double>(patience_).count());
  throw UsageError(std::string("does not answer within ") + seconds.data() +
                   " seconds; --timeout SECONDS waits longer");
}

bool ServerChannel::is_ended() const {
  pollfd state{ssh_.from_server(), POLLIN, 0};
  return poll(&state, 1, 0) > 0 && (state.revents & POLLIN) == 0 && (state.revents & POLLHUP) != 0;
}

void ServerChannel::tell(const char *direction, std::string_view message, const std::string &when) const {
  if (log_ == MessageLog::nothing) return;
  std::cerr << "ymap: " << direction << " " << server_ << ": " << message.size() << " bytes" << when << "\n";
  if (log_ == MessageLog::texts_too) std::cerr << printable(message) << "\n";
}

void ServerChannel::send(std::string_view message, Stream::Clock::time_point end) {
  const WithoutSigpipe scope;
  tell("to", message, {});
  asked_ = Stream::Clock::now();
  try {
    channel_.send(message, end);
  } catch (const TooLate &) {
    give_up();
  } catch (const std::system_error &error) {
    if (error.code() == std::errc::broken_pipe) throw ConnectionEnded("the connection has ended");
    throw UsageError("takes no request: " + error.code().message());
  }
}

std::unique_ptr<XmlDocument> ServerChannel::receive(Stream::Clock::time_point end) {
  try {
    const auto message = channel_.receive(end);
    if (!message) return nullptr;
    tell("from", message->text, milliseconds_since(asked_));
    if (message->cut)
      throw BadMessage("the message is larger than " + std::to_string(kLargestDocument >> 20U) + " MiB");
    if (trimmed(message->text).empty()) throw BadMessage("the message is empty");
    return std::make_unique<XmlDocument>(message->text);
  } catch (const TooLate &) {
    give_up();
  } catch (const MessageCutOff &) {
    throw ConnectionEnded("the connection ended in the middle of a message");
  } catch (const FramingError &error) {
    throw BadMessage(error.what());
  } catch (const RpcError &error) {
    throw BadMessage(error.fault().message);
  } catch (const std::system_error &error) {
    throw BadMessage(error.code().message());
  }
}

}  // namespace ymap::netconf
