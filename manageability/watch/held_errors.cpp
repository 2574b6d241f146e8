// A file in memory in the place of standard error, for ssh and all others that write there.
#include "held_errors.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

namespace ymap::watch {
namespace {
constexpr off_t kMost = off_t{1} << 18;  ///< bytes
}

HeldErrors::HeldErrors() {
  if (isatty(STDERR_FILENO) != 1) return;
  held_ = memfd_create("errors", MFD_CLOEXEC);
  if (held_ < 0) return;
  fcntl(held_, F_SETFL, O_APPEND);  // where limit() has made it shorter too
  terminal_ = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  dup2(held_, STDERR_FILENO);
}

HeldErrors::~HeldErrors() {
  if (terminal_ < 0) return;
  dup2(terminal_, STDERR_FILENO);
  std::array<char, 4096> block = {};
  lseek(held_, 0, SEEK_SET);
  for (ssize_t size = 0; (size = read(held_, block.data(), block.size())) > 0;)
    if (write(terminal_, block.data(), static_cast<std::size_t>(size)) < 0) break;
  close(terminal_);
  close(held_);
}

void HeldErrors::limit() const {
  struct stat status = {};
  if (terminal_ < 0 || fstat(held_, &status) != 0 || status.st_size <= kMost) return;
  [[maybe_unused]] const int result = ftruncate(held_, 0);
}

}  // namespace ymap::watch
