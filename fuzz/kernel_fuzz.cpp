// Kernel binaries: the scan, and the checksum, of all bytes and of half of them at an odd address.

#include "fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Share share{"with an eDMA instruction"};
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const ExactBytes whole(bytes);
  const ExactBytes half(bytes.substr(0, size / 2), 1);
  share.count(zarn::reference::hasEdma(whole.data(), static_cast<std::int64_t>(size)));
  requireNone(compareKernel(whole.data(), whole.size()));
  requireNone(compareKernel(half.data(), half.size()));
  return 0;
}
