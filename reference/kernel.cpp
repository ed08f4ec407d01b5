// Kernel binaries: the scan parcel by parcel, and xxHash's own XXH64.

#include <cstddef>
#include <cstdint>
#define XXH_INLINE_ALL
#include <xxhash.h>

#include "reference.h"

namespace zarn::reference {

// Bytes missing at the end read as zero.
bool hasEdma(const void* kernel, std::int64_t length) {
  const auto* bytes = static_cast<const std::uint8_t*>(kernel);
  const auto parcel = [=](std::int64_t at) {
    return (at < length ? bytes[at] : 0U) | (at + 1 < length ? bytes[at + 1] * 256U : 0U);
  };
  std::uint32_t parcels = 0;  // of the current instruction, after its head
  for (std::int64_t at = 0; at < length; at += std::int64_t{2} + 2 * std::int64_t{parcels}) {
    const std::uint32_t head = parcel(at);
    parcels = 0;
    if ((head & 3) != 3) {
      if (at + 4 < length && head == 0x7270 && parcel(at + 2) == 0x746F) return false;
      continue;
    }
    switch (head & 0x7F) {
      case 0x1F:
        parcels = 2;
        break;
      case 0x3B:
        parcels = 1;
        break;
      case 0x3F:
        parcels = 3;
        break;
      case 0x7F:
        parcels = 4 + (head >> 12 & 7);
        break;
      default:
        parcels = 1;
        continue;
    }
    const std::uint32_t slots = (head >> 7 & 3) + (head >> 9 & 3) + (head >> 15 << 1 | (head >> 11 & 1));
    if (parcels - slots != 2) continue;
    const std::int64_t last = at + 2 + 2 * std::int64_t{slots};
    if (((parcel(last) | parcel(last + 2) << 16) & 0xF9000040) == 0xF9000040) return true;
  }
  return false;
}

std::uint64_t checksum(const void* bytes, std::size_t length) { return XXH64(bytes, length, 0); }

}  // namespace zarn::reference
