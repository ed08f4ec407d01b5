// What the fuzz targets share. Each target defines LLVMFuzzerTestOneInput(); libFuzzer calls it with what it makes up,
// and replay.cpp with files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// An invariant, also in a release build.
#define REQUIRE(condition)                                                         \
  do {                                                                             \
    if (!(condition)) {                                                            \
      std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                \
    }                                                                              \
  } while (false)

// Takes an input apart from its front; gives zeros behind its end.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
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
  std::string rest() const { return {data_, data_ + size_}; }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
};

// How many inputs came to something, told when the program ends.
struct Share {
  const char* what;
  long runs = 0;
  long decoded = 0;
  void count(bool isDecoded) {
    ++runs;
    decoded += isDecoded;
  }
  ~Share() { std::fprintf(stderr, "%s: %ld of %ld inputs\n", what, decoded, runs); }
};

// The text that `make` returns, by the size of its allocation: exactly the text and its NUL.
template <typename Make>
std::string textOf(Make make, void (*release)(char**)) {
  std::size_t size = 0;
  char* text = nullptr;
  {
    const AllocationLog allocations;
    text = make();
    size = allocations.lastSize();
  }
  REQUIRE(text != nullptr && size > 0 && text[size - 1] == '\0');
  std::string copy(text, size - 1);
  release(&text);
  REQUIRE(text == nullptr);
  return copy;
}
