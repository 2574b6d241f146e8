// The running configuration is replaced as a whole, so it is its folder that is watched.
#include "running_watch.hpp"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <utility>

namespace device {

RunningWatch::RunningWatch(const std::filesystem::path &folder) {
  Descriptor events(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  // People edit the file by hand, too.
  if (events.get() >= 0 &&
      ::inotify_add_watch(events.get(), folder.c_str(), IN_MOVED_TO | IN_CLOSE_WRITE | IN_ONLYDIR) >= 0)
    events_ = std::move(events);
}

bool RunningWatch::changed() const {
  alignas(inotify_event) std::array<std::byte, 4096> block{};
  bool is_changed = false;
  for (;;) {
    const auto size = ::read(events_.get(), block.data(), block.size());
    if (size <= 0) return is_changed;
    for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
      const auto *event = reinterpret_cast<const inotify_event *>(&block[at]);
      const bool is_lost = (event->mask & IN_Q_OVERFLOW) != 0;
      if (is_lost || (event->len > 0 && Folder::kRunning == std::string_view(event->name))) is_changed = true;
      at += sizeof *event + event->len;
    }
  }
}

}  // namespace device
