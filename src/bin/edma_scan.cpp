// docs/formats.md has the instruction encoding. H is the head parcel, the first 16 bits of an instruction.

#include "edma_scan.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>

#include "../little_endian.h"
#include "zarn_utility.h"

namespace zarn::bin {
namespace {

constexpr std::ptrdiff_t kLongestInstruction = 24;
constexpr std::uint32_t kStopMarker = 0x746F7270;  // "prot"
constexpr std::uint32_t kEdmaPattern = 0xF9000040;

// The length of an opcode's instructions.
struct Length {
  std::uint8_t bytes;
  std::uint8_t extension;  // mask of the bits of (H >> 11) to add
};

// Indexed by the low byte of H. Streams mix lengths in an order that no processor predicts, so lengths come from a
// table, not from branches.
constexpr auto kLengths = [] {
  std::array<Length, 256> lengths{};
  for (std::size_t byte = 0; byte < lengths.size(); ++byte) {
    lengths[byte] = {static_cast<std::uint8_t>((byte & 3) == 3 ? 4 : 2), 0};
  }
  for (const unsigned byte : {0x00U, 0x80U}) {  // the highest bit is not part of the opcode
    lengths[byte | 0x1F] = {6, 0};
    lengths[byte | 0x3F] = {8, 0};
    lengths[byte | 0x7F] = {10, 14};
  }
  return lengths;
}();

// Whether the final slot of an instruction of `length` bytes is an eDMA instruction. Shorts, words and 4-byte bundles
// leave no two parcels for a final slot, whatever slot counts their heads seem to hold.
//
// Deliberate (design.md, "Final slots only"): the pattern does not count in a word or in a counted slot.
bool isEdma(const std::uint8_t* instruction, std::uint32_t head, std::uint32_t length) {
  const std::uint32_t counted = (head >> 7 & 3) + (head >> 9 & 3) + (head >> 14 & 2) + (head >> 11 & 1);
  const std::uint32_t at = 2 + 2 * counted;
  const std::uint32_t finalSlot = loadU32(instruction + at);
  return ((length ^ (at + 4)) | (~finalSlot & kEdmaPattern)) == 0;
}

constexpr std::uint32_t kLongRun = 16;

// Skips words, or shorts that do not begin like the marker, up to the first other instruction, at most slightly past
// `limit`. In such a long run branches are predictable, and faster than the table.
const std::uint8_t* skipRun(const std::uint8_t* at, const std::uint8_t* limit, std::uint32_t length) {
  if (length == 4) {
    while (at < limit && (*at & 3) == 3 && (*at & 0x1F) != 0x1F) at += 4;
  } else if (length == 2) {
    while (at < limit && (*at & 3) != 3 && *at != 'p') at += 2;
  }
  return at;
}

// Where a scan ended, and why.
enum class Outcome { kEnd, kFound, kStopped };
struct Result {
  Outcome outcome;
  const std::uint8_t* at;
};

// Scans up to `end`, or until the longest instruction no longer fits before `readable`.
Result scan(const std::uint8_t* at, const std::uint8_t* end, const std::uint8_t* readable) {
  std::uint32_t runLength = 0;
  std::uint32_t run = 0;  // instructions of that length
  while (at < end && readable - at >= kLongestInstruction) {
    const std::uint32_t head = loadU16(at);
    const std::uint32_t length = kLengths[*at].bytes + (head >> 11 & kLengths[*at].extension);
    if (isEdma(at, head, length)) return {Outcome::kFound, at};
    // Deliberate (design.md, "Stop marker"): it counts only if something follows it and, as it begins like a short
    // instruction, only where an instruction may begin.
    if (loadU32(at) == kStopMarker && end - at > 4) return {Outcome::kStopped, at};
    at += length;
    // Without a branch, for the same reason as the table.
    run = (run + 1) & -static_cast<std::uint32_t>(length == runLength);
    runLength = length;
    if (run == kLongRun) {
      at = skipRun(at, readable - kLongestInstruction, length);
      run = 0;
    }
  }
  return {Outcome::kEnd, at};
}

}  // namespace

std::optional<std::int64_t> findEdma(const void* bytes, std::int64_t length) {
  if (length < 1) return std::nullopt;
  const auto* begin = static_cast<const std::uint8_t*>(bytes);
  const auto* end = begin + length;
  Result result = scan(begin, end, end);
  std::int64_t offset = result.at - begin;
  if (result.outcome == Outcome::kEnd && result.at < end) {
    // The last instructions. The very last may be cut off; the missing bytes read as zero.
    std::uint8_t tail[2 * kLongestInstruction] = {};
    result = scan(tail, std::copy(result.at, end, tail), std::end(tail));
    offset += result.at - tail;
  }
  if (result.outcome != Outcome::kFound) return std::nullopt;
  return offset;
}

}  // namespace zarn::bin

std::int32_t clc_bin_has_edma_instr(const void* bytes, std::int64_t length) {
  return zarn::bin::findEdma(bytes, length).has_value();
}
