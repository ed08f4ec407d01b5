#include "input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace tool {

std::string Bytes::read(const std::string& name) {
  if (name == "-") return readFrom(STDIN_FILENO);
  const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return std::string("cannot be opened: ") + std::strerror(errno);
  auto problem = readFrom(file);
  close(file);
  return problem;
}

std::string Bytes::readFrom(int file) {
  struct stat status {};
  const bool isRegular = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
  const std::size_t size = isRegular ? static_cast<std::size_t>(status.st_size) : 0;
  // For a file of known size, one spare byte shows its end without growing. Files that the kernel generates, where
  // dumps come from, report a size of 0, and some drivers mishandle reads of a few bytes.
  const std::size_t minRoom = size > 0 ? 1 : 65536;
  std::size_t capacity = size + minRoom + 1;  // plus one for the NUL
  while (true) {
    if (!reserve(capacity)) return "does not fit into memory";
    const auto count = ::read(file, data_.get() + size_, capacity_ - size_ - 1);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::string("cannot be read: ") + std::strerror(errno);
    if (count == 0) break;
    size_ += static_cast<std::size_t>(count);
    if (capacity_ - size_ - 1 < minRoom) capacity = capacity_ * 2;
  }
  data_.get()[size_] = '\0';
  return {};
}

// Uses realloc(), which moves a large block without a second copy of it in memory.
bool Bytes::reserve(std::size_t capacity) {
  if (capacity <= capacity_) return true;
  auto* grown = static_cast<char*>(std::realloc(data_.get(), capacity));
  if (grown == nullptr) return false;
  (void)data_.release();
  data_.reset(grown);
  capacity_ = capacity;
  return true;
}

}  // namespace tool
