// Kernel binaries: the scan against a plain walk that reads byte by byte, and against itself on a shorter stream.

#include "fuzz.h"
#include "zarn_utility.h"

namespace {

// Behind the head.
unsigned parcelsOf(unsigned head) {
  switch (head & 0x7F) {
    case 31:
      return 2;
    case 63:
      return 3;
    case 127:
      return 4 + (head >> 12) % 8;
    default:
      return (head & 3) == 3 ? 1 : 0;
  }
}

int plainScan(const std::string& bytes) {
  const auto at = [&bytes](std::size_t i) { return i < bytes.size() ? static_cast<std::uint8_t>(bytes[i]) : 0U; };
  unsigned parcels = 0;
  for (std::size_t i = 0; i < bytes.size(); i += 2 + std::size_t{2} * parcels) {
    const unsigned head = at(i) | at(i + 1) << 8;
    parcels = parcelsOf(head);
    if (i + 4 < bytes.size() && bytes.compare(i, 4, "prot") == 0) return 0;
    const unsigned counted = (head >> 7) % 4 + (head >> 9) % 4 + (head >> 11) % 2 + 2 * (head >> 15);
    const std::size_t slot = i + 2 + std::size_t{2} * counted;
    if (parcels == counted + 2 && (at(slot) & 0x40) == 0x40 && (at(slot + 3) & 0xF9) == 0xF9) return 1;
  }
  return 0;
}

Share share{"with an eDMA instruction"};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const ExactBytes whole(bytes);
  const ExactBytes half(bytes.substr(0, size / 2), 1);
  const long before = liveAllocations();
  const int found = clc_bin_has_edma_instr(whole.data(), static_cast<std::int64_t>(size));
  const int foundInHalf = clc_bin_has_edma_instr(half.data(), static_cast<std::int64_t>(half.size()));
  std::uint64_t checksum = 0;
  std::uint64_t shifted = 0;
  const std::uint64_t returned = clc_bin_compute_checksum(whole.data(), half.size(), &checksum);
  clc_bin_compute_checksum(half.data(), half.size(), &shifted);
  REQUIRE(returned == checksum && shifted == checksum);
  REQUIRE(liveAllocations() == before);
  share.count(found == 1);
  REQUIRE(found == plainScan({whole.data(), size}));
  REQUIRE(foundInHalf == plainScan({half.data(), half.size()}) && found >= foundInHalf);
  return 0;
}
