// A fuzz target, called by libFuzzer. It compares what an input grows into by COMPARE, one of the functions of
// compare.h.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "compare.h"  // IWYU pragma: keep: COMPARE

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static struct Share {
    long runs = 0;
    long decoded = 0;
    ~Share() { std::fprintf(stderr, "decoded: %ld of %ld inputs\n", decoded, runs); }
  } share;  // printed when the program ends
  const auto [difference, isDecoded] = COMPARE(std::string_view(reinterpret_cast<const char*>(data), size));
  if (!difference.empty()) {
    std::fprintf(stderr, "library and reference differ: %s\n", difference.c_str());
    std::abort();
  }
  ++share.runs;
  share.decoded += isDecoded;
  return 0;
}
