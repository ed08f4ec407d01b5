// Whole files in memory.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>

namespace tool {

// The bytes of an input, followed by a NUL that is not part of them.
class Bytes {
 public:
  const char* data() const { return data_.get(); }
  std::size_t size() const { return size_; }

  // Reads the file `name`, or standard input for "-". Returns an error message, or an empty string.
  std::string read(const std::string& name);

 private:
  struct Free {
    void operator()(char* data) const { std::free(data); }
  };

  std::string readFrom(int file);
  bool reserve(std::size_t capacity);

  std::unique_ptr<char, Free> data_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace tool
