// Messages through ssh.
#include "server_channel.hpp"

#include <array>
#include <csignal>
#include <cstdio>
#include <system_error>

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

}  // namespace

ServerChannel::ServerChannel(const Destination &destination, std::chrono::milliseconds patience)
    : patience_(patience),
      ssh_(destination),
      channel_(ssh_.from_server(), ssh_.to_server(), Channel::TooBig::at_once) {}

void ServerChannel::give_up() const {
  std::array<char, 32> seconds = {};
  std::snprintf(seconds.data(), seconds.size(), "%g", std::chrono::duration<double>(patience_).count());
  throw UsageError(std::string("does not answer within ") + seconds.data() +
                   " seconds; --timeout SECONDS waits longer");
}

void ServerChannel::send(std::string_view message, Stream::Clock::time_point end) {
  const WithoutSigpipe scope;
  try {
    channel_.send(message, end);
  } catch (const TooLate &) {
    give_up();
  } catch (const std::system_error &error) {
    throw UsageError("takes no request: " + error.code().message());
  }
}

std::unique_ptr<XmlDocument> ServerChannel::receive(Stream::Clock::time_point end) {
  try {
    const auto message = channel_.receive(end);
    if (!message) return nullptr;
    if (message->cut)
      throw BadMessage("the message is larger than " + std::to_string(kLargestDocument >> 20U) + " MiB");
    if (trimmed(message->text).empty()) throw BadMessage("the message is empty");
    return std::make_unique<XmlDocument>(message->text);
  } catch (const TooLate &) {
    give_up();
  } catch (const MessageCutOff &) {
    throw BadMessage("the connection ended in the middle of a message");
  } catch (const FramingError &error) {
    throw BadMessage(error.what());
  } catch (const RpcError &error) {
    throw BadMessage(error.fault().message);
  } catch (const std::system_error &error) {
    throw BadMessage(error.code().message());
  }
}

}  // namespace ymap::netconf
