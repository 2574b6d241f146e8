// Files without a name in any folder.
#include "memory_file.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace ymap::netconf {

MemoryFile::MemoryFile(const char *name) : descriptor_(memfd_create(name, MFD_CLOEXEC)) {
  if (descriptor_ < 0)
    throw std::system_error(errno, std::generic_category(), "a file in memory cannot be made");
}

MemoryFile::~MemoryFile() {
  close(descriptor_);
}

void MemoryFile::put(const std::string &bytes) const {
  if (ftruncate(descriptor_, 0) != 0 ||
      pwrite(descriptor_, bytes.data(), bytes.size(), 0) != ssize_t(bytes.size()))
    throw std::system_error(errno, std::generic_category(), "a message cannot be kept");
  lseek(descriptor_, 0, SEEK_SET);
}

std::string MemoryFile::take() const {
  std::string bytes(static_cast<std::size_t>(lseek(descriptor_, 0, SEEK_CUR)), '\0');
  if (pread(descriptor_, bytes.data(), bytes.size(), 0) != ssize_t(bytes.size()) ||
      ftruncate(descriptor_, 0) != 0)
    throw std::system_error(errno, std::generic_category(), "a message cannot be read");
  lseek(descriptor_, 0, SEEK_SET);
  return bytes;
}

}  // namespace ymap::netconf
