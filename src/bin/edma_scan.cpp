// The scan of a kernel's instruction stream for eDMA instructions.
//
// Instructions are made of 16-bit little-endian parcels. The head parcel H gives the length:
//
//   H & 3 != 3                       short, 2 bytes
//   H & 3 == 3, H & 0x7F == 0x1F     bundle, 6 bytes
//                           0x3B     bundle, 4 bytes
//                           0x3F     bundle, 8 bytes
//                           0x7F     bundle, 10 bytes and two for each of bits 12-14
//                           others   word, 4 bytes
//
// A bundle has three slots of as many parcels as H counts (A bits 7-8, B bits 9-10, C bits 15 and 11), and a final slot
// of what is left. Only a final slot of two parcels can be an eDMA instruction; a plain word never is, also one with the
// same bits. That, and that a bundle of 4 bytes has no room for such a slot, is meant so.

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "../little_endian.h"
#include "zarn_utility.h"

namespace {

constexpr std::uint64_t kLongestInstruction = 24;

// What to do at an instruction instead of stepping over it.
constexpr std::uint32_t kStop = 0;
constexpr std::uint32_t kFound = 0xFFFFFFFF;

// Parcels behind the head of a bundle.
std::uint32_t bundleParcels(std::uint32_t head) {
  switch (head & 0x7F) {
    case 0x1F:
      return 2;
    case 0x3B:
      return 1;
    case 0x3F:
      return 3;
    default:
      return 4 + (head >> 12 & 7);
  }
}

bool isBundle(std::uint32_t head) {
  const std::uint32_t opcode = head & 0x7F;
  return opcode == 0x1F || opcode == 0x3B || opcode == 0x3F || opcode == 0x7F;
}

// The bytes to go on, or kStop or kFound. `bytes` can be read as far as the longest instruction goes; `length` of them
// belong to the stream.
std::uint32_t step(const std::uint8_t* bytes, std::uint64_t length) {
  const std::uint32_t head = zarn::loadU16(bytes);
  if ((head & 3) != 3) {
    // The stop marker begins like a short instruction. It counts only with something behind it.
    return length > 4 && std::memcmp(bytes, "prot", 4) == 0 ? kStop : 2;
  }
  if (!isBundle(head)) return 4;
  const std::uint32_t parcels = bundleParcels(head);
  const std::uint32_t counted = (head >> 7 & 3) + (head >> 9 & 3) + (head >> 14 & 2) + (head >> 11 & 1);
  if (parcels == counted + 2) {
    const std::uint32_t finalSlot = zarn::loadU32(bytes + 2 + 2 * counted);
    if ((finalSlot & 0xF9000040) == 0xF9000040) return kFound;
  }
  return 2 * parcels + 2;
}

}  // namespace

std::int32_t clc_bin_has_edma_instr(const void* bytes, std::int64_t length) {
  if (length < 1) return 0;
  const auto* at = static_cast<const std::uint8_t*>(bytes);
  auto left = static_cast<std::uint64_t>(length);
  std::uint32_t taken = 0;
  while (left >= kLongestInstruction) {
    taken = step(at, left);
    if (taken == kStop || taken == kFound) return taken == kFound;
    at += taken;
    left -= taken;
  }
  // The last instructions, of which the very last may be cut off: what is missing reads as zero.
  std::uint8_t tail[2 * kLongestInstruction] = {};
  std::copy_n(at, left, tail);
  for (std::uint64_t i = 0; i < left; i += taken) {
    taken = step(tail + i, left - i);
    if (taken == kStop || taken == kFound) return taken == kFound;
  }
  return 0;
}
