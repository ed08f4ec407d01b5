// Inputs of every shape for the decoders, each grown from a string of bytes: by fuzz targets from what libFuzzer makes
// up, by tests from random bytes. Most of them are plausible enough to be decoded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zarn::inputs {

// Takes a seed apart from its front; gives zeros past its end.
class Seed {
 public:
  Seed(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  bool isEmpty() const { return size_ == 0; }
  std::uint8_t byte() {
    if (size_ == 0) return 0;
    --size_;
    return *data_++;
  }
  std::uint32_t word(int width) {
    std::uint32_t value = 0;
    for (int i = 0; i < width; ++i) value |= static_cast<std::uint32_t>(byte()) << 8 * i;
    return value;
  }
  std::string_view rest() const { return {reinterpret_cast<const char*>(data_), size_}; }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
};

struct PrintInput {
  std::string buffer;
  std::string stringTable;
};

PrintInput growPrint(Seed seed);
std::string growLog(Seed seed);
std::string growKernel(Seed seed);

}  // namespace zarn::inputs
