// Kernel binaries: the scan, and the checksum, of the bytes as they are, and of instructions that they grow into.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz.h"
#include "grow.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Share share{"with an eDMA instruction"};
  const ExactBytes plain({reinterpret_cast<const char*>(data), size}, 1);
  const ExactBytes grown(zarn::inputs::growKernel(zarn::inputs::Seed(data, size)));
  share.count(zarn::reference::hasEdma(grown.data(), static_cast<std::int64_t>(grown.size())));
  requireNone(compareKernel(plain.data(), plain.size()));
  requireNone(compareKernel(grown.data(), grown.size()));
  return 0;
}
