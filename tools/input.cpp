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
  const bool hasSize = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
  // One byte for the NUL, and one more so that the end of a file of known size is seen without growing.
  std::size_t capacity = hasSize ? static_cast<std::size_t>(status.st_size) + 2 : 65536;
  while (true) {
    if (!reserve(capacity)) return "does not fit into memory";
    const auto count = ::read(file, data_.get() + size_, capacity_ - size_ - 1);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::string("cannot be read: ") + std::strerror(errno);
    if (count == 0) break;
    size_ += static_cast<std::size_t>(count);
    if (size_ + 1 == capacity_) capacity = capacity_ * 2;
  }
  data_.get()[size_] = '\0';
  return {};
}

// By realloc(), which moves a large block without a second copy of it in memory.
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
