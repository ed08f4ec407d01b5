// What the fuzz targets share. Each target defines LLVMFuzzerTestOneInput(); libFuzzer calls it with what it makes up,
// and replay.cpp with files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "compare.h"    // IWYU pragma: export
#include "reference.h"  // IWYU pragma: export
#include "support.h"    // IWYU pragma: export

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline void requireNone(const std::string& difference) {
  if (difference.empty()) return;
  std::fprintf(stderr, "library and reference differ: %s\n", difference.c_str());
  std::abort();
}

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
